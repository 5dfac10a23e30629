// Validation of a record beside the sum of its bytes, which its checksum needs anyway.
#include <numeric>

#include "bench/records.h"
#include "frudata/pni_fru.h"

namespace em_pni::bench {
namespace {

void validation(benchmark::State& state) {
    const Bytes image = recordOf(moduleCount(state));
    for (auto _ : state) {
        if (pniValidateFru(image.data(), image.size()) != PNI_SUCCESS) {
            state.SkipWithError("not valid");
            break;
        }
    }
    state.counters[elements] = moduleCount(state);
    state.counters[aim] = 2;
}

// The sum as a plain loop has it, for comparison.
void plainSum(benchmark::State& state) {
    const Bytes image = recordOf(moduleCount(state));
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::accumulate(image.begin(), image.end(), 0U));
        benchmark::ClobberMemory();
    }
    state.counters[elements] = moduleCount(state);
}

BENCHMARK(validation)->Apply(recordSizes);
BENCHMARK(sumOfBytes)->Name("floor of validation")->Apply(recordSizes);
BENCHMARK(plainSum)->Name("plain sum of bytes")->Apply(recordSizes);

}  // namespace
}  // namespace em_pni::bench
