// From a change of the machine to the changed image: pni-host and the module on a made-up server,
// with events of the kernel. The floor is the quiet end of a burst. Needs root.
#include <chrono>
#include <thread>

#include "bench/table.h"
#include "host/events/event_burst.h"
#include "tests/host_program.h"
#include "tests/made_up_server.h"
#include "tests/record_builder.h"

namespace em_pni::bench {
namespace {

using Clock = std::chrono::steady_clock;

// A running pni-host, whose record is correct.
class CRunningHost {
  public:
    CRunningHost() {
        const test::Bytes sample = test::sample("three-modules-in-2k-device.fru");
        file_ = folder_.Write("a.fru", {sample.begin(), sample.end()});
        program_ = std::make_unique<host_test::CProgram>(
            std::vector<std::string>{"run", "--fru", file_, "--cycle", "4294967295",
                                     "--write-interval", "0"},
            std::vector<std::string>{"QL_LOG_DEBUG_LEVEL=3", "QL_LOG_FILE_DIR=" + folder_.Path()});
        test::isTrueWithin(std::chrono::seconds(5), [this] {
            return test::contentOf(folder_.File("log.EM_PNI")).find("... PNI update done") !=
                   std::string::npos;
        });
    }
    // Seconds from the time that `change` returns to the next image; no value when it does not
    // come.
    template <class Change>
    std::optional<double> TimeOf(Change change) {
        const std::string before = test::contentOf(file_);
        const Clock::time_point begin = change();
        while (test::contentOf(file_) == before) {
            if (Clock::now() - begin > std::chrono::seconds(5)) {
                return std::nullopt;
            }
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
        return std::chrono::duration<double>(Clock::now() - begin).count();
    }

  private:
    test::CTempDirectory folder_;
    std::string file_;
    std::unique_ptr<host_test::CProgram> program_;
};

// Measures `change` and not `undo`.
template <class Change, class Undo>
void measure(benchmark::State& state, const test::CMadeUpServer& server, Change change, Undo undo) {
    if (!server.Reason().empty()) {
        state.SkipWithError(server.Reason().c_str());
        return;
    }
    CRunningHost host;
    for (auto _ : state) {
        const auto time = host.TimeOf(change);
        if (!time || !host.TimeOf(undo)) {
            state.SkipWithError("the image does not change");
            break;
        }
        state.SetIterationTime(*time);
    }
    state.counters[aim] = 2;
}

Clock::time_point changeAddress(const char* action) {
    const auto begin = Clock::now();
    test::CNetworkNamespace::Ip(std::string("addr ") + action + " 192.0.2.77/24 dev eno1");
    return begin;
}

void newAddress(benchmark::State& state) {
    const test::CMadeUpServer server;
    measure(
        state, server, [] { return changeAddress("add"); }, [] { return changeAddress("del"); });
}

void insertedCard(benchmark::State& state) {
    test::CMadeUpServer server;
    const auto report = [](const char* action) {
        std::this_thread::sleep_for(CEventBursts::longest);  // events of the links are over
        const auto begin = Clock::now();
        test::CMadeUpServer::Report({5}, {action});
        return begin;
    };
    const auto plug = [&] {
        server.Plug({5});
        return report("add");
    };
    const auto pull = [&] {
        server.Pull({5});
        return report("remove");
    };
    measure(state, server, plug, pull);
}

void quietTime(benchmark::State& state) {
    for (auto _ : state) {
        std::this_thread::sleep_for(CEventBursts::quietTime);
    }
    state.SetLabel("quiet time");
}

void few(benchmark::internal::Benchmark* benchmark) {
    benchmark->Repetitions(5)->UseRealTime();
}

BENCHMARK(newAddress)->Name("ip addr add to image")->Repetitions(5)->UseManualTime();
BENCHMARK(quietTime)->Name("floor of ip addr add to image")->Apply(few);
BENCHMARK(insertedCard)->Name("card to image")->Repetitions(5)->UseManualTime();
BENCHMARK(quietTime)->Name("floor of card to image")->Apply(few);

}  // namespace
}  // namespace em_pni::bench
