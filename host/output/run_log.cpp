#include "host/output/run_log.h"

#include <chrono>
#include <ctime>

#include "host/output/change_json.h"
#include "platform/text.h"

namespace em_pni {

namespace {

struct LocalTime {
    std::string text;    // "2026-03-01 12:34:56.789"
    std::string offset;  // to UTC: "+01:00"
};

LocalTime localTime() {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(now);
    const auto thousandths = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm parts{};
    ::localtime_r(&seconds, &parts);
    char text[32];
    char offset[8];
    std::strftime(text, sizeof text, "%F %T", &parts);
    std::strftime(offset, sizeof offset, "%z", &parts);
    std::string digits = std::to_string(thousandths);
    digits.insert(0, 3 - digits.size(), '0');
    LocalTime time{text, offset};
    time.text.append(".").append(digits);
    time.offset.insert(3, ":");
    return time;
}

Color colorOf(InventoryChange::Kind kind) {
    switch (kind) {
        case InventoryChange::Kind::added:
            return Color::green;
        case InventoryChange::Kind::removed:
            return Color::red;
        case InventoryChange::Kind::changed:
            break;
    }
    return Color::yellow;
}

}  // namespace

void CRunLog::Write(const RunReport& report) {
    style_.json ? WriteJson(report) : WriteText(report);
}

// One call of the console: no other line comes between.
void CRunLog::WriteText(const RunReport& report) {
    std::string text = printable(report.text);
    if (report.color) {
        text = console_.Painted(text, *report.color);
    }
    console_.Text((style_.hasTime ? localTime().text + ' ' : std::string()) + text + '\n' +
                  changeLines(report.changes, console_));
}

void CRunLog::WriteJson(const RunReport& report) {
    rapidjson::StringBuffer text;
    JsonWriter writer(text);
    LocalTime time = localTime();
    time.text[10] = 'T';
    writer.StartObject();
    writeMember(writer, "time", time.text + time.offset);
    writeMember(writer, "event", report.event);
    writeMember(writer, "text", report.text);
    writeMember(writer, "origin", report.origin);
    for (const auto& [key, number] :
         {std::pair("bytes", report.bytes), std::pair("writes", report.writes)}) {
        if (number) {
            writer.Key(key);
            writer.Uint64(*number);
        }
    }
    if (!report.changes.empty()) {
        writer.Key("changes");
        writeChanges(writer, report.changes);
    }
    writer.EndObject();
    console_.Document(text.GetString());
}

std::string changeLines(const std::vector<InventoryChange>& changes, const CConsole& console) {
    std::string lines;
    for (const InventoryChange& change : changes) {
        const std::string word = std::string(wordOf(change.kind)) + ':';
        lines += "  " + console.Painted(word, colorOf(change.kind)) + ' ' +
                 printable(textOf(change)) + '\n';
    }
    return lines;
}

}  // namespace em_pni
