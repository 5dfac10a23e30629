#include <chrono>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <regex>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "platform/file.h"
#include "platform/trace.h"
#include "tests/trace_capture.h"

namespace em_pni::test {
namespace {

using namespace std::chrono_literals;

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

const char* noVariable(const char*) {
    return nullptr;
}

TEST(Trace, WritesLevelsUpToTheConfiguredOneAndCutsLongMessages) {
    int evaluated = 0;
    CTraceCapture trace(2);
    PNI_TRACE(1, "\n\nfirst %d\n", ++evaluated);
    PNI_TRACE(2, "\n%s", std::string(2000, 'x').c_str());
    PNI_TRACE(3, "third %d", ++evaluated);
    trace.End();
    PNI_TRACE(1, "after the end %d", ++evaluated);
    EXPECT_EQ(evaluated, 1) << "a call that is off must not evaluate its arguments";
    const auto lines = linesOf(trace.Lines());
    ASSERT_EQ(lines.size(), 3U);
    const std::string prefix = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \[\d{10}\] EM_PNI {8})";
    EXPECT_TRUE(std::regex_match(lines[0], std::regex(prefix + "first 1"))) << lines[0];
    EXPECT_TRUE(std::regex_match(lines[1], std::regex(prefix + "x{1024}"))) << lines[1];
    EXPECT_TRUE(std::regex_match(lines[2], std::regex(prefix + "## TRACE-END ##"))) << lines[2];
}

TEST(Trace, HeaderTellsHowTheProcessRuns) {
    const CTraceCapture trace(4, {{"QL_LOG_RINGBUF_DIR", "/ring"}, {"TraceFileLimit", "7"}});
    const std::string log = trace.Log();
    std::size_t at = 0;
    for (const char* text : {"\nEM_PNI Command Line Options:\nargv[0] = \"",
                             "\nQuillon Environment:\nLD_LIBRARY_PATH=", "\nQL_INSTALL_DATE=NotSet",
                             "\nQuillon Configuration File:",
                             "\nDebug values from ini file :\nDynamicUpdate              : 0"
                             "\nDebugLevel                 : 4\nRingBufferSizeFactor       : 7"
                             "\nRingBufferSizeWeight       : 0\nRingBufferDirectory        : /ring"
                             "\nNo Header to LogFile       : 1",
                             "\nInternal Debug values      :\nProcess PID                : ",
                             "\nTrace Level                : 4\nTrace Level Saved          : 4"
                             "\n### End of initialization. ###\n"}) {
        at = log.find(text, at);
        ASSERT_NE(at, std::string::npos) << text;
    }
}

TEST(Trace, WrapsBehindTheHeader) {
    {
        const CTraceCapture tiny(1, {{"QL_LOG_FILE_MAX_SIZE", "1"}});  // less than the header
        PNI_TRACE(1, "one");
        EXPECT_TRUE(tiny.Has("Cycle=1,"));
    }
    const CTraceCapture trace(1, {{"QL_LOG_FILE_MAX_SIZE", "4000"}});
    const std::string header = trace.Log();
    for (int i = 0; i < 200; ++i) {
        PNI_TRACE(1, "line %d", i);
        // One line and the wrap line may exceed the maximum size.
        ASSERT_LT(trace.Log().size(), 4400U);
    }
    EXPECT_EQ(trace.Log().substr(0, header.size()), header);
    const std::string size = std::to_string(header.size());
    EXPECT_TRUE(std::regex_search(
        linesOf(trace.Lines())[0],
        std::regex("EM_PNI +------ WRAP ----- Cycle=[1-9]\\d*, CntInitEnd=" + size +
                   ", CurrentByteCnt=" + size + " \\(MaxCnt=4000\\)$")));
}

TEST(Trace, ReadsItsConfigurationFiles) {
    const CTempDirectory directory;
    directory.Write("config/a_other.ini", "[OTHER]\nFileDebugLevel=9\n");
    directory.Write("config/b_mine.ini",
                    "[EM_PNI]\nFileDebugLevel = 0x3\nMemoryTracesFlag=1\n"
                    "RingBufferDirectory=  " +
                        directory.Path() + "\n");
    directory.Write("config/c_late.ini", "[EM_PNI]\nFileDebugLevel=010\n");
    const CDebugClient client(directory.File("config"), "EM_PNI", &noVariable);
    PNI_TRACE(3, "three");
    PNI_TRACE(4, "four");
    const std::string log = contentOf(directory.File("log.EM_PNI"));
    EXPECT_NE(log.find("\nFileDebugLevel=0x3\nMemoryTracesFlag=1\n"), std::string::npos);
    EXPECT_TRUE(std::regex_search(log, std::regex(R"(\] +[1-9]\d* KB !EM_PNI {8}three\n)"))) << log;
    EXPECT_EQ(log.find("four"), std::string::npos);
}

TEST(Trace, FollowsTheConfigurationWhileRunning) {
    const CTempDirectory directory;
    directory.Write("global_trace.ini", "[GlobalDebugSettings]\nDynamicUpdate=1\n");
    const std::string ini = "[EM_PNI]\nRingBufferDirectory=" + directory.Path() + "\n";
    directory.Write("m.ini", ini + "FileDebugLevel=0\n");
    const CDebugClient client(directory.Path(), "EM_PNI", &noVariable);
    PNI_TRACE(2, "before");
    directory.Write("m.ini", ini + "FileDebugLevel=2\n");
    std::this_thread::sleep_for(2100ms);
    PNI_TRACE(2, "after");
    const std::string log = contentOf(directory.File("log.EM_PNI"));
    EXPECT_EQ(log.find("before"), std::string::npos);
    EXPECT_NE(log.find("after"), std::string::npos);
}

TEST(Trace, AMissingFileHidesNoChangeOfTheOther) {
    const CTempDirectory directory;
    const std::string global = directory.Write("global_trace.ini", "");
    const std::string own = directory.Write("m.ini", "[EM_PNI]\nFileDebugLevel=1\n");
    CDebugTraceConfig config(directory.Path(), "EM_PNI", &noVariable);
    std::filesystem::remove(global);
    directory.Write("m.ini", "[EM_PNI]\nFileDebugLevel=3\n");
    std::filesystem::last_write_time(own, std::filesystem::file_time_type::clock::now() - 1h);
    config.Update();
    EXPECT_EQ(config.Settings().debugLevel, 1) << "perhaps the file is only being replaced";
    config.Update();
    EXPECT_EQ(config.Settings().debugLevel, 3);
}

TEST(Trace, ALogThatIsNotItsOwnIsLeftAlone) {
    const CTempDirectory directory;
    const std::string log = directory.File("log.EM_PNI");
    static std::string place;
    place = directory.Path();
    const auto trace = [] {
        const CDebugClient client("/nonexistent", "EM_PNI", [](const char* name) -> const char* {
            return std::string(name) == "QL_LOG_DEBUG_LEVEL" ? "5"
                   : std::string(name) == "QL_LOG_FILE_DIR"  ? place.c_str()
                                                             : nullptr;
        });
        PNI_TRACE(1, "written");
    };
    const std::string victim = directory.Write("victim", "precious");
    for (const auto make : {&::symlink, &::link}) {
        ASSERT_EQ(make(victim.c_str(), log.c_str()), 0);
        trace();
        EXPECT_EQ(contentOf(victim), "precious");
        ASSERT_EQ(::unlink(log.c_str()), 0);
    }
    ASSERT_EQ(::rename(victim.c_str(), log.c_str()), 0);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(log.c_str(), 12, 34), 0);
        trace();
        EXPECT_EQ(contentOf(log), "precious") << "the file of another user";
        ASSERT_EQ(::chown(log.c_str(), 0, 0), 0);
    }
    {
        const CFileDescriptor other(::open(log.c_str(), O_RDONLY | O_CLOEXEC));
        ASSERT_EQ(::flock(other.Get(), LOCK_EX | LOCK_NB), 0);
        trace();
        EXPECT_EQ(contentOf(log), "precious") << "in use";
    }
    trace();
    EXPECT_NE(contentOf(log).find("written"), std::string::npos);
}

}  // namespace
}  // namespace em_pni::test
