// The scan of a machine with many disks. The floor reads the same files of each disk. Also the scan
// with its JSON beside the program lsblk on the same tree, and both programs on this machine.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <map>
#include <memory>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "bench/table.h"
#include "host/output/storage_report.h"
#include "tests/storage_fake_disks.h"

namespace em_pni::bench {
namespace {

struct Tree {
    test::CFakeDisks disks;
    std::vector<std::string> files;  // all that the scan reads of the disks

    explicit Tree(int count) {
        const std::string hba = "pci0000:80/0000:80:01.0/0000:81:00.0";
        disks.Bridge("pci0000:80/0000:80:01.0");
        disks.Pci(hba, 0x1000, 0x0097, 0x0107, "mpt3sas");
        for (int i = 0; i < count; ++i) {
            Add(hba, i);
        }
        disks.ScanStorage();  // reads the firmware tables, which is done once
    }

    void Add(const std::string& hba, int index) {
        const std::string n = std::to_string(index);
        const std::string folder = hba + "/host1/port-1:0/expander-1:0/port-1:0:" + n +
                                   "/end_device-1:0:" + n + "/target1:0:" + n + "/1:0:" + n +
                                   ":0/block/sd" + n;
        disks.Block(folder, "8:" + n,
                    {"device/vendor=SEAGATE ", "device/state=running", "ID_MODEL=ST4000NM0025",
                     "ID_REVISION=N003", "ID_SERIAL_SHORT=ZC1" + n, "ID_WWN=0x5000c500a1b2c3d4",
                     "ID_FS_TYPE=linux_raid_member", "S:disk/by-id/scsi-3500" + n});
        for (const char* const file :
             {"uevent", "ro", "removable", "size", "queue/logical_block_size",
              "queue/physical_block_size", "queue/rotational", "device/vendor", "device/state"}) {
            files.push_back(disks.Path("sys/class/block/sd" + n + "/" + file));
        }
        files.push_back(disks.Path("run/udev/data/b8:" + n));
    }
};

// Kept for all benchmarks, because making a tree takes longer than its scan.
Tree& treeOf(const benchmark::State& state) {
    static std::map<int, std::unique_ptr<Tree>> trees;
    const auto disks = static_cast<int>(state.range(0));
    auto& tree = trees[disks];
    if (!tree) {
        tree = std::make_unique<Tree>(disks);
    }
    return *tree;
}

void scan(benchmark::State& state) {
    Tree& tree = treeOf(state);
    for (auto _ : state) {
        if (tree.disks.ScanStorage().devices.size() != static_cast<std::size_t>(state.range(0))) {
            state.SkipWithError("not all found");
            break;
        }
    }
    state.counters[elements] = static_cast<double>(state.range(0));
    state.counters[aim] = 1.5;
}

void readFiles(benchmark::State& state) {
    const Tree& tree = treeOf(state);
    char text[4095];
    for (auto _ : state) {
        for (const std::string& path : tree.files) {
            const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
            benchmark::DoNotOptimize(::read(file, text, sizeof text));
            ::close(file);
        }
    }
    state.SetLabel("open, read, close");
}

void scanAndWrite(benchmark::State& state) {
    Tree& tree = treeOf(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            storageJson({tree.disks.ScanStorage(), std::vector<AdapterNames>(1)}));
    }
    state.counters[elements] = static_cast<double>(state.range(0));
    state.counters[aim] = 1;
}

// Runs a program for each iteration, without its output.
void runProgram(benchmark::State& state, std::vector<std::string> arguments) {
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
    }
    for (auto _ : state) {
        pid_t child = -1;
        int status = -1;
        if (::posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ) != 0 ||
            ::waitpid(child, &status, 0) != child || status != 0) {
            state.SkipWithError((arguments[0] + " fails").c_str());
            break;
        }
    }
    posix_spawn_file_actions_destroy(&actions);
}

void lsblkOfTree(benchmark::State& state) {
    runProgram(state, {"lsblk", "-J", "--sysroot", treeOf(state).disks.Path("")});
    state.SetLabel("lsblk -J --sysroot");
}

void program(benchmark::State& state) {
    runProgram(state, {EM_PNI_BINARY_DIR "/pni-host", "storage", "--json"});
    state.counters[aim] = 1;
}

void lsblk(benchmark::State& state) {
    runProgram(state, {"lsblk", "-J"});
    state.SetLabel("lsblk -J");
}

void diskCounts(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgName("disks")->Arg(10)->Arg(100)->Arg(1000);
}

BENCHMARK(scan)->Name("storage scan")->Apply(diskCounts);
BENCHMARK(readFiles)->Name("floor of storage scan")->Apply(diskCounts);
BENCHMARK(scanAndWrite)->Name("storage as JSON")->Apply(diskCounts)->UseRealTime();
BENCHMARK(lsblkOfTree)->Name("floor of storage as JSON")->Apply(diskCounts)->UseRealTime();
BENCHMARK(program)->Name("pni-host storage here")->UseRealTime();
BENCHMARK(lsblk)->Name("floor of pni-host storage here")->UseRealTime();

}  // namespace
}  // namespace em_pni::bench
