// The configuration of the trace: which levels are written, and where. The environment overrides
// the ini files.
//
//   value                     ini key                  environment variable
//   dynamic update, seconds   DynamicUpdate (1)        QL_LOG_DYNAMIC_UPDATE
//   log file directory        RingBufferDirectory      QL_LOG_FILE_DIR
//   log file maximum, bytes   -                        QL_LOG_FILE_MAX_SIZE
//   ring buffer directory     RingBufferDirectory      QL_LOG_RINGBUF_DIR
//   debug level               FileDebugLevel           QL_LOG_DEBUG_LEVEL
//   trace flags               TraceFlags               -
//   ring buffer size factor   RingBufferSizeFactor     TraceFileLimit
//   ring buffer size weight   RingBufferSizeWeight     QL_LOG_RINGBUF_WEIGHT
//   no header to stderr       NoHeaderToStderr         QL_LOG_NOHDR_TOSDTERR
//   memory traces             MemoryTracesFlag         -
//
// (1) in section [GlobalDebugSettings] of global_trace.ini. All other keys are in the section named
// after the module. The first ini file in alphabetical order that has this section counts.
//
// Values in the environment are decimal. Values in ini files are decimal, hexadecimal after "0x" or
// octal after a leading "0". Any other text counts as not set. The ring buffer values and the trace
// flags only appear in the header of the log file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace em_pni {

struct TraceSettings {
    std::uint32_t dynamicUpdate = 0;  // seconds; 0 = read the configuration only once
    std::string logDirectory = "/var/log/qlagent";
    std::uint64_t logMaxSize = 20971520;  // bytes
    std::string ringBufferDirectory = "/var/log/qlagent";
    int debugLevel = 0;
    std::optional<std::uint32_t> traceFlags;
    std::uint32_t ringBufferSizeFactor = 0;
    std::uint32_t ringBufferSizeWeight = 0;
    bool noHeaderToStderr = true;
    bool memoryTraces = false;
};

class CDebugTraceConfig {
  public:
    // Returns the value of a variable, or null when it is not set, as getenv does.
    using Environment = const char* (*)(const char* name);

    static constexpr const char* systemDirectory =
        "/opt/QuillonRT/vital/etc/QuillonSuite/TraceConfig";

    // Reads files and environment. Update asks `environment` again.
    CDebugTraceConfig(std::string directory, std::string moduleName, Environment environment);

    // Reads the dynamic update interval, the debug level and the trace flags again when one of
    // their files has changed since the last reading.
    void Update();

    [[nodiscard]] const TraceSettings& Settings() const noexcept { return settings_; }
    // Keys and values of the module's section, in file order.
    [[nodiscard]] const std::vector<std::pair<std::string, std::string>>& Entries() const noexcept {
        return entries_;
    }

  private:
    struct FileState {
        std::string path;
        std::optional<timespec> changed;  // modification time; no value = no such file
    };

    void ReadFiles();
    void Apply();
    [[nodiscard]] std::optional<std::string> IniValue(const char* key) const;
    // `iniText` is the value in the ini file. `variable` may be null.
    [[nodiscard]] std::optional<std::uint64_t> Number(const std::optional<std::string>& iniText,
                                                      const char* variable,
                                                      std::uint64_t max) const;
    [[nodiscard]] std::string Directory(const char* variable, std::string fallback) const;

    std::string directory_;
    std::string moduleName_;
    Environment environment_;
    TraceSettings settings_;
    FileState globalFile_;
    FileState moduleFile_;  // the directory itself while no file has a section for the module
    std::optional<std::string> globalDynamicUpdate_;
    std::vector<std::pair<std::string, std::string>> entries_;
};

}  // namespace em_pni
