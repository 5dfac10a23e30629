#include "storage/mount_table.h"

#include <libmount/libmount.h>
#include <memory>
#include <set>
#include <string_view>
#include <sys/sysmacros.h>
#include <tuple>

#include "platform/text.h"

namespace em_pni {
namespace {

struct FreeTable {
    void operator()(libmnt_table* table) const noexcept { ::mnt_unref_table(table); }
};
struct FreeIterator {
    void operator()(libmnt_iter* iterator) const noexcept { ::mnt_free_iter(iterator); }
};

using Parse = int (*)(libmnt_table*, const char*);

// Calls `take` for each line of a table.
template <class Take>
void readTable(const std::string& path, Parse parse, Take take) {
    const std::unique_ptr<libmnt_table, FreeTable> table(::mnt_new_table());
    const std::unique_ptr<libmnt_iter, FreeIterator> iterator(::mnt_new_iter(MNT_ITER_FORWARD));
    if (!table || !iterator || parse(table.get(), path.c_str()) != 0) {
        return;
    }
    libmnt_fs* line = nullptr;
    while (::mnt_table_next_fs(table.get(), iterator.get(), &line) == 0) {
        take(line);
    }
}

std::string textOf(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

// A subvolume of btrfs is mounted as a whole.
bool isSubvolume(std::string_view options, std::string_view root) {
    while (!options.empty()) {
        std::string_view option = takeUntil(options, ',');
        if (takeUntil(option, '=') == "subvol" && option == root) {
            return true;
        }
    }
    return false;
}

MountEntry entryOf(libmnt_fs* line) {
    MountEntry entry;
    const dev_t device = ::mnt_fs_get_devno(line);
    entry.major = ::gnu_dev_major(device);
    entry.minor = ::gnu_dev_minor(device);
    entry.source = textOf(::mnt_fs_get_srcpath(line));
    Mount& mount = entry.mount;
    mount.target = textOf(::mnt_fs_get_target(line));
    mount.root = textOf(::mnt_fs_get_root(line));
    mount.type = textOf(::mnt_fs_get_fstype(line));
    mount.options = textOf(::mnt_fs_get_options(line));
    mount.bind = mount.root != "/" && !isSubvolume(mount.options, mount.root);
    return entry;
}

}  // namespace

std::vector<MountEntry> readMounts(const CFileTree& files) {
    std::vector<MountEntry> entries;
    readTable(files.FullPath("proc/self/mountinfo"), ::mnt_table_parse_file,
              [&entries](libmnt_fs* line) { entries.push_back(entryOf(line)); });
    std::set<std::tuple<std::uint32_t, std::uint32_t, std::string>> shown;
    for (MountEntry& entry : entries) {
        const bool isFirst = shown.emplace(entry.major, entry.minor, entry.mount.root).second;
        entry.mount.bind |= !isFirst;
    }
    std::set<std::string_view> targets;
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
        entry->mount.covered = !targets.insert(entry->mount.target).second;
    }
    return entries;
}

std::vector<SwapArea> readSwaps(const CFileTree& files) {
    std::vector<SwapArea> swaps;
    readTable(files.FullPath("proc/swaps"), ::mnt_table_parse_swaps, [&swaps](libmnt_fs* line) {
        constexpr std::uint64_t unit = 1024;
        const auto bytes = [](off_t size) {
            return size > 0 ? static_cast<std::uint64_t>(size) * unit : 0;
        };
        swaps.push_back({textOf(::mnt_fs_get_source(line)),
                         textOf(::mnt_fs_get_swaptype(line)) == "file",
                         bytes(::mnt_fs_get_size(line)), bytes(::mnt_fs_get_usedsize(line)),
                         ::mnt_fs_get_priority(line)});
    });
    return swaps;
}

}  // namespace em_pni
