// A trace call while the trace is off. The floor is the same loop without the call.
#include <benchmark/benchmark.h>
#include <cstdint>
#include <string>

#include "bench/table.h"
#include "platform/trace.h"

namespace em_pni::bench {
namespace {

std::string expensiveText(std::uint32_t number) {
    std::string text;
    for (int i = 0; i < 100; ++i) {
        text += std::to_string(number);
    }
    return text;
}

void trace(benchmark::State& state) {
    std::uint32_t number = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(++number);
        PNI_TRACE(5, "%s", expensiveText(number).c_str());
    }
}

void emptyLoop(benchmark::State& state) {
    std::uint32_t number = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(++number);
    }
    state.SetLabel("empty loop");
}

BENCHMARK(trace)->Name("trace call, off");
BENCHMARK(emptyLoop)->Name("floor of trace call, off");

}  // namespace
}  // namespace em_pni::bench
