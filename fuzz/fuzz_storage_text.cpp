// The input is a text about a block device: a record of udevd, a path in sysfs, a name, an
// attribute.
#include <string>

#include "fuzz/fuzz_input.h"
#include "platform/text.h"
#include "storage/attributes.h"
#include "storage/block_devices.h"
#include "storage/content_probe.h"
#include "storage/device_path.h"
#include "storage/volumes.h"

using namespace em_pni;
using namespace em_pni::fuzz;

namespace {

void checkRecord(std::string_view text) {
    const CUdevRecord record(text);
    for (const std::string& link : record.Links()) {
        require(text.find("S:" + link) != std::string_view::npos, "a link is in the record");
        require(link.find('\n') == std::string::npos, "a link is in one line");
    }
    for (const BlockKind kind : {BlockKind::disk, BlockKind::partition}) {
        BlockDevice device;
        device.kind = kind;
        addContent(record, device);
        for (const std::string& fact :
             {device.content.type, device.content.label, device.partition.label}) {
            require(fact.size() <= text.size(), "a fact comes from the record");
        }
        require(device.content.tableType.empty() || kind == BlockKind::disk,
                "a partition has no table");
    }
}

void checkPath(std::string_view text) {
    const DevicePath path = parseDevicePath(text);
    for (const std::string& part :
         {path.pciName, path.scsiHost, path.scsiAddress, path.remotePort, path.nvme}) {
        require(text.find(part) != std::string_view::npos, "a fact is a part of the path");
    }
    require(text.starts_with(path.remotePort), "the path of a port starts the path");
    require(!pathBelowSys(text).starts_with("../"), "a path below /sys goes down only");
    if (const auto name = parseNvmePathName(text)) {
        const std::string joined = name->device.substr(0, name->device.find('n', 1)) + "c" +
                                   name->controller.substr(4) +
                                   name->device.substr(name->device.rfind('n'));
        require(joined == text, "the name of a path has both names");
    }
}

std::string doubled(std::string_view text) {
    std::string result;
    for (const char c : text) {
        result.append(c == '-' ? 2 : 1, c);
    }
    return result;
}

// The kernel doubles each "-" of a name. No name starts with one.
void checkNames(std::string_view text) {
    std::string_view volume = text;
    const std::string_view group = takeUntil(volume, '/');
    if (!volume.empty() && volume.front() != '-') {
        const LvmName name = parseLvmName(doubled(group) + "-" + doubled(volume));
        require(name.group == group && name.volume == volume, "names are exact");
    }
    require(parseLvmName(text).group.size() <= text.size(), "a name comes from the text");
    require(!mapperType(text).empty(), "each device has a type");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    checkRecord(text);
    checkPath(text);
    checkNames(text);
    const std::string single = singleBlanks(text);
    require(singleBlanks(single) == single, "single blanks stay");
    static_cast<void>(parseSpace(text));
    return 0;
}
