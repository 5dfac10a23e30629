// Assignment of an IP address to the last function of a record: finds the function, writes the
// address and corrects the checksum. The floor is the sum of the bytes of the record.
#include "bench/records.h"
#include "bench/sums.h"
#include "frudata/pni_fru_data.h"

namespace em_pni::bench {
namespace {

// With `clearsFirst` removes all addresses and then adds one, as each cycle of the module does.
// Else replaces an old address.
void assignment(benchmark::State& state, bool clearsFirst) {
    const std::uint8_t modules = moduleCount(state);
    const Bytes mac = macOf(static_cast<std::uint8_t>(modules - 1), 1);
    Bytes address = {198, 51, 100, 1};
    CPniFruData record(recordOf(modules));
    for (auto _ : state) {
        address[3] ^= 1U;
        if ((clearsFirst && !record.ClearIpAddresses()) ||
            !record.AssignIpv4Address(mac, address)) {
            state.SkipWithError("not assigned");
            break;
        }
    }
    state.counters[elements] = modules;
}

BENCHMARK_CAPTURE(assignment, replace, false)->Name("IP assignment")->Apply(recordSizes);
BENCHMARK(sumOfBytes)->Name("floor of IP assignment")->Apply(recordSizes);
BENCHMARK_CAPTURE(assignment, clear, true)->Name("clear, IP assignment")->Apply(recordSizes);
BENCHMARK(sumOfBytes)->Name("floor of clear, IP assignment")->Apply(recordSizes);

}  // namespace
}  // namespace em_pni::bench
