// The command line without the module: exit codes and messages.
#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "host/command_line.h"
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

TEST(HostCheck, TellsTheCodeOfEachSample) {
    const std::vector<std::pair<std::string, std::string>> samples{
        {"onboard-only.fru", "SUCCESS [0]"},
        {"three-modules.fru", "SUCCESS [0]"},
        {"three-modules-in-2k-device.fru", "SUCCESS [0]"},
        {"text-technology-v10.fru", "SUCCESS [0]"},
        {"mezzanine-high-nibble.fru", "SUCCESS [0]"},
        {"sixty-modules.fru", "SUCCESS [0]"},
        {"bad-record-checksum.fru", "CHECKSUM_ERR [2]"},
        {"cut-short.fru", "INSUFFICENT_DATA_ERR [8]"},
        {"end-of-list-on-first.fru", "FORMAT_ERR [3]"},
    };
    std::vector<std::string> all{"check"};
    std::string expected;
    for (const auto& [name, code] : samples) {
        const std::string line = samplePath(name) + ": " + code + "\n";
        const Outcome outcome = run({"check", samplePath(name)});
        EXPECT_EQ(outcome.code, code == "SUCCESS [0]" ? 0 : 1) << name;
        EXPECT_EQ(outcome.output, line);
        all.push_back(samplePath(name));
        expected += line;
    }
    const Outcome outcome = run(all);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.output, expected);
}

TEST(HostCheck, GoesOnBehindAFileThatCannotBeRead) {
    const test::CTempDirectory folder;
    const std::string large = folder.Write("large.fru", std::string(1048577, 'x'));
    const Outcome outcome = run({"check", folder.File("none.fru"), "/dev/zero", large,
                                 samplePath("cut-short.fru"), samplePath("three-modules.fru")});
    EXPECT_EQ(outcome.code, 2);
    for (const char* const message :
         {"none.fru: No such file", "/dev/zero: not a regular file", "large.fru: too large"}) {
        EXPECT_TRUE(contains(outcome.errors, message)) << outcome.errors;
    }
    EXPECT_TRUE(contains(outcome.output, "three-modules.fru: SUCCESS [0]\n")) << outcome.output;
}

TEST(HostCommandLine, BadUseIsTwoAndHelpIsZero) {
    const std::string sample = samplePath("three-modules.fru");
    const std::vector<std::vector<std::string>> bad{
        {},
        {"frobnicate"},
        {"check"},
        {"query"},
        {"query", sample, "--forest"},
        {"run", "--once"},
        {"run", "--fru", sample, "--once", "--watch"},
        {"run", "--fru", sample, "--watch", "--no-watch"},
        {"adapters", "eth0"},
        {"create"},
        {"create", sample, "--force", "--format-version", "10"},
        {"create", sample, "--force", "--size", "0"},
        {"create", sample, "--force", "--size", "1048577"},
        {"run", "--fru", sample, "--once", "--cycle", "0"},
        {"run", "--fru", sample, "--once", "--cycle", "-5"},
        {"run", "--fru", sample, "--once", "--cycle", "4294967296"},
        {"run", "--fru", sample, "--once", "--cycle", "12x"},
    };
    for (const auto& arguments : bad) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.code, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(outcome.output, "");
        EXPECT_NE(outcome.errors, "");
    }
    for (const char* const command : {"check", "query", "run", "adapters", "create"}) {
        const Outcome outcome = run({command, "--help"});
        EXPECT_EQ(outcome.code, 0);
        EXPECT_TRUE(contains(outcome.output, std::string("  pni-host ") + command + " "));
        EXPECT_EQ(outcome.errors, "");
    }
    EXPECT_EQ(run({"--version"}).code, 0);
}

// Whatever adapters the machine has that runs this.
TEST(HostCreate, MakesAValidImageOrNone) {
    const test::CTempDirectory folder;
    const std::string file = folder.File("new.fru");
    const Outcome made = run({"create", file, "--size", "60000"});
    if (made.code == 0) {
        EXPECT_EQ(test::contentOf(file).size(), 60000U);
        EXPECT_EQ(run({"check", file}).code, 0);
    } else {
        EXPECT_EQ(made.code, 1);
        EXPECT_NE(made.errors, "");
        EXPECT_FALSE(std::filesystem::exists(file));
    }
    const std::string old = folder.Write("old.fru", "old");
    for (const auto& [path, force, message] :
         std::vector<std::tuple<std::string, std::string, std::string>>{
             {old, "--size=60000", "old.fru: exists already"},
             {folder.Path(), "--force", "not a regular file"},
             {"/dev/null", "--force", "not a regular file"}}) {
        const Outcome outcome = run({"create", path, force});
        EXPECT_EQ(outcome.code, 2) << path;
        EXPECT_TRUE(contains(outcome.errors, message)) << outcome.errors;
    }
    EXPECT_EQ(test::contentOf(old), "old");
    EXPECT_EQ(run({"create", old, "--force"}).code, made.code);
    EXPECT_EQ(test::contentOf(old) == "old", made.code != 0);
}

TEST(HostModuleLibrary, WhatIsNoModuleIsRefusedByName) {
    const std::string sample = samplePath("three-modules.fru");
    const test::CTempDirectory folder;
    for (const auto& [path, message] : std::vector<std::pair<std::string, std::string>>{
             {folder.File("none.so"), "none.so"},
             {folder.Write("text.so", "no library"), "text.so"},
             {EM_PNI_BINARY_DIR "/host_no_module.so", "does not export EM_Create"},
             {EM_PNI_BINARY_DIR "/host_other_module.so", "its name is \"EM_OTHER\""}}) {
        for (const auto& arguments : {std::vector<std::string>{"query", sample, "--module", path},
                                      {"run", "--fru", sample, "--once", "--module", path}}) {
            const Outcome outcome = run(arguments);
            EXPECT_EQ(outcome.code, 2) << path;
            EXPECT_EQ(outcome.output, "");
            EXPECT_TRUE(contains(outcome.errors, message)) << outcome.errors;
        }
    }
}

}  // namespace
}  // namespace em_pni::host_test
