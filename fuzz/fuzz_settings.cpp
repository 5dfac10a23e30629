// Reads any configuration of the trace and writes any value to a profile file.
//
// Input: texts with a NUL between them: the profile of the module, global_trace.ini, lines
// NAME=VALUE of the environment, and the section, key and value to write.
#include <map>

#include "fuzz/fuzz_input.h"
#include "platform/number.h"
#include "platform/profile_file.h"
#include "platform/text.h"
#include "platform/trace_config.h"
#include "tests/temp_directory.h"

using namespace em_pni;
using namespace em_pni::fuzz;

namespace {

using Variables = std::map<std::string, std::string, std::less<>>;

Variables& variables() {
    static Variables all;
    return all;
}

const char* valueOf(const char* name) {
    const auto found = variables().find(name);
    return found == variables().end() ? nullptr : found->second.c_str();
}

void setVariables(std::string_view lines) {
    variables().clear();
    while (!lines.empty()) {
        std::string_view line = takeUntil(lines, '\n');
        const std::string name(takeUntil(line, '='));
        variables()[name] = line;
    }
}

void checkSettings(const TraceSettings& settings) {
    require(settings.debugLevel >= 0 && settings.logMaxSize > 0, "numbers are in range");
    for (const std::string& folder : {settings.logDirectory, settings.ringBufferDirectory}) {
        require(!folder.empty() && folder.size() <= 256, "there is a folder");
    }
}

// Whether the text stands for itself in a profile.
bool isPlain(std::string_view text) {
    return !text.empty() && trimBlanks(text) == text &&
           text.find_first_of("\n=[];#") == std::string_view::npos;
}

using Keys = std::map<std::pair<std::string, std::string>, std::string>;

// All values but the one of this key. The sections are those that the input can name.
Keys valuesBeside(const std::string& text, const std::string& section, const std::string& key) {
    const CProfileText profile(text);
    Keys values;
    for (const std::string& name : {section, std::string("EM_PNI"), std::string()}) {
        for (const auto& entry : profile.Entries(name)) {
            if (!equalIgnoringCase(name, section) || !equalIgnoringCase(entry.key, key)) {
                values.emplace(std::pair(name, entry.key), entry.value);
            }
        }
    }
    return values;
}

void write(const std::string& file, const std::string& section, const std::string& key,
           const std::string& value) {
    const std::string before = test::contentOf(file);
    const bool isWritten =
        WritePrivateProfileString(section.c_str(), key.c_str(), value.c_str(), file.c_str());
    const std::string after = test::contentOf(file);
    require(isWritten || after == before, "a refused change changes nothing");
    if (!isWritten || !isPlain(section) || !isPlain(key) || value.find('\n') != std::string::npos) {
        return;
    }
    require(GetPrivateProfileString(section, key, file) == trimBlanks(value), "the value is read");
    require(valuesBeside(before, section, key) == valuesBeside(after, section, key),
            "the other values stay");
    require(WritePrivateProfileString(section.c_str(), key.c_str(), nullptr, file.c_str()) &&
                !GetPrivateProfileString(section, key, file),
            "a removed value is gone");
    require(valuesBeside(before, section, key) == valuesBeside(after, section, key),
            "the other values stay");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const test::CTempDirectory folder("/dev/shm");
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::string file = folder.Write("em_pni.ini", std::string(takeUntil(rest, '\0')));
    folder.Write("global_trace.ini", std::string(takeUntil(rest, '\0')));
    setVariables(takeUntil(rest, '\0'));
    CDebugTraceConfig config(folder.Path(), "EM_PNI", valueOf);
    checkSettings(config.Settings());

    const std::string section(takeUntil(rest, '\0'));
    const std::string key(takeUntil(rest, '\0'));
    const std::string value(takeUntil(rest, '\0'));
    write(file, section, key, value);
    config.Update();
    checkSettings(config.Settings());

    setVariables("");
    if (WritePrivateProfileString("EM_PNI", "FileDebugLevel", value.c_str(), file.c_str()) &&
        value.find('\n') == std::string::npos) {
        const auto level = parseNumber(trimBlanks(value), INT32_MAX);
        require(CDebugTraceConfig(folder.Path(), "EM_PNI", valueOf).Settings().debugLevel ==
                    static_cast<int>(level.value_or(0)),
                "the level is the number in the file");
    }
    return 0;
}
