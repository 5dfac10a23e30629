// The table of all measurements and their floors.
#pragma once

#include <benchmark/benchmark.h>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace em_pni::bench {

// Counters that a benchmark sets in its state.
inline constexpr const char* elements = "elements";  // pieces that one iteration processes
inline constexpr const char* aim = "aim";            // limit of time / time of floor
inline constexpr const char* calls = "calls";        // system calls per element
inline constexpr const char* callsAim = "callsAim";  // limit of calls

// The floor of benchmark "NAME" is the benchmark "floor of NAME" with the same arguments. The label
// of the floor says what it does. The fastest repetition counts, because other load only adds time.
class CTable final : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override;
    // Prints to standard output. Returns false when a benchmark has failed.
    [[nodiscard]] bool Print() const;

  private:
    // Family, and instance in the family: the order of registration.
    using Place = std::pair<std::int64_t, std::int64_t>;

    struct Measured {
        std::string name;
        std::string arguments;
        std::string label;
        std::string error;
        double nanoseconds = 0;
        benchmark::UserCounters counters;
    };

    void Add(const Run& run);
    [[nodiscard]] const Measured* FloorOf(const Measured& measured) const;
    void PrintRow(const Measured& measured) const;

    std::map<Place, Measured> all_;
};

}  // namespace em_pni::bench
