// The scan of a machine with many PCI functions, two of which are a network card. The floor reads
// one file for each function.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <map>
#include <memory>
#include <string>
#include <unistd.h>

#include "bench/system_calls.h"
#include "bench/table.h"
#include "platform/number.h"
#include "tests/devscan_fake_machine.h"

namespace em_pni::bench {
namespace {

constexpr int adapters = 2;

struct Tree {
    CFakeMachine machine;
    std::vector<std::string> modaliases;  // one path per function

    explicit Tree(int functions) {
        for (int i = 0; i < functions; ++i) {
            AddFunction(i);
        }
    }

    void AddFunction(int number) {
        static constexpr unsigned classes[] = {0x0604, 0x0880, 0x0106, 0x0C03, 0x0604};
        const bool isAdapter = number < adapters;
        // Each device has 8 functions, each bus 32 devices. The card is a separate device.
        const std::string address =
            isAdapter ? "0000:80:00." + std::to_string(number)
                      : "0000:" + lowerHex(static_cast<unsigned>(number) / 256, 2) + ":" +
                            lowerHex(static_cast<unsigned>(number) / 8 % 32, 2) + "." +
                            std::to_string(number % 8);
        const std::string device = "pci0000:00/0000:00:01.0/" + address;
        machine.Pci(device, 0x8086, isAdapter ? 0x1521 : 0x2030,
                    isAdapter ? 0x0200 : classes[static_cast<std::size_t>(number) % 5],
                    isAdapter ? "igb" : "");
        if (isAdapter) {
            const MacAddress mac = {0x02, 0, 0, 0, 0, static_cast<std::uint8_t>(number + 1)};
            machine.Net(device, "eth" + std::to_string(number), {.mac = mac, .permanent = mac});
        }
        modaliases.push_back(machine.Path("sys/bus/pci/devices/" + address + "/modalias"));
    }
};

// Kept for all benchmarks, because making a tree takes longer than its scan.
Tree& treeOf(int functions) {
    static std::map<int, std::unique_ptr<Tree>> trees;
    auto& tree = trees[functions];
    if (!tree) {
        tree = std::make_unique<Tree>(functions);
        tree->machine.Scan();  // reads the firmware tables, which is done once
    }
    return *tree;
}

std::optional<long> callsOfScan(int functions) {
    Tree& tree = treeOf(functions);
    return countSystemCalls([&tree] { tree.machine.Scan(); });
}

// System calls for each function that is not an adapter: the scan of a machine minus the scan of
// its adapters only. Returns -1 when unknown.
double callsPerFunction(int functions) {
    static std::map<int, double> known;
    const auto [entry, isNew] = known.try_emplace(functions, -1);
    if (isNew) {
        const auto all = callsOfScan(functions);
        const auto without = callsOfScan(adapters);
        if (all && without) {
            entry->second = static_cast<double>(*all - *without) / (functions - adapters);
        }
    }
    return entry->second;
}

void scan(benchmark::State& state) {
    const auto functions = static_cast<int>(state.range(0));
    Tree& tree = treeOf(functions);
    for (auto _ : state) {
        if (tree.machine.Scan().size() != adapters) {
            state.SkipWithError("not all found");
            break;
        }
    }
    state.counters[elements] = functions;
    state.counters[aim] = 1.5;
    state.counters[calls] = callsPerFunction(functions);
    state.counters[callsAim] = 4;
}

void readFiles(benchmark::State& state) {
    const Tree& tree = treeOf(static_cast<int>(state.range(0)));
    char text[4095];
    for (auto _ : state) {
        for (const std::string& path : tree.modaliases) {
            const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
            benchmark::DoNotOptimize(::read(file, text, sizeof text));
            ::close(file);
        }
    }
    state.SetLabel("open, read, close");
}

void treeSizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgName("functions")->Arg(10)->Arg(100)->Arg(1000);
}

BENCHMARK(scan)->Name("device scan")->Apply(treeSizes);
BENCHMARK(readFiles)->Name("floor of device scan")->Apply(treeSizes);

}  // namespace
}  // namespace em_pni::bench
