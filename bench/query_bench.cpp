// The query of a record as large as a record can be, beside the writing of its JSON.
#include <benchmark/benchmark.h>

#include "frudata/pni_fru.h"
#include "module/krcp_trace.h"
#include "query/pni_data.h"
#include "tests/record_builder.h"

namespace em_pni {
namespace {

// Modules with eight ports each until the 16-bit record length is nearly used up.
test::Bytes largestRecord(std::size_t bytes) {
    std::vector<test::Bytes> modules;
    std::size_t size = 4;
    for (unsigned id = 0; size < bytes; ++id) {
        std::vector<test::Bytes> ports;
        for (unsigned p = 0; p < 8; ++p) {
            ports.push_back(test::port(
                p, p == 7,
                {test::function(0, true, 0, test::nicAddresses(1, {192, 0, 2, 1}, 0x01))}));
        }
        modules.push_back(test::module(id % 64, false, 3, ports));
        size += modules.back().size();
    }
    modules.back()[0] |= 0x80U;
    return test::recordImage(12, modules);
}

void Validate(benchmark::State& state) {
    const test::Bytes image = largestRecord(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(pniValidateFru(image.data(), image.size()));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(image.size()));
}

void Query(benchmark::State& state) {
    const test::Bytes image = largestRecord(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        rapidjson::Document answer;
        if (!CPNI_Data(image, nullptr).PniGetAllData(answer)) {
            state.SkipWithError("no answer");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(image.size()));
}

void WriteJson(benchmark::State& state) {
    const test::Bytes image = largestRecord(static_cast<std::size_t>(state.range(0)));
    rapidjson::Document answer;
    if (!CPNI_Data(image, nullptr).PniGetAllData(answer)) {
        state.SkipWithError("no answer");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(krcp::jsonText(answer));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(image.size()));
}

BENCHMARK(Validate)->Arg(16000)->Arg(64000);
BENCHMARK(Query)->Arg(16000)->Arg(64000);
BENCHMARK(WriteJson)->Arg(16000)->Arg(64000);

}  // namespace
}  // namespace em_pni
