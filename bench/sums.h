// Lower bounds of operations that read each byte of a record of recordOf.
#pragma once

#include <benchmark/benchmark.h>

namespace em_pni::bench {

// The fastest sum of the bytes.
void sumOfBytes(benchmark::State& state);
// The fastest sum, and the way from length to length through all functions. Each step waits for the
// length that it reads.
void sumAndLengths(benchmark::State& state);
// The sum with std::accumulate.
void plainSum(benchmark::State& state);

}  // namespace em_pni::bench
