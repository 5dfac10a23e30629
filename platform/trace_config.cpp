#include "platform/trace_config.h"

#include <algorithm>
#include <dirent.h>
#include <limits>
#include <memory>
#include <string_view>

#include "platform/file.h"
#include "platform/number.h"
#include "platform/profile_file.h"
#include "platform/text.h"

namespace em_pni {
namespace {

constexpr std::size_t maxSettingFileSize = 1024 * 1024;
constexpr std::size_t maxDirectoryLength = 256;  // bytes; longer values are cut
constexpr std::uint64_t maxLevel = std::numeric_limits<int>::max();
constexpr std::uint64_t maxNumber = 0xFFFFFFFF;
constexpr std::uint64_t maxLogSize = std::uint64_t{1} << 40;

std::vector<std::string> iniFiles(const std::string& directory) {
    std::vector<std::string> names;
    struct Closer {
        void operator()(DIR* stream) const noexcept { ::closedir(stream); }
    };
    const std::unique_ptr<DIR, Closer> stream(::opendir(directory.c_str()));
    if (!stream) {
        return names;
    }
    while (const dirent* entry = ::readdir(stream.get())) {
        if (std::string_view(entry->d_name).ends_with(".ini")) {
            names.push_back(directory + "/" + entry->d_name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::optional<timespec> modificationTime(const std::string& path) noexcept {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return status.st_mtim;
}

bool sameTime(const std::optional<timespec>& left, const std::optional<timespec>& right) noexcept {
    return left.has_value() == right.has_value() &&
           (!left || (left->tv_sec == right->tv_sec && left->tv_nsec == right->tv_nsec));
}

}  // namespace

CDebugTraceConfig::CDebugTraceConfig(std::string directory, std::string moduleName,
                                     Environment environment)
    : directory_(std::move(directory)),
      moduleName_(std::move(moduleName)),
      environment_(environment) {
    ReadFiles();
    Apply();
}

void CDebugTraceConfig::ReadFiles() {
    entries_.clear();
    globalDynamicUpdate_.reset();
    // Times are read before contents, so that the next update sees a change in between.
    globalFile_.path = directory_ + "/global_trace.ini";
    globalFile_.changed = modificationTime(globalFile_.path);
    if (const auto text = readSmallFile(globalFile_.path, maxSettingFileSize)) {
        globalDynamicUpdate_ = CProfileText(*text).Find("GlobalDebugSettings", "DynamicUpdate");
    }
    // While no file has a section for the module, watch the directory for a new file.
    moduleFile_ = {directory_, modificationTime(directory_)};
    for (const std::string& path : iniFiles(directory_)) {
        const auto changed = modificationTime(path);
        const auto text = readSmallFile(path, maxSettingFileSize);
        if (!text) {
            continue;
        }
        const CProfileText profile(*text);
        if (profile.HasSection(moduleName_)) {
            moduleFile_ = {path, changed};
            for (const auto& [key, value] : profile.Entries(moduleName_)) {
                entries_.emplace_back(key, value);
            }
            return;
        }
    }
}

void CDebugTraceConfig::Apply() {
    TraceSettings fresh;
    fresh.dynamicUpdate =
        static_cast<std::uint32_t>(Number(globalDynamicUpdate_, "QL_LOG_DYNAMIC_UPDATE", maxNumber)
                                       .value_or(fresh.dynamicUpdate));
    fresh.logDirectory = Directory("QL_LOG_FILE_DIR", fresh.logDirectory);
    fresh.logMaxSize = Number(std::nullopt, "QL_LOG_FILE_MAX_SIZE", maxLogSize).value_or(0);
    if (fresh.logMaxSize == 0) {
        fresh.logMaxSize = TraceSettings{}.logMaxSize;
    }
    fresh.ringBufferDirectory = Directory("QL_LOG_RINGBUF_DIR", fresh.ringBufferDirectory);
    fresh.debugLevel = static_cast<int>(
        Number(IniValue("FileDebugLevel"), "QL_LOG_DEBUG_LEVEL", maxLevel).value_or(0));
    if (const auto flags = Number(IniValue("TraceFlags"), nullptr, maxNumber)) {
        fresh.traceFlags = static_cast<std::uint32_t>(*flags);
    }
    fresh.ringBufferSizeFactor = static_cast<std::uint32_t>(
        Number(IniValue("RingBufferSizeFactor"), "TraceFileLimit", maxNumber).value_or(0));
    fresh.ringBufferSizeWeight = static_cast<std::uint32_t>(
        Number(IniValue("RingBufferSizeWeight"), "QL_LOG_RINGBUF_WEIGHT", maxNumber).value_or(0));
    fresh.noHeaderToStderr =
        Number(IniValue("NoHeaderToStderr"), "QL_LOG_NOHDR_TOSDTERR", maxNumber).value_or(1) != 0;
    fresh.memoryTraces = Number(IniValue("MemoryTracesFlag"), nullptr, maxNumber).value_or(0) != 0;
    settings_ = std::move(fresh);
}

void CDebugTraceConfig::Update() {
    const auto globalChanged = modificationTime(globalFile_.path);
    const auto moduleChanged = modificationTime(moduleFile_.path);
    if (sameTime(globalChanged, globalFile_.changed) &&
        sameTime(moduleChanged, moduleFile_.changed)) {
        return;
    }
    const bool isGlobalGone = globalFile_.changed && !globalChanged;
    const bool isModuleGone = moduleFile_.changed && !moduleChanged;
    if (isGlobalGone || isModuleGone) {
        // A file is missing, perhaps only while an editor replaces it. The settings stay as they
        // are. When the file is back, that counts as a change. The next update reads a change of
        // the other file.
        (isGlobalGone ? globalFile_ : moduleFile_).changed.reset();
        entries_.clear();
        return;
    }
    TraceSettings updated = settings_;
    ReadFiles();
    Apply();
    // All other settings belong to the open log file and stay.
    updated.dynamicUpdate = settings_.dynamicUpdate;
    updated.debugLevel = settings_.debugLevel;
    updated.traceFlags = settings_.traceFlags;
    settings_ = std::move(updated);
}

std::optional<std::string> CDebugTraceConfig::IniValue(const char* key) const {
    const auto entry = std::find_if(entries_.begin(), entries_.end(), [key](const auto& candidate) {
        return equalIgnoringCase(candidate.first, key);
    });
    return entry == entries_.end() ? std::nullopt : std::optional(entry->second);
}

std::optional<std::uint64_t> CDebugTraceConfig::Number(const std::optional<std::string>& iniText,
                                                       const char* variable,
                                                       std::uint64_t max) const {
    const char* const text = variable != nullptr ? environment_(variable) : nullptr;
    const auto number = text != nullptr ? parseDecimal(text, max) : std::nullopt;
    return number || !iniText ? number : parseNumber(*iniText, max);
}

std::string CDebugTraceConfig::Directory(const char* variable, std::string fallback) const {
    const char* const text = environment_(variable);
    std::string directory;
    if (text != nullptr && *text != '\0') {
        directory = text;
    } else {
        directory = IniValue("RingBufferDirectory").value_or("");
    }
    if (directory.empty()) {
        return fallback;
    }
    directory.resize(std::min(directory.size(), maxDirectoryLength));
    return directory;
}

}  // namespace em_pni
