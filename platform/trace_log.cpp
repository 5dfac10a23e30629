#include "platform/trace_log.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <optional>
#include <sys/file.h>
#include <syslog.h>
#include <unistd.h>

namespace em_pni {
namespace {

constexpr std::size_t maxPrefix = 128;    // characters
constexpr std::size_t maxMessage = 1024;  // characters, without the newline that may be added

std::size_t clampedLength(int printed, std::size_t max) noexcept {
    return std::min(static_cast<std::size_t>(std::max(printed, 0)), max);
}

// Local time with milliseconds.
std::array<char, 48> timeStamp() noexcept {
    std::array<char, 48> stamp{};
    std::array<char, 32> seconds{};
    timespec now{};
    std::tm local{};
    if (::clock_gettime(CLOCK_REALTIME, &now) != 0 ||
        ::localtime_r(&now.tv_sec, &local) == nullptr ||
        std::strftime(seconds.data(), seconds.size(), "%F %H:%M:%S", &local) == 0) {
        std::snprintf(stamp.data(), stamp.size(), "yyyy-mm-dd hh:mm:ss.mmm");
    } else {
        std::snprintf(stamp.data(), stamp.size(), "%s.%03d", seconds.data(),
                      static_cast<int>(now.tv_nsec / 1000000));
    }
    return stamp;
}

// Resident set size of this process in KiB. Returns 0 when it cannot be read. Allocates no memory.
std::size_t residentKilobytes() noexcept {
    const CFileDescriptor status(::open("/proc/self/status", O_RDONLY | O_CLOEXEC));
    std::array<char, 4096> text{};
    std::size_t kilobytes = 0;
    if (status && ::read(status.Get(), text.data(), text.size() - 1) > 0) {
        if (const char* line = std::strstr(text.data(), "VmRSS:")) {
            kilobytes = std::strtoul(line + std::strlen("VmRSS:"), nullptr, 10);
        }
    }
    return kilobytes;
}

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

// The text in front of the first line: command line, environment, configuration.
std::string headerText(const CDebugTraceConfig& config, const std::string& moduleName,
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

}  // namespace

CDebug::CDebug(CDebugTraceConfig config, std::string moduleName)
    : config_(std::move(config)),
      moduleName_(std::move(moduleName)),
      lastUpdate_(std::time(nullptr)) {
    Open();
    WriteHeader();
}

CDebug::~CDebug() {
    PrintFormatted("## TRACE-END ##");
}

void CDebug::Open() {
    path_ = config_.Settings().logDirectory + "/log." + moduleName_;
    file_ = openOwnFile(path_, 0640);
    if (!file_) {
        ::syslog(LOG_ERR, "ERROR: Error during opening %s --> proceed without it\n", path_.c_str());
        return;
    }
    // The lock tells other processes that the file is in use. It ends with the descriptor.
    if (::flock(file_.Get(), LOCK_EX | LOCK_NB) != 0 || ::ftruncate(file_.Get(), 0) != 0) {
        ::syslog(LOG_ERR, "ERROR: %s is in use by another process --> proceed without it\n",
                 path_.c_str());
        file_ = CFileDescriptor();
    }
}

void CDebug::WriteHeader() {
    const std::string header = headerText(config_, moduleName_, static_cast<bool>(file_));
    if (!config_.Settings().noHeaderToStderr) {
        writeWithoutSignal(STDERR_FILENO, header);
    }
    WriteCounted(header);
    headerCount_ = byteCount_;
}

int CDebug::Gate() const noexcept {
    if (!file_) {
        return 0;
    }
    return config_.Settings().dynamicUpdate != 0 ? std::numeric_limits<int>::max()
                                                 : config_.Settings().debugLevel;
}

bool CDebug::Admits(int level) noexcept {
    const std::uint32_t interval = config_.Settings().dynamicUpdate;
    if (interval != 0) {
        const std::time_t now = std::time(nullptr);
        if (now < lastUpdate_ || now - lastUpdate_ >= static_cast<std::time_t>(interval)) {
            lastUpdate_ = now;
            try {
                config_.Update();
            } catch (...) {
                // No memory for the new settings: the old ones stay valid.
                ::syslog(LOG_ERR, "ERROR: trace configuration of %s not updated\n",
                         moduleName_.c_str());
            }
        }
    }
    return level <= config_.Settings().debugLevel;
}

void CDebug::Write(const char* format, va_list arguments) noexcept {
    Print(format, arguments);
    if (byteCount_ > config_.Settings().logMaxSize) {
        Wrap();
    }
}

void CDebug::Print(const char* format, va_list arguments) noexcept {
    std::array<char, maxPrefix + maxMessage + 2> line{};  // + newline + NUL
    const auto stamp = timeStamp();
    int printed = 0;
    if (config_.Settings().memoryTraces) {
        printed =
            std::snprintf(line.data(), maxPrefix + 1, "%s [%010d] %8zu %s !%-13s ", stamp.data(),
                          ::getpid(), residentKilobytes(), "KB", moduleName_.c_str());
    } else {
        printed = std::snprintf(line.data(), maxPrefix + 1, "%s [%010d] %-13s ", stamp.data(),
                                ::getpid(), moduleName_.c_str());
    }
    std::size_t length = clampedLength(printed, maxPrefix);

    const char* const text = format + std::strspn(format, "\n");
// The compiler has checked the format in the caller. Only its leading newlines are skipped here.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    printed = std::vsnprintf(line.data() + length, maxMessage + 1, *text != '\0' ? text : format,
                             arguments);
#pragma GCC diagnostic pop
    if (printed < 0) {
        WriteCounted("\n## ERROR: No memory: Output Truncated!\n");
        return;
    }
    length += clampedLength(printed, maxMessage);
    if (line[length - 1] != '\n') {
        line[length++] = '\n';
    }
    WriteCounted({line.data(), length});
}

void CDebug::PrintFormatted(const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    Print(format, arguments);
    va_end(arguments);
}

void CDebug::WriteCounted(std::string_view text) noexcept {
    // A full disk must not stop the module. Lines that cannot be written are lost.
    if (file_ && writeAll(file_.Get(), text)) {
        byteCount_ += text.size();
    }
}

void CDebug::Wrap() noexcept {
    if (::lseek(file_.Get(), static_cast<off_t>(headerCount_), SEEK_SET) < 0) {
        ::syslog(LOG_ERR, "ERROR: fseek failed for %s (errno=%d) --> rewind it\n", path_.c_str(),
                 errno);
        ::lseek(file_.Get(), 0, SEEK_SET);
    }
    byteCount_ = headerCount_;
    ++wrapCycle_;
    PrintFormatted("------ WRAP ----- Cycle=%d, CntInitEnd=%u, CurrentByteCnt=%u (MaxCnt=%u)\n",
                   static_cast<int>(wrapCycle_), static_cast<unsigned>(headerCount_),
                   static_cast<unsigned>(headerCount_),
                   static_cast<unsigned>(config_.Settings().logMaxSize));
}

}  // namespace em_pni
