#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "platform/file.h"
#include "platform/trace_log.h"

namespace em_pni {
namespace {

constexpr std::size_t maxCommandLine = 64 * 1024;  // bytes

constexpr std::array environmentNames = {
    "LD_LIBRARY_PATH",   "QL_SYSTEM",         "QL_OS",
    "QL_OS_MAJOR",       "QL_OS_MINOR",       "QL_VVOS",
    "QL_RELEASE",        "QL_VENDOR",         "QL_HOSTNAME",
    "QL_HOSTOSREVMAJOR", "QL_HOSTOSREVMINOR", "QL_SYSNAME",
    "QL_VERSION",        "QL_NICKNAME",       "QL_HWPLATFORM",
    "QL_RUNNINGONVM",    "QL_RUNNINGONPAN",   "QL_VMREL",
    "QL_ARCH",           "QL_REPO",           "QL_RAID_EXISTS",
    "QL_RAID_READY",     "QL_RAID_VERSION",   "QL_INSTALL_DATE",
};

void addLine(std::string& header, const std::string& name, const std::string& value) {
    header.append("\n").append(name).append("=").append(value);
}

void addNumber(std::string& header, const char* label, std::int64_t value) {
    std::array<char, 80> line{};
    std::snprintf(line.data(), line.size(), "\n%-27s: %lld", label, static_cast<long long>(value));
    header.append(line.data());
}

void addCommandLine(std::string& header, const std::string& moduleName) {
    header.append("\n").append(moduleName).append(" Command Line Options:");
    const std::string arguments = readSmallFile("/proc/self/cmdline", maxCommandLine).value_or("");
    std::size_t begin = 0;
    for (unsigned i = 0; begin < arguments.size(); ++i) {
        const std::size_t end = std::min(arguments.find('\0', begin), arguments.size());
        header.append("\nargv[" + std::to_string(i) + "] = \"");
        header.append(arguments, begin, end - begin).append("\"");
        begin = end + 1;
    }
}

}  // namespace

std::string debugHeader(const CDebugTraceConfig& config, const std::string& moduleName,
                        bool toFile) {
    const TraceSettings& settings = config.Settings();
    std::string header;
    addCommandLine(header, moduleName);
    header.append("\nQuillon Environment:");
    for (const char* name : environmentNames) {
        const char* const value = std::getenv(name);
        addLine(header, name, value != nullptr ? value : "NotSet");
    }
    header.append("\nQuillon Configuration File:");
    for (const auto& [key, value] : config.Entries()) {
        addLine(header, key, value);
    }
    header.append("\nDebug values from ini file :");
    addNumber(header, "DynamicUpdate", settings.dynamicUpdate);
    addNumber(header, "DebugLevel", settings.debugLevel);
    addNumber(header, "RingBufferSizeFactor", settings.ringBufferSizeFactor);
    addNumber(header, "RingBufferSizeWeight", settings.ringBufferSizeWeight);
    header.append("\nRingBufferDirectory        : ").append(settings.ringBufferDirectory);
    addNumber(header, "No Header to LogFile", settings.noHeaderToStderr ? 1 : 0);
    header.append("\nInternal Debug values      :");
    addNumber(header, "Process PID", ::getpid());
    addNumber(header, "Trace Target", toFile ? 1 : 0);  // 1 = log file, 0 = none
    addNumber(header, "Trace Level", settings.debugLevel);
    addNumber(header, "Trace Level Saved", settings.debugLevel);
    header.append("\n### End of initialization. ###\n");
    return header;
}

}  // namespace em_pni
