// The command line in this process: exit codes and messages.
#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>

#include "em_pni/interface_tag.h"
#include "host/commands/command_line.h"
#include "tests/temp_directory.h"

namespace em_pni::host_test {
namespace {

std::string samplePath(const std::string& name) {
    return std::string(EM_PNI_TEST_DATA) + "/" + name;
}

struct Outcome {
    int code;
    std::string output;
    std::string errors;
};

Outcome run(const std::vector<std::string>& arguments) {
    std::vector<const char*> argv{"pni-host"};
    for (const std::string& argument : arguments) {
        argv.push_back(argument.c_str());
    }
    std::ostringstream output;
    std::ostringstream errors;
    const int code = pniHost(static_cast<int>(argv.size()), argv.data(), output, errors);
    return {code, output.str(), errors.str()};
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(HostCheck, ContinuesAfterABadFile) {
    const test::CTempDirectory folder;
    const std::string large = folder.Write("large.fru", std::string(1048577, 'x'));
    const std::string empty = folder.Write("empty.fru", "");
    const Outcome outcome = run({"check", folder.File("n\033ne.fru"), "/dev/zero", large, empty,
                                 samplePath("cut-short.fru"), samplePath("three-modules.fru")});
    EXPECT_EQ(outcome.code, 2);
    for (const char* const error : {"n?ne.fru: No such file", "/dev/zero: not a regular file",
                                    "large.fru: too large", "empty.fru: the file is empty"}) {
        EXPECT_TRUE(contains(outcome.errors, error)) << outcome.errors;
    }
    EXPECT_EQ(outcome.output, samplePath("cut-short.fru") +
                                  ": INSUFFICENT_DATA_ERR [8], record at byte 18: expected an "
                                  "end at byte 825 or before, found an end at byte 826\n" +
                                  samplePath("three-modules.fru") + ": SUCCESS [0]\n");
    const std::string good = samplePath("three-modules.fru");
    EXPECT_EQ(run({"check", samplePath("cut-short.fru"), good}).code, 1);
    EXPECT_EQ(run({"check", good}).code, 0);
    const Outcome json = run({"check", "--json", "\xFF\u009B"});
    EXPECT_TRUE(json.output.starts_with(R"([{"path":"\uFFFD\u009B","error":)")) << json.output;
}

TEST(HostCommandLine, ARefusalSaysWhy) {
    const test::CTempDirectory folder;
    const auto copyOf = [&folder](const std::string& name) {
        return folder.Write(name, test::contentOf(samplePath(name)));
    };
    const std::string good = copyOf("onboard-only.fru");
    const std::string bad = copyOf("bad-record-checksum.fru");
    for (const auto& [line, code, text] : std::vector<std::tuple<const char*, int, const char*>>{
             {"", 2, "a command is missing"},
             {"create GOOD --force --format-version 10", 2, "10 not in {11,12}"},
             {"create GOOD --force --size 0", 2, "0 not in range 1 to 1048576"},
             {"create GOOD --force --size 1048577", 2, "1048577 not in range 1 to 1048576"},
             {"event deleted GOOD", 2, "deleted not in {added,changed"},
             {"query BAD", 1, "no valid record: CHECKSUM_ERR [2], checksum of the record at byte"},
             {"query GOOD --technology none", 2, "none not in {CNA,FC"},
             {"query GOOD --fields Speed,Sped", 2, "\"Sped\" is no member"},
             {"run --once", 2, "--fru is required"},
             {"run --once --fru GOOD --watch", 2, "--watch excludes --once"},
             {"run --once --fru GOOD --capacity 0", 2, "0 not in range 1 to 1048576"},
             {"run --once --fru GOOD --cycle 0", 2, "0 not in range 1 to 4294967295"},
             {"run --once --fru GOOD --cycle 4294967296", 2, "not in range 1 to 4294967295"},
             {"run --once --fru BAD", 1, "no valid record: CHECKSUM_ERR [2], checksum"},
             {"run --once --fru none", 2, "\"pni-host create\""},
             {"run --once --fru /dev/none", 2, "ipmi_devintf"}}) {
        std::istringstream words(line);
        std::vector<std::string> arguments(std::istream_iterator<std::string>(words), {});
        std::ranges::replace(arguments, "GOOD", good);
        std::ranges::replace(arguments, "BAD", bad);
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.code, code) << line;
        EXPECT_TRUE(outcome.errors.starts_with("pni-host: ")) << outcome.errors;
        EXPECT_TRUE(contains(outcome.errors, text)) << line << ": " << outcome.errors;
    }
    EXPECT_EQ(run({"run", "--help"}).code, 0);
}

TEST(HostRestore, RefusesWhatANeighbourOrTheRecordWouldLose) {
    const test::CTempDirectory folder;
    const std::string good = test::contentOf(samplePath("three-modules-in-2k-device.fru"));
    std::string other = good;
    other[1900] = 'x';  // a byte of nobody
    std::string broken = good;
    ++broken[300];
    std::string product = good;
    product[4] = 1;  // states an area
    product[7] = static_cast<char>(product[7] - 1);
    const std::string longer = good + std::string(8, '\0');
    const std::string target = folder.Write("target.fru", good);
    for (const auto& [content, isRefused] :
         std::vector<std::pair<std::string, bool>>{{other, false},
                                                   {broken, true},
                                                   {product, true},
                                                   {longer, true},
                                                   {good.substr(0, 1500), true},
                                                   {good, false}}) {
        const std::string file = folder.Write("file.fru", content);
        folder.Write("target.fru", good);
        EXPECT_EQ(run({"restore", file, target}).code, isRefused ? 2 : 0);
        EXPECT_TRUE(test::contentOf(target) == (isRefused ? good : content));
        EXPECT_EQ(run({"restore", "--force", file, target}).code, 0);
        std::string padded = content;
        padded.resize(std::max(good.size(), content.size()));
        EXPECT_TRUE(test::contentOf(target) == padded);
        EXPECT_EQ(run({"backup", target, folder.File("copy.fru"), "--force"}).code, 0);
        EXPECT_TRUE(test::contentOf(folder.File("copy.fru")) == padded);
    }
    EXPECT_EQ(run({"backup", target, folder.File("copy.fru")}).code, 2) << "the file exists";
    sigset_t end{};
    sigaddset(&end, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &end, nullptr);
    ::raise(SIGTERM);
    const Outcome ended = run({"restore", folder.Write("file.fru", other), target});
    ::pthread_sigmask(SIG_UNBLOCK, &end, nullptr);
    EXPECT_TRUE(contains(ended.errors, "not written: ended by a signal")) << ended.errors;
    EXPECT_TRUE(test::contentOf(target) == good);
}

// Passes with any adapters of this machine, also without.
TEST(HostCreate, MakesAValidImageOrNone) {
    const test::CTempDirectory folder;
    const std::string file = folder.File("new.fru");
    const Outcome made = run({"create", file, "--size", "60000"});
    if (made.code == 0) {
        EXPECT_EQ(test::contentOf(file).size(), 60000U);
        EXPECT_EQ(run({"check", file}).code, 0);
    } else {
        EXPECT_EQ(made.code, 1);
        EXPECT_FALSE(std::filesystem::exists(file));
    }
    const std::string old = folder.Write("old.fru", "old");
    EXPECT_EQ(run({"create", old}).code, 2);
    EXPECT_EQ(run({"create", folder.Path(), "--force"}).code, 2);
    EXPECT_EQ(test::contentOf(old), "old");
    EXPECT_EQ(run({"create", old, "--force"}).code, made.code);
    EXPECT_EQ(test::contentOf(old) == "old", made.code != 0);
    const std::string board("\1\0\0\1\0\0\0\376\1\1 board", 16);  // behind the common header
    EXPECT_EQ(run({"create", folder.Write("board.fru", board), "--force"}).code, 2);
    EXPECT_EQ(test::contentOf(folder.File("board.fru")), board);
}

TEST(HostModuleLibrary, AFileThatIsNotTheModuleIsRefused) {
    const std::string sample = samplePath("three-modules.fru");
    const test::CTempDirectory folder;
    for (const auto& [path, message] : std::vector<std::pair<std::string, std::string>>{
             {folder.File("none.so"), "none.so"},
             {folder.Write("text.so", "no library"), "text.so"},
             {EM_PNI_BINARY_DIR "/host_no_module.so", "does not export EM_Create"},
             {EM_PNI_BINARY_DIR "/host_other_module.so", "its name is \"EM_OTHER\""},
             {EM_PNI_BINARY_DIR "/host_foreign_module.so",
              "; expected: " + tagText(interfaceTag)}}) {
        const Outcome outcome = run({"query", sample, "--module", path});
        EXPECT_EQ(outcome.code, 2) << path;
        EXPECT_TRUE(contains(outcome.errors, message)) << outcome.errors;
    }
}

}  // namespace
}  // namespace em_pni::host_test
