// Whole cycles of the module's thread. The machine agrees with the record, and the host answers at
// once.
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

#include "bench/records.h"
#include "pni/pni_ext_module.h"
#include "tests/scripted_network.h"

namespace em_pni::bench {
namespace {

using Clock = std::chrono::steady_clock;

// Runs cycles without a pause: each cycle sends the event that starts the next one. The duration of
// a cycle is the time between two questions for the number of interfaces.
class CCycles {
  public:
    explicit CCycles(std::uint8_t modules) : host_(recordOf(modules)) {
        test::buildSampleMachine(machine_);
        network_.interfaces = test::sampleInterfaces();
        host_.On(krcp::interfaceCount, [this](CKrcpMessage& message) {
            krcp::setMember(message, "DA", krcp::number(4));
            krcp::setStatus(message, krcp::SUCCESS);
            Note();
            CKrcpMessage event = krcp::makeRequest(krcp::ipAddressChanged, 0, 0, 0);
            krcp::setMember(event, "ST", krcp::number(krcp::EVENT_MESSAGE));
            module_.ModuleReply(event);
        });
        module_.Start(&host_, 0);
        module_.OnSwitchStarted();
    }
    ~CCycles() { module_.Stop(); }
    CCycles(const CCycles&) = delete;
    CCycles& operator=(const CCycles&) = delete;

    // The duration of the next cycle in seconds. Waits until it has ended.
    double NextDuration() {
        std::unique_lock lock(lock_);
        noted_.wait(lock, [this] { return !durations_.empty(); });
        const double seconds = durations_.front();
        durations_.pop_front();
        return seconds;
    }

  private:
    void Note() {
        const auto now = Clock::now();
        const std::lock_guard lock(lock_);
        if (last_ != Clock::time_point()) {
            durations_.push_back(std::chrono::duration<double>(now - last_).count());
            noted_.notify_one();
        }
        last_ = now;
    }

    std::mutex lock_;
    std::condition_variable noted_;
    Clock::time_point last_;
    std::deque<double> durations_;  // seconds
    CFakeMachine machine_;
    test::CTempDirectory directory_;
    test::CScriptedHost host_;
    test::CScriptedNetwork network_{host_};
    CPniExtModule module_{PniPlaces{.config = {.currentDirectory = directory_.File("current"),
                                               .programDirectory = directory_.File("program"),
                                               .dataRoot = directory_.File("root")},
                                    .dumpFile = directory_.File("pnidump")},
                          std::shared_ptr<CMachine>(std::shared_ptr<void>(), &machine_.Machine())};
};

void cycle(benchmark::State& state) {
    CCycles cycles(moduleCount(state));
    for (auto _ : state) {
        state.SetIterationTime(cycles.NextDuration());
    }
    state.counters[elements] = moduleCount(state);
}

BENCHMARK(cycle)->Name("whole cycle")->Apply(recordSizes)->UseManualTime();

}  // namespace
}  // namespace em_pni::bench
