#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "host/commands/commands.h"
#include "host/commands/reading.h"
#include "host/output/change_json.h"
#include "host/output/host_error.h"
#include "host/output/record_fault.h"
#include "platform/text.h"

namespace em_pni {

namespace {

struct Verdict {
    std::string path;
    std::string error;  // why the data cannot be read; empty = they are read
    std::optional<RecordFault> fault;
};

Verdict judge(const FruSource& source, CConsole& console) {
    try {
        const std::vector<std::uint8_t> bytes = copyOf(source, console)->Read();
        return {source.path, "", findFault(CByteView(bytes))};
    } catch (const CHostError& error) {
        return {source.path, error.what(), std::nullopt};
    }
}

int resultOf(const Verdict& verdict) {
    return !verdict.error.empty() ? exitUnusable : verdict.fault ? exitFailed : exitDone;
}

void show(const Verdict& verdict, CConsole& console) {
    if (!verdict.error.empty()) {
        console.Error(verdict.error);
        return;
    }
    console.Text(printable(verdict.path) + ": " +
                 (verdict.fault ? console.Painted(textOf(*verdict.fault), Color::red)
                                : console.Painted("SUCCESS [0]", Color::green)) +
                 "\n");
}

void write(JsonWriter& writer, const Verdict& verdict) {
    writer.StartObject();
    writeMember(writer, "path", verdict.path);
    if (!verdict.error.empty()) {
        writeMember(writer, "error", verdict.error);
    } else {
        const RecordFault fault = verdict.fault.value_or(RecordFault());
        writer.Key("code");
        writer.Uint(fault.code);
        writeMember(writer, "name", nameOf(fault));
        if (verdict.fault) {
            writeMember(writer, "reason", fault.what);
            writer.Key("offset");
            writer.Uint64(fault.offset);
            writeMember(writer, "expected", fault.expected);
            writeMember(writer, "found", fault.found);
        }
    }
    writer.EndObject();
}

}  // namespace

int checkFiles(const CheckOptions& options, CConsole& console) {
    int result = exitDone;
    rapidjson::StringBuffer text;
    JsonWriter writer(text);
    writer.StartArray();
    FruSource source = options.common;
    for (const std::string& path : options.paths) {
        source.path = path;
        const Verdict verdict = judge(source, console);
        result = std::max(result, resultOf(verdict));
        options.json ? write(writer, verdict) : show(verdict, console);
    }
    writer.EndArray();
    if (options.json) {
        console.Document(text.GetString());
    }
    return result;
}

}  // namespace em_pni
