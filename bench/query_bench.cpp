// The query of a record. The floor is the writing of the finished answer as JSON text.
#include "bench/records.h"
#include "em_pni/krcp_message.h"
#include "module/krcp_trace.h"
#include "query/pni_data.h"

namespace em_pni::bench {
namespace {

constexpr const char* filters = R"({"ResultFilter":["ActiveMAC","Ipv4Addresses"]})";

// A query without a filter, and a query for addresses only.
enum class Kind { complete, filtered };

CPNI_DataFilter filterOf(Kind kind) {
    CPNI_DataFilter filter;
    CKrcpMessage request = krcp::makeRequest(krcp::readPniData, 0, 0, 0);
    if (kind == Kind::filtered) {
        krcp::setMember(request, "DA", rapidjson::Value(rapidjson::StringRef(filters)));
    }
    if (!filter.Read(request)) {
        throw std::logic_error("the filter is not valid");
    }
    return filter;
}

void query(benchmark::State& state, Kind kind) {
    const Bytes image = recordOf(moduleCount(state));
    const CPNI_DataFilter filter = filterOf(kind);
    for (auto _ : state) {
        rapidjson::Document answer;
        if (!CPNI_Data(image, &filter).PniGetAllData(answer)) {
            state.SkipWithError("no answer");
            break;
        }
    }
    state.counters[elements] = moduleCount(state);
    state.counters[aim] = 2;
}

void writing(benchmark::State& state, Kind kind) {
    const Bytes image = recordOf(moduleCount(state));
    const CPNI_DataFilter filter = filterOf(kind);
    rapidjson::Document answer;
    if (!CPNI_Data(image, &filter).PniGetAllData(answer)) {
        state.SkipWithError("no answer");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(krcp::jsonText(answer));
    }
    state.SetLabel("JSON writing");
}

BENCHMARK_CAPTURE(query, complete, Kind::complete)->Name("query")->Apply(recordSizes);
BENCHMARK_CAPTURE(writing, complete, Kind::complete)->Name("floor of query")->Apply(recordSizes);
BENCHMARK_CAPTURE(query, filtered, Kind::filtered)->Name("filtered query")->Apply(recordSizes);
BENCHMARK_CAPTURE(writing, filtered, Kind::filtered)
    ->Name("floor of filtered query")
    ->Apply(recordSizes);

}  // namespace
}  // namespace em_pni::bench
