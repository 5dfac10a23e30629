// Storage: the files that a scan opens, and disks that vanish between any two of them.
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>

#include "host/output/storage_report.h"
#include "tests/storage_made_up_server.h"

namespace {

// All accesses to the files of machines: how many there were, and which disk vanishes at which.
struct Accesses {
    std::size_t count = 0;
    std::string disk;      // part of the paths of the disk; empty = no disk vanishes
    std::size_t left = 0;  // before it is gone
    bool isGone = false;
};
Accesses accesses;

// Whether the file is there. Its path is relative to `folder`.
bool isThere(int folder, const char* path) {
    ++accesses.count;
    if (accesses.disk.empty()) {
        return true;
    }
    std::string full = path;
    if (folder != AT_FDCWD) {
        full.insert(0, std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(folder)));
    }
    if (full.find(accesses.disk) == std::string::npos) {
        return true;
    }
    accesses.isGone = accesses.left == 0;
    accesses.left -= accesses.isGone ? 0 : 1;
    errno = ENODEV;
    return !accesses.isGone;
}

}  // namespace

// The linker lets the libraries of the project call these.
extern "C" {
int __real_openat(int folder, const char* path, int flags, ...);
DIR* __real_opendir(const char* path);
ssize_t __real_readlinkat(int folder, const char* path, char* target, size_t size);

int __wrap_openat(int folder, const char* path, int flags, ...) {
    return isThere(folder, path) ? __real_openat(folder, path, flags) : -1;
}
DIR* __wrap_opendir(const char* path) {
    return isThere(AT_FDCWD, path) ? __real_opendir(path) : nullptr;
}
ssize_t __wrap_readlinkat(int folder, const char* path, char* target, size_t size) {
    return isThere(folder, path) ? __real_readlinkat(folder, path, target, size) : -1;
}
}

namespace em_pni {
namespace {

std::string jsonOf(test::CFakeDisks& disks) {
    StorageReport report{disks.ScanStorage(), {}};
    report.names.resize(report.storage.controllers.size());
    return storageJson(report);
}

TEST(StorageAccess, ADiskThatVanishesAtAnyPointIsWholeOrLeftOut) {
    test::CFakeDisks disks;
    test::buildServer(disks);
    disks.File("proc/self/mountinfo", "");  // the space of a file system may change
    const std::string whole = jsonOf(disks);
    std::set<std::string> seen;
    for (std::size_t n = 0; n == 0 || accesses.isGone; ++n) {
        accesses = {.disk = "/sdb", .left = n};
        seen.insert(jsonOf(disks));
    }
    accesses = {};
    std::filesystem::remove(disks.Path("sys/class/block/sdb"));
    EXPECT_EQ(seen, (std::set<std::string>{whole, jsonOf(disks)}));
}

TEST(StorageAccess, EachOfThousandsOfDisksCostsTheSame) {
    test::CFakeDisks disks;
    test::buildServer(disks);
    const std::string path = std::string(test::hba) + "/host2/end_device-2:0/2:0:0:0/block/sd0";
    disks.Block(path, "65:0");
    disks.ScanStorage();  // reads the firmware tables, which is done once
    std::size_t count = 1;
    const auto accessesWith = [&](std::size_t total) {
        for (; count < total; ++count) {
            disks.Link("sys/class/block/sd" + std::to_string(count), "../../devices/" + path);
        }
        accesses = {};
        EXPECT_EQ(disks.ScanStorage().devices.size(), 10 + total);
        return accesses.count;
    };
    const std::size_t first = accessesWith(1);
    const std::size_t each = accessesWith(2) - first;
    EXPECT_LE(each, 14U);
    EXPECT_EQ(accessesWith(1000), first + 999 * each);
}

}  // namespace
}  // namespace em_pni
