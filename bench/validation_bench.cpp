// Validation of a record. The floor is the sum of its bytes and the walk from length to length.
#include "bench/records.h"
#include "bench/sums.h"
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

BENCHMARK(validation)->Apply(recordSizes);
BENCHMARK(sumAndLengths)->Name("floor of validation")->Apply(recordSizes);
// For comparison.
BENCHMARK(plainSum)->Name("plain sum of bytes")->Apply(recordSizes);

}  // namespace
}  // namespace em_pni::bench
