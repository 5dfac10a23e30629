#include <array>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "platform/registry.h"
#include "platform/registry_format.h"
#include "tests/temp_directory.h"

namespace em_pni::test {
namespace {

const std::string machine = "HKEY_LOCAL_MACHINE";
const std::string agent = machine + "\\x]=[y";

// The file of a tree with every type of value.
const std::string sampleFile =
    "[HKEY_LOCAL_MACHINE]\n[HKEY_LOCAL_MACHINE\\x]=[y]\n"
    "Name=s=a=s=b [c]\xC3\xA4\n=es=$HOME\r\nBytes=b=00 ff 0a \nNone=b=\n"
    "Min=d=-2147483648\nMax=d=2147483647\n"
    "[HKEY_CURRENT_USER]\n[HKEY_USERS]\n[HKEY_CLASSES_ROOT]\n[HKEY_CURRENT_CONFIG]\n";

RegistryData text(const std::string& characters) {
    return {RegistryType::text, characters};
}

// A registry file that holds one value.
std::string fileWith(const std::string& value) {
    return "[" + machine + "]\nV=s=" + value + "\n";
}

// The value that a store restores from this directory, or "".
std::string restoredValue(const CTempDirectory& directory) {
    CRegistry registry(directory.Path());
    return registry.GetValue(registry.Open(machine), "V").value_or(text("")).bytes;
}

bool change(CRegistry& registry, const std::string& value) {
    return registry.SetValue(registry.Open(machine), "V", text(value));
}

TEST(RegistryFormat, RefusesWhatNoTreeLooksLike) {
    std::string deep = "[a";
    std::string ladder;
    for (std::size_t depth = 1; depth <= CRegistryNode::maxDepth; ++depth, deep += "\\a") {
        ladder += deep + "]\n";
    }
    EXPECT_TRUE(parseRegistry(ladder));
    EXPECT_FALSE(parseRegistry(ladder + deep + "]\n"));
    for (const char* const body :
         {"V=s=1\n", "[a]\n\n", "[a]\nV=s=1", "[a]\n[a]\n", "[a]\nV=s=1\nV=d=1\n", "[a\\b]\n",
          "[\\a]\n", "[]\n", "[a]\nV=d=2147483648\n", "[a]\nV=d=1 \n", "[a]\nV=b=0\n",
          "[a]\nV=b=00\n", "[a]\nV=b=0G \n", "[a]\nV=x=1\n", "[a]\n[b=s=\n"}) {
        EXPECT_FALSE(parseRegistry(body)) << body;
    }
}

TEST(Registry, FallsBackFromFileToFileAndSavesAfterACrash) {
    const CTempDirectory directory;
    for (const auto& [name, content, expected] : std::vector<std::array<std::string, 3>>{
             {"registry.default", fileWith("default"), "default"},
             {"registry.old", fileWith("old"), "old"},
             {"registry", fileWith("current") + "torn", "old"},
             {"registry", std::string(maxRegistryText + 1, 'x'), "old"},
             {"registry", fileWith("current"), "current"},
             {"registry.new", fileWith("new"), "current"},
             {"registry", "", "old"}}) {
        directory.Write(name, content);
        EXPECT_EQ(restoredValue(directory), expected) << name;
    }
    CRegistry registry(directory.Path());
    EXPECT_TRUE(change(registry, "next"));
    EXPECT_TRUE(registry.SaveTree());
    EXPECT_EQ(contentOf(directory.File("registry.old")), fileWith("old"));
    EXPECT_EQ(restoredValue(directory), "next");
}

TEST(Registry, SavesOnlyChangesWhollyOrNotAtAll) {
    const CTempDirectory directory;
    directory.Write("registry", fileWith("1"));
    CRegistry registry(directory.Path());
    EXPECT_TRUE(change(registry, "2"));
    // Files cannot grow, as on a full disk.
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit full{10, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &full);
    EXPECT_FALSE(registry.SaveTree());
    ::setrlimit(RLIMIT_FSIZE, &before);
    // A folder that is not empty cannot be replaced by a file.
    directory.Write("registry.old/in the way", "");
    EXPECT_FALSE(registry.SaveTree());
    EXPECT_FALSE(std::filesystem::exists(directory.File("registry.new")));
    EXPECT_EQ(contentOf(directory.File("registry")), fileWith("1"));
    std::filesystem::remove_all(directory.File("registry.old"));

    const mode_t mask = ::umask(077);
    EXPECT_TRUE(registry.SaveTree());
    ::umask(mask);
    EXPECT_EQ(restoredValue(directory), "2");
    EXPECT_EQ(std::filesystem::status(directory.File("registry")).permissions(),
              std::filesystem::perms(0644));
    EXPECT_TRUE(change(registry, "2"));
    EXPECT_TRUE(registry.SaveTree());
    EXPECT_EQ(contentOf(directory.File("registry.old")), fileWith("1")) << "no change to save";
    EXPECT_NE(registry.CreateKey(agent), CRegistry::noHandle);
    EXPECT_TRUE(registry.SaveTree());
    EXPECT_NE(contentOf(directory.File("registry")), contentOf(directory.File("registry.old")));
}

TEST(Registry, ValuesComeBackAsTheyWereSetOrAreRefused) {
    const CTempDirectory directory;
    const std::vector<std::pair<std::string, RegistryData>> values{
        {"Name", text("a=s=b [c]\xC3\xA4")},
        {"", {RegistryType::expandable, "$HOME\r"}},
        {"Bytes", {RegistryType::binary, std::string("\0\xFF\n", 3)}},
        {"None", {RegistryType::binary, ""}},
        {"Min", registryInteger(INT32_MIN)},
        {"Max", registryInteger(INT32_MAX)}};
    CRegistry registry(directory.Path());
    const auto key = registry.CreateKey(agent);
    for (const auto& [name, data] : values) {
        EXPECT_TRUE(registry.SetValue(key, name, data)) << name;
    }
    for (const std::string name : {"a=b", "[a", "a\nb", "\t"}) {
        EXPECT_FALSE(registry.SetValue(key, name, text(""))) << name;
    }
    for (const std::string& bytes :
         {std::string("a\n[b]"), std::string(1, '\0'), std::string(1024 * 1024 + 1, 'x')}) {
        EXPECT_FALSE(registry.SetValue(key, "v", text(bytes)));
    }
    EXPECT_FALSE(registry.SetValue(key, "v", {RegistryType::integer, "12345"}));
    EXPECT_TRUE(registry.SaveTree());
    EXPECT_EQ(contentOf(directory.File("registry")), sampleFile);
    CRegistry again(directory.Path());
    const auto same = again.Open(agent);
    for (const auto& [name, data] : values) {
        EXPECT_EQ(again.GetValue(same, name), data) << name;
    }
    std::array<char, 3> buffer{};
    std::uint32_t count = 2;
    EXPECT_FALSE(again.QueryValue(same, "Bytes", nullptr, buffer.data(), &count));
    EXPECT_EQ(buffer[1], '\0');
}

TEST(Registry, StaleAndForeignHandlesAreRefused) {
    const CTempDirectory directory;
    CRegistry registry(directory.Path());
    const auto key = registry.CreateKey(agent + "\\below");
    EXPECT_FALSE(CRegistry(directory.Path()).SetValue(key, "V", text("x")));
    for (const std::string& path : {machine, machine + "\\none", agent + "\\", "\\" + agent}) {
        EXPECT_FALSE(registry.DeleteKey(path)) << path;
    }
    EXPECT_TRUE(registry.DeleteKey(agent));
    EXPECT_FALSE(registry.SetValue(key, "V", text("x")));
    const auto made = registry.CreateKey(agent + "\\below");
    EXPECT_TRUE(registry.SetValue(made, "V", text("y")));
    EXPECT_TRUE(registry.SaveTree());
    EXPECT_TRUE(registry.InitClass());
    EXPECT_FALSE(registry.SetValue(made, "V", text("lost")));
    EXPECT_EQ(registry.GetValue(registry.Open(agent + "\\below"), "V"), text("y"));
}

}  // namespace
}  // namespace em_pni::test
