#include "host/machine/image_builder.h"

#include <algorithm>
#include <bitset>
#include <numeric>
#include <string>

#include "devscan/pci_function.h"
#include "frudata/layout.h"
#include "frudata/pni_fru.h"
#include "host/output/host_error.h"

namespace em_pni {

namespace {

using Bytes = std::vector<std::uint8_t>;
using CommonHeader = layout::IPMI_FRU_COMMON_HEADER;
using InternalUseArea = layout::OEM_INTERNAL_USE_AREA;
using RecordHeader = layout::OEM_PNI_MULTIRECORD_HEADER;
using CommonArea = layout::PNI_COMMON_AREA;

constexpr std::size_t internalUseArea = CommonHeader::size;
constexpr std::size_t recordHeader = internalUseArea + InternalUseArea::size;
constexpr std::size_t commonArea = recordHeader + RecordHeader::size;
constexpr std::size_t firstModule = commonArea + CommonArea::size;
constexpr std::size_t offsetUnit = 8;

// The ids in use, without 0, which is for onboard modules.
class CModuleIds {
  public:
    // The first free id from the wanted one on; after the last id the search continues at 1. The
    // wanted id when all are in use.
    std::uint8_t Next(std::uint32_t slot) {
        constexpr std::size_t count = layout::moduleIdMask;
        const std::size_t wanted = std::max<std::size_t>(slot & layout::moduleIdMask, 1);
        std::size_t id = wanted;
        if (!taken_.all()) {
            while (taken_[id - 1]) {
                id = id % count + 1;
            }
        }
        taken_.set(id - 1);
        return static_cast<std::uint8_t>(id);
    }

  private:
    std::bitset<layout::moduleIdMask> taken_;  // id 1 is bit 0
};

void putInOrder(std::vector<ModuleStream>& modules) {
    std::stable_sort(modules.begin(), modules.end(),
                     [](const ModuleStream& a, const ModuleStream& b) { return a.slot < b.slot; });
    CModuleIds ids;
    for (ModuleStream& module : modules) {
        if (module.slot == unknownSlot) {
            continue;
        }
        std::uint8_t& flags = module.bytes.at(layout::PNI_MODULE_AREA::flags);
        const std::uint8_t id = module.slot == 0 ? std::uint8_t{0} : ids.Next(module.slot);
        flags = static_cast<std::uint8_t>((flags & ~layout::moduleIdMask) | id);
    }
}

// The bytes before the modules, without the checksums that depend on the modules.
Bytes imageHead(std::uint8_t version, std::size_t moduleCount, std::size_t moduleBytes) {
    Bytes head(firstModule);
    constexpr std::uint8_t fruFormatVersion = 1;
    head[0] = fruFormatVersion;
    head[CommonHeader::internalUseAreaOffset] = internalUseArea / offsetUnit;
    const auto last = head.begin() + CommonHeader::size - 1;
    *last = static_cast<std::uint8_t>(0U - std::accumulate(head.begin(), last, 0U));

    head[internalUseArea + InternalUseArea::iuaFormatVersion] = 1;
    head[internalUseArea + InternalUseArea::iuaAreaType] = 1;
    head[internalUseArea + InternalUseArea::pniRecordOffset] = InternalUseArea::size / offsetUnit;
    head[internalUseArea + InternalUseArea::moduleCount] = static_cast<std::uint8_t>(moduleCount);

    const std::size_t length = CommonArea::size + moduleBytes;
    head[recordHeader + RecordHeader::recordTypeId] = RecordHeader::oemRecordType;
    head[recordHeader + RecordHeader::recordFormatVersion] = version;
    head[recordHeader + RecordHeader::recordLength] = static_cast<std::uint8_t>(length);
    head[recordHeader + RecordHeader::recordLength + 1] = static_cast<std::uint8_t>(length >> 8U);

    head[commonArea + CommonArea::subtype] = CommonArea::NETWORK_INVENTORY_MODULE_SUBTYPE;
    return head;
}

void requireRoom(std::size_t modules, std::size_t size) {
    if (modules == 0) {
        throw CHostError("a record needs at least one module");
    }
    if (modules > InternalUseArea::maxModules || size > layout::maxImage) {
        throw CHostError("the adapters do not fit in a record: " + std::to_string(modules) +
                         " modules, " + std::to_string(size) + " bytes");
    }
}

void pad(Bytes& image, std::size_t size) {
    if (size < image.size()) {
        throw CHostError("the record needs " + std::to_string(image.size()) +
                         " bytes, but the image has only " + std::to_string(size));
    }
    image.resize(size);
}

}  // namespace

std::vector<std::uint8_t> buildImage(std::vector<ModuleStream> modules, const ImageFormat& format,
                                     const std::function<void(CPniFruData&)>& complete) {
    putInOrder(modules);
    const std::size_t moduleBytes = std::accumulate(
        modules.begin(), modules.end(), std::size_t{0},
        [](std::size_t sum, const ModuleStream& module) { return sum + module.bytes.size(); });
    requireRoom(modules.size(), firstModule + moduleBytes);
    Bytes image = imageHead(format.version, modules.size(), moduleBytes);
    for (const ModuleStream& module : modules) {
        image.insert(image.end(), module.bytes.begin(), module.bytes.end());
    }
    CPniFruData data(std::move(image));
    data.UpdateInternalUseAreaChecksum();
    data.UpdateEndOfListBit();
    data.UpdateOemPniRecordChecksum();
    if (complete) {
        complete(data);
    }
    image = data.GetImage();
    const std::uint32_t code = pniValidateFru(image.data(), image.size());
    if (code != PNI_SUCCESS) {
        throw CHostError(std::string("the record of the adapters is not valid: ") +
                         pniResultText(code));
    }
    if (format.size) {
        pad(image, *format.size);
    }
    return image;
}

}  // namespace em_pni
