#include "bench/table.h"

#include <array>
#include <cstdio>
#include <string_view>

namespace em_pni::bench {
namespace {

constexpr std::string_view floorPrefix = "floor of ";

// Google Benchmark 1.8 has another name for the text of a failed run.
template <class Run>
std::string errorOf(const Run& run) {
    if constexpr (requires { run.skip_message; }) {
        return run.skip_message;
    } else {
        return run.error_message;
    }
}

std::string numberText(double value) {
    char text[64];
    static_cast<void>(std::snprintf(text, sizeof text, "%.2f", value));
    return text;
}

std::string timeText(double nanoseconds) {
    if (nanoseconds < 1e3) {
        return numberText(nanoseconds) + " ns";
    }
    return nanoseconds < 1e6 ? numberText(nanoseconds / 1e3) + " us"
                             : numberText(nanoseconds / 1e6) + " ms";
}

double counterOr(const benchmark::UserCounters& counters, const char* name, double otherwise) {
    const auto found = counters.find(name);
    return found == counters.end() ? otherwise : found->second.value;
}

// The value, and whether it keeps its limit. 0 = no limit.
std::string judged(double value, double limit) {
    const std::string text = numberText(value);
    if (limit == 0) {
        return text;
    }
    return text + (value <= limit ? "  met: <= " : "  MISSED: <= ") + numberText(limit);
}

void print(const std::array<std::string, 7>& columns) {
    const auto& [name, arguments, time, each, floor, ratio, systemCalls] = columns;
    std::printf("%-22s %-14s %10s %10s  %-28s %-26s %s\n", name.c_str(), arguments.c_str(),
                time.c_str(), each.c_str(), floor.c_str(), ratio.c_str(), systemCalls.c_str());
}

}  // namespace

void CTable::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.run_type == Run::RT_Iteration) {
            Add(run);
        }
    }
}

void CTable::Add(const Run& run) {
    const auto [entry, isNew] = all_.try_emplace({run.family_index, run.per_family_instance_index});
    Measured& measured = entry->second;
    const double inNanoseconds = 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
    const bool isRealTime = !run.run_name.time_type.empty();
    const double time =
        (isRealTime ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime()) * inNanoseconds;
    if (isNew || time < measured.nanoseconds) {
        measured = {run.run_name.function_name,
                    run.run_name.args,
                    run.report_label,
                    errorOf(run),
                    time,
                    run.counters};
    }
}

const CTable::Measured* CTable::FloorOf(const Measured& measured) const {
    for (const auto& [place, one] : all_) {
        if (one.name == std::string(floorPrefix) + measured.name &&
            one.arguments == measured.arguments) {
            return &one;
        }
    }
    return nullptr;
}

void CTable::PrintRow(const Measured& measured) const {
    if (!measured.error.empty()) {
        print({measured.name, measured.arguments, measured.error});
        return;
    }
    const double count = counterOr(measured.counters, elements, 0);
    const double perElement = counterOr(measured.counters, calls, -1);
    std::string floorText;
    std::string ratio;
    if (const Measured* const floor = FloorOf(measured)) {
        floorText = floor->label + " " + timeText(floor->nanoseconds);
        ratio =
            judged(measured.nanoseconds / floor->nanoseconds, counterOr(measured.counters, aim, 0));
    }
    print({measured.name, measured.arguments, timeText(measured.nanoseconds),
           count > 0 ? timeText(measured.nanoseconds / count) : "", floorText, ratio,
           perElement >= 0 ? judged(perElement, counterOr(measured.counters, callsAim, 0)) : ""});
}

bool CTable::Print() const {
    print({"benchmark", "size", "time", "per piece", "floor", "times the floor",
           "system calls per function"});
    bool isComplete = true;
    for (const auto& [place, measured] : all_) {
        isComplete = isComplete && measured.error.empty();
        if (!std::string_view(measured.name).starts_with(floorPrefix)) {
            PrintRow(measured);
        }
    }
    return isComplete;
}

}  // namespace em_pni::bench
