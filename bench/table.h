// All measurements of a run as one table, each beside its floor.
#pragma once

#include <benchmark/benchmark.h>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace em_pni::bench {

// What a benchmark tells besides its time, as counters of its state.
inline constexpr const char* elements = "elements";  // that one iteration goes through
inline constexpr const char* aim = "aim";            // at most that many times its floor
inline constexpr const char* calls = "calls";        // system calls per element
inline constexpr const char* callsAim = "callsAim";

// The floor of benchmark "NAME" is "floor of NAME" with the same arguments; its label says what it
// does. Of all repetitions the fastest counts: what else runs on the machine can only add.
class CTable final : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override;
    // To standard output; false when a benchmark has failed.
    [[nodiscard]] bool Print() const;

  private:
    // Family and place in it, which is the order of registration.
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
