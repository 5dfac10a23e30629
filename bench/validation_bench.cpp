// Validation of a record. The floor is the sum of its bytes, which the checksum needs.
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

// For comparison: the sum with std::accumulate.
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
