// What a running pni-host reports: lines for people, or a JSON object in each line for programs.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/output/console.h"
#include "host/output/inventory_diff.h"

namespace em_pni {

struct RunLogStyle {
    bool json = false;
    bool hasTime = true;  // lines for people begin with the local time
};

// One report. The JSON object has the members "time" (local time with its offset to UTC), "event",
// "text", and those of "bytes", "writes", "origin" and "changes" that have a value.
struct RunReport {
    std::string_view event = {};  // for programs: "written"
    std::string text = {};        // for people
    std::optional<std::size_t> bytes = {};
    std::optional<std::size_t> writes = {};
    std::string origin = {};  // of an event
    std::vector<InventoryChange> changes = {};
    std::optional<Color> color = {};  // of the text
};

class CRunLog {
  public:
    // The console must outlive this. Any thread may write.
    CRunLog(CConsole& console, const RunLogStyle& style) : console_(console), style_(style) {}

    void Write(const RunReport& report);

  private:
    void WriteText(const RunReport& report);
    void WriteJson(const RunReport& report);

    CConsole& console_;
    const RunLogStyle style_;
};

// The differences as lines for people, each with two blanks before it and its kind in color.
std::string changeLines(const std::vector<InventoryChange>& changes, const CConsole& console);

}  // namespace em_pni
