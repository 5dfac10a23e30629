#include "storage/volumes.h"

#include <algorithm>

#include "platform/text.h"
#include "storage/attributes.h"

namespace em_pni {
namespace {

void addMapperFacts(const COpenFolder& folder, BlockDevice& device) {
    Volume& volume = device.volume;
    volume.name = attributeText(folder, "dm/name");
    volume.uuid = attributeText(folder, "dm/uuid");
    volume.state = attributeText(folder, "dm/suspended") == "1" ? "suspended" : "running";
    device.type = mapperType(volume.uuid);
    if (device.type == "lvm") {
        LvmName name = parseLvmName(volume.name);
        volume.group = std::move(name.group);
        volume.logicalVolume = std::move(name.volume);
    }
}

void addArrayFacts(const CFileTree& files, const COpenFolder& folder, BlockDevice& device) {
    Volume& volume = device.volume;
    const std::string level = attributeText(folder, "md/level");
    device.type = level.empty() ? "md" : level;
    volume.state = attributeText(folder, "md/array_state");
    volume.uuid = attributeText(folder, "md/uuid");
    volume.places = attributeNumber(folder, "md/raid_disks");
    volume.degraded = attributeNumber(folder, "md/degraded");
    const auto names = files.List(joinedPath({"sys", device.sysfsPath, "md"}));
    for (const std::string& name : names.value_or(std::vector<std::string>())) {
        constexpr std::string_view prefix = "dev-";
        if (name.starts_with(prefix)) {
            volume.members.push_back({name.substr(prefix.size()),
                                      attributeText(folder, "md/" + name + "/slot"),
                                      attributeText(folder, "md/" + name + "/state")});
        }
    }
}

// The chosen word of "writethrough [writeback] writearound none".
std::string chosenWord(std::string_view words) {
    takeUntil(words, '[');
    return std::string(takeUntil(words, ']'));
}

}  // namespace

void addVolumeFacts(const CFileTree& files, const COpenFolder& folder, BlockDevice& device) {
    const std::string& name = device.name;
    device.type = name.substr(0, name.find_first_of("0123456789"));
    if (name.starts_with("dm-")) {
        addMapperFacts(folder, device);
    } else if (name.starts_with("md")) {  // also "md_home"
        addArrayFacts(files, folder, device);
    } else if (device.type == "bcache") {
        device.volume.state = attributeText(folder, "bcache/state");
        device.volume.cacheMode = chosenWord(attributeText(folder, "bcache/cache_mode"));
    } else if (device.type == "loop") {
        device.volume.backingFile = attributeText(folder, "loop/backing_file");
    }
}

LvmName parseLvmName(std::string_view name) {
    LvmName parsed;
    std::string* part = &parsed.group;
    for (; !name.empty(); name.remove_prefix(1)) {
        if (name.starts_with("--")) {
            name.remove_prefix(1);
        } else if (name.front() == '-' && part == &parsed.group) {
            part = &parsed.volume;
            continue;
        }
        *part += name.front();
    }
    return parsed;
}

std::string mapperType(std::string_view uuid) {
    std::string type(uuid.substr(0, uuid.find('-')));
    std::transform(type.begin(), type.end(), type.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    if (type.starts_with("part")) {
        return "part";
    }
    return type.empty() ? "dm" : type;
}

}  // namespace em_pni
