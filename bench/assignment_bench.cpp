// One IP address stored with the last function of a record, beside the sum of the record's bytes:
// the function has to be looked for and the checksum mended.
#include "bench/records.h"
#include "frudata/pni_fru_data.h"

namespace em_pni::bench {
namespace {

struct Assigned {
    explicit Assigned(const benchmark::State& state)
        : modules(moduleCount(state)),
          mac(macOf(static_cast<std::uint8_t>(modules - 1), 1)),
          record(recordOf(modules)) {}

    std::uint8_t modules;
    Bytes mac;
    Bytes address = {198, 51, 100, 1};
    CPniFruData record;
};

// The new address takes the place of one that is there.
void replacedAddress(benchmark::State& state) {
    Assigned at(state);
    for (auto _ : state) {
        at.address[3] ^= 1U;
        if (!at.record.AssignIpv4Address(at.mac, at.address)) {
            state.SkipWithError("not assigned");
            break;
        }
    }
    state.counters[elements] = at.modules;
}

// All addresses go, and the function grows by the new one, as in each cycle of the module.
void clearedAndAssigned(benchmark::State& state) {
    Assigned at(state);
    for (auto _ : state) {
        if (!at.record.ClearIpAddresses() || !at.record.AssignIpv4Address(at.mac, at.address)) {
            state.SkipWithError("not assigned");
            break;
        }
    }
    state.counters[elements] = at.modules;
}

BENCHMARK(replacedAddress)->Name("IP assignment")->Apply(recordSizes);
BENCHMARK(sumOfBytes)->Name("floor of IP assignment")->Apply(recordSizes);
BENCHMARK(clearedAndAssigned)->Name("clear, IP assignment")->Apply(recordSizes);
BENCHMARK(sumOfBytes)->Name("floor of clear, IP assignment")->Apply(recordSizes);

}  // namespace
}  // namespace em_pni::bench
