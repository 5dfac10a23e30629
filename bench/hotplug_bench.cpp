// Insertion of a module into a record, and the hot-plug update after an exchange of cards. Times do
// not include the answers of the host.
#include <chrono>

#include "bench/records.h"
#include "bench/sums.h"
#include "pni/hotplug_update.h"
#include "pni/ip_update.h"
#include "pni/physical_check.h"
#include "tests/many_cards.h"

namespace em_pni::bench {
namespace {

using Clock = std::chrono::steady_clock;
using test::ManyCards;

// A host that answers from a list of interfaces and measures the time of its answers.
class CTimedHost final : public CKrcpConnection {
  public:
    explicit CTimedHost(std::vector<test::HostInterface> interfaces) {
        network_.interfaces = std::move(interfaces);
    }
    std::uint32_t SendRequest(CKrcpMessage& message, std::uint32_t timeoutMs) override {
        const auto begin = Clock::now();
        const std::uint32_t sent = host_.SendRequest(nullptr, message, timeoutMs);
        spent_ += Clock::now() - begin;
        return sent;
    }
    [[nodiscard]] Clock::duration Spent() const noexcept { return spent_; }

  private:
    test::CScriptedHost host_{{}};
    test::CScriptedNetwork network_{host_};
    Clock::duration spent_{};
};

// A machine with many cards, and the record from before the exchange.
struct Rack {
    ManyCards cards;
    CFakeMachine machine;
    CTimedHost host;
    CPniFruData before;

    Rack(unsigned count, unsigned ports, unsigned exchanged)
        : cards{.cards = count, .ports = ports},
          host(cards.Interfaces(2)),
          before(cards.Record(2, exchanged)) {
        cards.Plug(machine, 2);
    }
    std::vector<LocalPniAdapterHandle> Collect(UncollectedDevices* uncollected) {
        return LocalPniAdapterHandle::GetLocalNetworkAdapters(machine.Machine(), &host, 0,
                                                              uncollected);
    }
};

// Measures `step` without the time of the host. Each iteration uses a new copy of the record.
template <class Step>
void measure(benchmark::State& state, Rack& rack, Step step) {
    for (auto _ : state) {
        CPniFruData record = rack.before;
        const auto hostBefore = rack.host.Spent();
        const auto begin = Clock::now();
        if (!step(record)) {
            state.SkipWithError("refused");
            break;
        }
        const auto own = Clock::now() - begin - (rack.host.Spent() - hostBefore);
        state.SetIterationTime(std::chrono::duration<double>(own).count());
    }
    state.counters[elements] = rack.cards.cards;
}

void update(benchmark::State& state, Rack& rack) {
    measure(state, rack, [&rack](CPniFruData& record) {
        return UpdateInventoryStructure(
            record, {.deviceAdded = true, .deviceRemoved = true},
            [&rack](auto* uncollected) { return rack.Collect(uncollected); });
    });
}

// Exchange of one card.
void exchangedCard(benchmark::State& state) {
    Rack rack(moduleCount(state), 2, 1);
    update(state, rack);
}

// Exchange of all cards. At most thirty, because the old modules still use their ids during the
// update.
void exchangedCards(benchmark::State& state) {
    Rack rack(moduleCount(state), 4, moduleCount(state));
    update(state, rack);
}

// The cards stay, but all MAC addresses and IP addresses change.
void exchangedAddresses(benchmark::State& state) {
    Rack rack(moduleCount(state), 2, moduleCount(state));
    measure(state, rack, [&rack](CPniFruData& record) {
        CheckPhysicalAddrs(record,
                           [&rack](auto* uncollected) { return rack.Collect(uncollected); });
        ReplaceIpAddresses(CNetworkRequests(&rack.host, 0), record);
        return true;
    });
}

void insertedModule(benchmark::State& state) {
    const auto modules = static_cast<std::uint8_t>(moduleCount(state) - 1);
    const CPniFruData before(recordOf(modules));
    const Bytes module = test::nicModule(40, false);
    for (auto _ : state) {
        CPniFruData record = before;
        Bytes stream = module;
        if (!record.AddPniModule(stream)) {
            state.SkipWithError("refused");
            break;
        }
    }
    state.counters[elements] = modules + 1;
}

BENCHMARK(insertedModule)->Name("insertion")->Apply(recordSizes);
BENCHMARK(sumOfBytes)->Name("floor of insertion")->Apply(recordSizes);
BENCHMARK(exchangedCard)->Name("hot-plug update, one card")->Apply(recordSizes)->UseManualTime();
BENCHMARK(exchangedCards)
    ->Name("hot-plug update, all cards")
    ->ArgName("modules")
    ->Arg(3)
    ->Arg(30)
    ->UseManualTime();
BENCHMARK(exchangedAddresses)->Name("addresses of all cards")->Apply(recordSizes)->UseManualTime();

}  // namespace
}  // namespace em_pni::bench
