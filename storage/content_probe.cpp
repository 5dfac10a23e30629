#include "storage/content_probe.h"

#include <algorithm>
#include <array>
#include <blkid/blkid.h>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include "platform/file.h"
#include "platform/number.h"
#include "platform/text.h"

namespace em_pni {
namespace {

struct FreeProbe {
    void operator()(blkid_probe probe) const noexcept { ::blkid_free_probe(probe); }
};

// The property of a udev record that has the value of libblkid with this name, with escapes. Empty
// for values that are not needed.
std::string propertyOf(std::string_view name) {
    for (const std::string_view known : {"TYPE", "USAGE", "VERSION", "LABEL", "UUID"}) {
        if (name == known) {
            return "ID_FS_" + std::string(name) + "_ENC";
        }
    }
    if (name == "PTTYPE" || name == "PTUUID") {
        return "ID_PART_TABLE_" + std::string(name.substr(2));
    }
    return name.starts_with("PART_ENTRY_") ? "ID_" + std::string(name) : std::string();
}

// Each byte that a record cannot hold gets an escape.
std::string escaped(const char* value) {
    std::array<char, 1024> text{};
    return ::blkid_encode_string(value, text.data(), text.size()) == 0 ? text.data() : "";
}

}  // namespace

std::string probeContent(const std::string& path, dev_t device) {
    const CFileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file || ::fstat(file.Get(), &status) != 0 ||
        !(S_ISREG(status.st_mode) || (S_ISBLK(status.st_mode) && status.st_rdev == device))) {
        return {};
    }
    const std::unique_ptr<blkid_struct_probe, FreeProbe> probe(::blkid_new_probe());
    if (!probe || ::blkid_probe_set_device(probe.get(), file.Get(), 0, 0) != 0) {
        return {};
    }
    ::blkid_probe_enable_superblocks(probe.get(), 1);
    ::blkid_probe_set_superblocks_flags(probe.get(), BLKID_SUBLKS_LABEL | BLKID_SUBLKS_UUID |
                                                         BLKID_SUBLKS_TYPE | BLKID_SUBLKS_USAGE |
                                                         BLKID_SUBLKS_VERSION);
    ::blkid_probe_enable_partitions(probe.get(), 1);
    ::blkid_probe_set_partitions_flags(probe.get(), BLKID_PARTS_ENTRY_DETAILS);
    std::string record;
    // An empty partition has no content, but an entry in its table.
    if (::blkid_do_safeprobe(probe.get()) < 0) {
        return record;
    }
    const int count = ::blkid_probe_numof_values(probe.get());
    for (int i = 0; i < count; ++i) {
        const char* name = nullptr;
        const char* value = nullptr;
        if (::blkid_probe_get_value(probe.get(), i, &name, &value, nullptr) != 0) {
            continue;
        }
        if (const std::string key = propertyOf(name); !key.empty()) {
            record += "E:" + key + "=" + escaped(value) + "\n";
        }
    }
    return record;
}

std::string readSpace(const std::string& mountPoint) {
    struct statvfs space {};
    if (::statvfs(mountPoint.c_str(), &space) != 0) {
        return {};
    }
    const std::uint64_t block = space.f_frsize;
    return std::to_string(space.f_blocks * block) + " " +
           std::to_string((space.f_blocks - std::min(space.f_bfree, space.f_blocks)) * block) +
           " " + std::to_string(space.f_bavail * block);
}

std::optional<SpaceUsage> parseSpace(std::string_view text) noexcept {
    constexpr std::uint64_t any = std::numeric_limits<std::uint64_t>::max();
    const auto size = parseDecimal(takeUntil(text, ' '), any);
    const auto used = parseDecimal(takeUntil(text, ' '), any);
    const auto available = parseDecimal(text, any);
    if (!size || !used || !available) {
        return std::nullopt;
    }
    return SpaceUsage{*size, *used, *available};
}

}  // namespace em_pni
