#include "bench/sums.h"

#include <numeric>

#include "bench/records.h"
#include "platform/bytes.h"

namespace em_pni::bench {
namespace {

// flatten: the compiler puts the code of Sum in here. Else the linker could take the code of the
// module, which has other compiler options.
[[gnu::noinline, gnu::flatten]] std::uint8_t fastSum(const Bytes& bytes) noexcept {
    return CByteView(bytes).Sum(0, bytes.size());
}

// The offset behind the last module. A module has two ports with one function each.
[[gnu::noinline]] std::size_t endOfModules(const Bytes& image, unsigned modules) noexcept {
    std::size_t offset = 26;
    for (unsigned m = 0; m < modules; ++m) {
        offset += image[offset + 1];  // the header of the module
        for (int port = 0; port < 2; ++port) {
            offset += image[offset + 1];                   // the header of the port
            offset += std::size_t{image[offset + 1]} * 4;  // its function
        }
    }
    return offset;
}

}  // namespace

void sumOfBytes(benchmark::State& state) {
    const Bytes image = recordOf(moduleCount(state));
    for (auto _ : state) {
        benchmark::DoNotOptimize(fastSum(image));
        benchmark::ClobberMemory();
    }
    state.SetLabel("sum of bytes");
}

void sumAndLengths(benchmark::State& state) {
    const Bytes image = recordOf(moduleCount(state));
    if (endOfModules(image, moduleCount(state)) != image.size()) {
        state.SkipWithError("another record");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(fastSum(image));
        benchmark::DoNotOptimize(endOfModules(image, moduleCount(state)));
        benchmark::ClobberMemory();
    }
    state.SetLabel("sum and lengths");
}

void plainSum(benchmark::State& state) {
    const Bytes image = recordOf(moduleCount(state));
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::accumulate(image.begin(), image.end(), 0U));
        benchmark::ClobberMemory();
    }
    state.counters[elements] = moduleCount(state);
}

}  // namespace em_pni::bench
