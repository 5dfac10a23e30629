#include <array>
#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <latch>
#include <map>
#include <signal.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "platform/registry.h"
#include "platform/registry_format.h"
#include "tests/trace_capture.h"

namespace em_pni::test {
namespace {

const std::string machine = "HKEY_LOCAL_MACHINE";
const std::string agent = machine + "\\SOFTWARE\\Agent";

RegistryData text(const std::string& characters) {
    return {RegistryType::text, characters};
}

// A registry file that holds one value.
std::string fileWith(const std::string& value) {
    return "[" + machine + "]\nV=s=" + value + "\n";
}

// The value that the store in this directory comes up with; "" for none.
std::string restoredValue(const CTempDirectory& directory) {
    CRegistry registry(directory.Path());
    return registry.GetValue(registry.Open(machine), "V").value_or(text("")).bytes;
}

bool change(CRegistry& registry, const std::string& value) {
    return registry.SetValue(registry.Open(machine), "V", text(value));
}

// Lets no file of the process grow beyond so many bytes, as a full disk would.
class CFileSizeLimit {
  public:
    explicit CFileSizeLimit(rlim_t bytes) : signal_(::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~CFileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        ::signal(SIGXFSZ, signal_);
    }

  private:
    rlimit before_{};
    void (*signal_)(int);
};

std::string sampleFile() {
    CRegistryNode root("");
    const auto top = root.AddChild(machine);
    top->AddValue("Name", text("a=s=b [c]"));
    top->AddValue("", {RegistryType::expandable, "$HOME\r"});
    const auto below = top->AddChild("x]=[y");
    below->AddValue("Bytes", {RegistryType::binary, std::string("\0\xFF\n", 3)});
    below->AddChild("deep")->AddValue("Min", registryInteger(INT32_MIN));
    root.AddChild("HKEY_USERS")->AddValue("Max", registryInteger(INT32_MAX));
    return formatRegistry(root);
}

TEST(RegistryFormat, HasTheseLinesInThisOrder) {
    const std::string file = sampleFile();
    const std::string body =
        "[HKEY_LOCAL_MACHINE]\nName=s=a=s=b [c]\n=es=$HOME\r\n"
        "[HKEY_LOCAL_MACHINE\\x]=[y]\nBytes=b=00 ff 0a \n"
        "[HKEY_LOCAL_MACHINE\\x]=[y\\deep]\nMin=d=-2147483648\n"
        "[HKEY_USERS]\nMax=d=2147483647\n";
    EXPECT_EQ(file, body);
    const auto tree = parseRegistry(body);
    ASSERT_TRUE(tree);
    EXPECT_EQ(formatRegistry(*tree), body);
}

// What is accepted at all is read to the letter: writing it again gives the same text.
TEST(RegistryFormat, ATornOrAlteredFileIsReadWhollyOrNotAtAll) {
    const std::string file = sampleFile();
    const auto readsAsItStands = [](const std::string& text) {
        const auto tree = parseRegistry(text);
        return !tree || formatRegistry(*tree) == text;
    };
    for (std::size_t length = 0; length < file.size(); ++length) {
        const std::string torn = file.substr(0, length);
        EXPECT_TRUE(readsAsItStands(torn)) << length;
        if (!torn.ends_with('\n')) {
            EXPECT_FALSE(parseRegistry(torn)) << length;
        }
    }
    for (std::size_t at = 0; at < file.size(); ++at) {
        std::string altered = file;
        for (int byte = 0; byte < 256; ++byte) {
            altered[at] = static_cast<char>(byte);
            const auto tree = parseRegistry(altered);
            if (tree) {
                const std::string again = formatRegistry(*tree);
                const auto same = parseRegistry(again);
                ASSERT_TRUE(same && formatRegistry(*same) == again) << at << ' ' << byte;
            }
        }
    }
}

TEST(RegistryFormat, RefusesWhatNoTreeLooksLike) {
    std::string deep = "[a";
    std::string ladder;
    for (std::size_t depth = 1; depth <= CRegistryNode::maxDepth; ++depth, deep += "\\a") {
        ladder += deep + "]\n";
    }
    EXPECT_TRUE(parseRegistry(ladder));
    EXPECT_FALSE(parseRegistry(ladder + deep + "]\n"));
    for (const std::string& body :
         {std::string("V=s=1\n"), std::string("[a]\n\n"), std::string("[a]\nV=s=1"),
          std::string("[a]\n[a]\n"), std::string("[a]\nV=s=1\nV=d=1\n"), std::string("[a\\b]\n"),
          std::string("[\\a]\n"), std::string("[]\n"), std::string("[a]\nV=d=2147483648\n"),
          std::string("[a]\nV=d=\n"), std::string("[a]\nV=d=1 \n"), std::string("[a]\nV=b=0\n"),
          std::string("[a]\nV=b=00\n"), std::string("[a]\nV=b=0G \n"), std::string("[a]\nV=x=1\n"),
          std::string("[a]\nV=s=\0\n", 10), std::string("[a]\n[b=s=\n"),
          std::string("[").append(256, 'n').append("]\n"), std::string(3000, '\\') + "\n"}) {
        EXPECT_FALSE(parseRegistry(body)) << body;
    }
    // Siblings in great number take time in proportion.
    std::string wide = "[a]\n";
    for (int i = 0; wide.size() < maxRegistryText - 100; ++i) {
        const std::string number = std::to_string(i);
        wide += i % 2 == 0 ? number + "=d=1\n" : std::string("[a\\").append(number).append("]\n");
    }
    EXPECT_TRUE(parseRegistry(wide));
}

TEST(Registry, FallsBackFromFileToFile) {
    const CTempDirectory directory;
    const CTraceCapture trace(1);
    EXPECT_EQ(restoredValue(directory), "");
    EXPECT_TRUE(trace.Has("CRegistry: ERROR: Could not restore tree from \"" +
                          directory.File("registry.default") + "\", restoring failed\n"));
    directory.Write("registry.default", fileWith("default"));
    EXPECT_EQ(restoredValue(directory), "default");
    directory.Write("registry.old", fileWith("old"));
    const int before = trace.Count("CRegistry");
    EXPECT_EQ(restoredValue(directory), "old");
    EXPECT_EQ(trace.Count("CRegistry") - before, 1);
    EXPECT_TRUE(trace.Has("WARNING: Could not restore tree from \"" + directory.File("registry") +
                          "\", trying backup\n"));
    directory.Write("registry", fileWith("current") + "torn");
    EXPECT_EQ(restoredValue(directory), "old");
    directory.Write("registry", std::string(maxRegistryText + 1, 'x'));
    EXPECT_EQ(restoredValue(directory), "old");
    EXPECT_EQ(trace.Count("check the content of this file"), 2);
    directory.Write("registry", fileWith("current"));
    EXPECT_EQ(restoredValue(directory), "current");
    CRegistry nowhere("");
    EXPECT_FALSE(nowhere.SetupTree(false));
    EXPECT_EQ(trace.Count("CRegistry: ERROR: Empty file path"), 3);
}

TEST(Registry, SavesOnlyChangesAndKeepsTheFileBefore) {
    const CTempDirectory directory;
    directory.Write("registry", fileWith("1"));
    directory.Write("registry.new", "left by a crash");
    CRegistry registry(directory.Path());
    EXPECT_TRUE(change(registry, "1"));
    EXPECT_NE(registry.CreateKey(machine), CRegistry::noHandle);
    EXPECT_TRUE(registry.SaveTree());
    EXPECT_EQ(contentOf(directory.File("registry")), fileWith("1"));
    EXPECT_TRUE(change(registry, "2"));
    const mode_t mask = ::umask(077);
    EXPECT_TRUE(registry.SaveTree());
    ::umask(mask);
    EXPECT_EQ(contentOf(directory.File("registry.old")), fileWith("1"));
    EXPECT_FALSE(std::filesystem::exists(directory.File("registry.new")));
    struct stat status {};
    ASSERT_EQ(::stat(directory.File("registry").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0644U);
    EXPECT_EQ(restoredValue(directory), "2");
    EXPECT_TRUE(registry.SaveTree());
    EXPECT_EQ(contentOf(directory.File("registry.old")), fileWith("1"));
    const auto saved = [&] {
        EXPECT_TRUE(registry.SaveTree());
        return contentOf(directory.File("registry"));
    };
    const std::string before = saved();
    EXPECT_NE(registry.CreateKey(agent), CRegistry::noHandle);
    EXPECT_NE(saved(), before);
    EXPECT_TRUE(registry.DeleteKey(machine + "\\SOFTWARE"));
    EXPECT_EQ(saved(), before);
    EXPECT_TRUE(registry.DeleteValue(registry.Open(machine), "V"));
    EXPECT_EQ(saved().find("V="), std::string::npos);
    directory.Write("registry.old", fileWith("1"));
    directory.Write("registry", "");
    EXPECT_TRUE(change(registry, "3"));
    EXPECT_TRUE(registry.SaveTree());
    EXPECT_EQ(contentOf(directory.File("registry.old")), fileWith("1"));
    EXPECT_EQ(restoredValue(directory), "3");
}

TEST(Registry, ACrashAtAnyPointOfASaveLeavesTheOldOrTheNewTree) {
    const CTempDirectory directory;
    directory.Write("registry.old", fileWith("older"));
    directory.Write("registry", fileWith("old"));
    for (const std::string part : {"", "[HKEY", "[HKEY_LOCAL_MACHINE]\n"}) {
        directory.Write("registry.new", part);
        EXPECT_EQ(restoredValue(directory), "old");
    }
    directory.Write("registry.new", fileWith("new"));
    EXPECT_EQ(restoredValue(directory), "old");
    std::filesystem::rename(directory.File("registry"), directory.File("registry.old"));
    EXPECT_EQ(restoredValue(directory), "old");
    {
        CRegistry registry(directory.Path());  // after this crash the next save starts over
        EXPECT_TRUE(change(registry, "next"));
        EXPECT_TRUE(registry.SaveTree());
        EXPECT_EQ(contentOf(directory.File("registry.old")), fileWith("old"));
    }
    EXPECT_EQ(restoredValue(directory), "next");
}

TEST(Registry, AFailedSaveChangesNothingAndIsMadeUpFor) {
    const CTempDirectory directory;
    directory.Write("registry", fileWith("1"));
    directory.Write("registry.old", fileWith("0"));
    directory.Write("registry.new/in the way", "");
    CRegistry registry(directory.Path());
    const CTraceCapture trace(1);
    EXPECT_TRUE(change(registry, "2"));
    EXPECT_FALSE(registry.SaveTree());
    EXPECT_TRUE(trace.Has("CRegistry: ERROR: Cannot open \"" + directory.File("registry.new") +
                          "\" for writing\n"));
    std::filesystem::remove_all(directory.File("registry.new"));
    {
        const CFileSizeLimit limit(10);
        EXPECT_FALSE(registry.SaveTree());
    }
    EXPECT_EQ(contentOf(directory.File("registry.old")), fileWith("0"));
    // A file cannot take the name of a folder.
    std::filesystem::rename(directory.File("registry.old"), directory.File("kept"));
    directory.Write("registry.old/in the way", "");
    EXPECT_FALSE(registry.SaveTree());
    EXPECT_FALSE(std::filesystem::exists(directory.File("registry.new")));
    EXPECT_EQ(contentOf(directory.File("registry")), fileWith("1"));
    std::filesystem::remove_all(directory.File("registry.old"));
    std::filesystem::rename(directory.File("kept"), directory.File("registry.old"));
    EXPECT_TRUE(registry.SaveTree());
    EXPECT_EQ(contentOf(directory.File("registry.old")), fileWith("1"));
    EXPECT_EQ(restoredValue(directory), "2");
    const auto key = registry.CreateKey(agent);
    for (const char* name : {"a", "b"}) {
        const std::string large(1024 * 1024, 'x');
        EXPECT_TRUE(registry.SetValue(key, name, {RegistryType::binary, large}));
        EXPECT_FALSE(registry.SetValue(key, name, {RegistryType::binary, large + "x"}));
    }
    EXPECT_FALSE(registry.SaveTree());
    EXPECT_TRUE(registry.DeleteValue(key, "a"));
    EXPECT_TRUE(registry.SaveTree());
    EXPECT_TRUE(CRegistry(directory.Path()).SetupTree(false));
}

TEST(Registry, ValuesComeBackAsTheyWereSetOrAreRefused) {
    const CTempDirectory directory;
    const std::map<std::string, RegistryData> values{
        {"", text("")},
        {"text", text("=s=[x]\\\r\t\xC3\xA4")},
        {"path", {RegistryType::expandable, "%d=es="}},
        {"none", {RegistryType::binary, ""}},
        {"bytes", {RegistryType::binary, std::string("\n\0[\xFF", 4)}},
        {"number", registryInteger(-2)}};
    CRegistry registry(directory.Path());
    const auto key = registry.CreateKey(agent);
    for (const auto& [name, data] : values) {
        EXPECT_TRUE(registry.SetValue(key, name, data)) << name;
    }
    for (const std::string name : {"a=b", "[a", "a\nb", "\t"}) {
        EXPECT_FALSE(registry.SetValue(key, name, text("")));
        EXPECT_EQ(registry.CreateKey(machine + "\\" + name) != 0, name == "a=b" || name == "[a");
    }
    EXPECT_FALSE(registry.SetValue(key, "v", text("a\n[b]")));
    EXPECT_FALSE(registry.SetValue(key, "v", text(std::string(1, '\0'))));
    EXPECT_FALSE(registry.SetValue(key, "v", {RegistryType::integer, "12345"}));
    EXPECT_FALSE(registry.SetValue(key, "v", {static_cast<RegistryType>(5), ""}));
    EXPECT_TRUE(registry.SaveTree());
    CRegistry again(directory.Path());
    const auto same = again.Open(agent);
    for (const auto& [name, data] : values) {
        EXPECT_EQ(again.GetValue(same, name), data) << name;
    }
    EXPECT_EQ(again.GetValue(same, "v"), std::nullopt);
    EXPECT_EQ(registryNumber(*again.GetValue(same, "number")), -2);
    EXPECT_TRUE(again.DeleteValue(same, "number"));
    EXPECT_FALSE(again.DeleteValue(same, "number"));

    std::array<char, 4> buffer{};
    std::uint32_t count = 3;
    RegistryType type{};
    EXPECT_FALSE(again.QueryValue(same, "bytes", &type, buffer.data(), &count));
    EXPECT_EQ(count, 4U);
    EXPECT_EQ(buffer[2], '\0');
    EXPECT_TRUE(again.QueryValue(same, "bytes", &type, buffer.data(), &count));
    EXPECT_EQ(std::string(buffer.data(), count), values.at("bytes").bytes);
    EXPECT_TRUE(again.QueryValue(same, "text", nullptr, nullptr, &count));
    EXPECT_FALSE(again.QueryValue(same, "number", &type, buffer.data(), &count));
    EXPECT_EQ(count, 0U);
    EXPECT_FALSE(again.QueryValue(same, "bytes", &type, buffer.data(), nullptr));
}

TEST(Registry, StaleAndForeignHandlesAreRefused) {
    const CTempDirectory directory;
    const CTraceCapture trace(5);
    CRegistry registry(directory.Path());
    CRegistry other(directory.Path());
    const auto key = registry.CreateKey(agent + "\\below");
    EXPECT_EQ(registry.Open(agent + "\\below"), key);
    EXPECT_TRUE(trace.Has("CRegistry::Open \"" + agent +
                          "\\below\", hKey = " + std::to_string(key) + "\n"));
    EXPECT_TRUE(registry.SetValue(key, "V", text("x")));
    EXPECT_FALSE(other.SetValue(key, "V", text("x")));
    EXPECT_FALSE(registry.SetValue(CRegistry::noHandle, "V", text("x")));
    for (const std::string& path : {machine, machine + "\\none", std::string(), agent + "\\",
                                    "\\" + agent, std::string("none")}) {
        EXPECT_FALSE(registry.DeleteKey(path)) << path;
    }
    EXPECT_EQ(registry.CreateKey("OTHER\\x"), CRegistry::noHandle);
    EXPECT_TRUE(registry.DeleteKey(machine + "\\SOFTWARE"));
    EXPECT_TRUE(trace.Has("CRegistryNode::deleteNode \"below\"\n"));
    EXPECT_EQ(registry.GetValue(key, "V"), std::nullopt);
    EXPECT_FALSE(registry.SetValue(key, "V", text("x")));
    EXPECT_EQ(registry.Open(agent), CRegistry::noHandle);
    const auto made = registry.CreateKey(agent + "\\below");
    EXPECT_NE(made, key);
    EXPECT_TRUE(registry.SetValue(made, "V", text("y")));
    // With no file to restore, the tree and its handles stay.
    EXPECT_FALSE(registry.InitClass());
    EXPECT_EQ(registry.GetValue(made, "V"), text("y"));
    EXPECT_TRUE(registry.SaveTree());
    EXPECT_TRUE(registry.SetValue(made, "V", text("dropped")));
    EXPECT_TRUE(registry.InitClass());
    EXPECT_FALSE(registry.SetValue(made, "V", text("lost")));
    EXPECT_EQ(registry.GetValue(registry.Open(agent + "\\below"), "V"), text("y"));
}

TEST(Registry, TwoThreadsMayChangeAndSaveAtOnce) {
    const CTempDirectory directory;
    CRegistry registry(directory.Path());
    std::latch start(2);
    const auto work = [&](const std::string& own) {
        start.arrive_and_wait();
        for (int i = 0; i < 300; ++i) {
            const auto shared = registry.CreateKey(agent);
            registry.SetValue(shared, "V", text(own));
            registry.SetValue(registry.CreateKey(agent + "\\" + own), std::to_string(i),
                              registryInteger(i));
            registry.CreateKey(machine + "\\passing\\" + own);
            registry.DeleteKey(machine + "\\passing");
            EXPECT_TRUE(i % 50 != 0 || registry.SaveTree());
        }
    };
    std::thread first(work, "first");
    std::thread second(work, "second");
    first.join();
    second.join();
    EXPECT_TRUE(registry.SaveTree());
    CRegistry again(directory.Path());
    for (const std::string own : {"first", "second"}) {
        const auto key = again.Open(agent + "\\" + own);
        for (int i = 0; i < 300; ++i) {
            EXPECT_EQ(again.GetValue(key, std::to_string(i)), registryInteger(i));
        }
    }
}

}  // namespace
}  // namespace em_pni::test
