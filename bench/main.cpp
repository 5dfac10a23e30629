// Runs all benchmarks and prints one table. Accepts all options of Google Benchmark.
#include <benchmark/benchmark.h>
#include <vector>

#include "bench/table.h"

int main(int argc, char** argv) {
    // Mixes the repetitions of all benchmarks, so that other load on the machine disturbs a
    // benchmark and its floor alike.
    char repetitions[] = "--benchmark_repetitions=15";
    char interleaving[] = "--benchmark_enable_random_interleaving=true";
    char shortTime[] = "--benchmark_min_time=0.02";  // seconds
    std::vector<char*> arguments = {argv[0], repetitions, interleaving, shortTime};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 2;
    }
    em_pni::bench::CTable table;
    benchmark::RunSpecifiedBenchmarks(&table);
    return table.Print() ? 0 : 1;
}
