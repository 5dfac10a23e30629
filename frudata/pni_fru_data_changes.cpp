// The members of CPniFruData that change the image.
#include <algorithm>
#include <stdexcept>
#include <string>

#include "frudata/address_text.h"
#include "frudata/pni_fru.h"
#include "frudata/pni_fru_data.h"
#include "frudata/record_checksum.h"
#include "frudata/record_cursor.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

using InternalUseArea = layout::OEM_INTERNAL_USE_AREA;
using Header = layout::OEM_PNI_MULTIRECORD_HEADER;

constexpr unsigned idsTried = 32;

template <class List, class TextOf>
std::string joinedTexts(const List& list, TextOf textOf) {
    std::string joined;
    for (const auto& element : list) {
        joined.append(joined.empty() ? "" : ", ").append(textOf(element));
    }
    return joined;
}

// Runs a setter on an image and traces its start and outcome. `subject` returns the words for what
// is assigned. It is called only when a line is written.
template <class Subject, class Setter>
bool assign(std::vector<std::uint8_t>& image, Subject subject, Setter setter) {
    PNI_TRACE(3, "\nCPniFruData         : Assigning %s in PNI FRU data...", subject().c_str());
    if (!setter(image)) {
        PNI_TRACE(1, "\nCPniFruData         : ERROR! FAILED to assign %s in PNI FRU data!",
                  subject().c_str());
        return false;
    }
    PNI_TRACE(3, "\nCPniFruData         : ...assigning %s in PNI FRU data completed with %s.",
              subject().c_str(), "SUCCESS");
    return true;
}

// The modules of a valid record.
struct WalkedRecord {
    RecordFrame frame;
    // Image offsets where the modules begin, and where the last one ends.
    std::vector<std::size_t> bounds;

    [[gnu::flatten]] explicit WalkedRecord(const std::vector<std::uint8_t>& image)
        : frame(locateFrame(CByteView(image))) {
        CRecordCursor cursor{CByteView(image), frame};
        if (frame.fault == FrameFault::none) {
            forEachModule(cursor,
                          [this](CRecordCursor& at) { bounds.push_back(at.Module().offset); });
        }
        bounds.push_back(cursor.NextOffset());
    }

    [[nodiscard]] std::size_t ModuleCount() const noexcept { return bounds.size() - 1; }
    [[nodiscard]] std::size_t ModulesEnd() const noexcept { return bounds.back(); }
    [[nodiscard]] std::size_t End() const noexcept {
        return frame.commonArea + std::size_t{frame.recordLength};
    }
};

// Writes the number of modules and the record length. Does not touch checksums and end marks.
void putCounts(std::vector<std::uint8_t>& image, const RecordFrame& frame, std::size_t modules,
               std::size_t length) noexcept {
    CByteEditor editor(image);
    editor.PutU8(frame.internalUseArea + InternalUseArea::moduleCount,
                 static_cast<std::uint8_t>(modules));
    editor.PutU16(frame.multirecordHeader + Header::recordLength,
                  static_cast<std::uint16_t>(length));
}

void requireRoom(const WalkedRecord& record, std::size_t streamSize) {
    if (record.ModulesEnd() > record.End()) {
        throw std::logic_error("The last module reaches behind the record.");
    }
    if (record.ModuleCount() == InternalUseArea::maxModules) {
        throw std::logic_error("The record cannot count another module.");
    }
    if (streamSize > layout::maxImage || record.End() > layout::maxImage - streamSize) {
        throw std::logic_error("The record would become too long.");
    }
}

}  // namespace

void CPniFruData::CropToValidSize() {
    if (!IsValid()) {
        throw std::runtime_error("PNI Fru Structure not valid!");
    }
    const std::size_t realSize = GetStoredPniRealSize() % (layout::maxImage + 1);
    const CWriteGuard guard(lock_);
    image_.resize(realSize);
}

bool CPniFruData::UpdateInternalUseAreaChecksum() {
    const CWriteGuard guard(lock_);
    return mendInternalUseAreaChecksum(CByteEditor(image_));
}

void CPniFruData::UpdateEndOfListBit() {
    const CWriteGuard guard(lock_);
    const std::uint8_t count = GetModuleCount();
    const CByteView image(image_);
    CModuleSearch search(image, false);
    for (unsigned i = 0; i < count; ++i) {
        const auto index = static_cast<std::uint8_t>(i);
        PNI_TRACE(5, "\nCPniFruData         : pni_findPniModuleArea() Find module %d", index);
        const auto offset = search.Find(index);
        if (!offset) {
            throw std::runtime_error(noModuleAreaText);
        }
        moduleHeader(image, *offset, index).TraceDump();
        std::uint8_t& flags = image_[*offset];
        if (i + 1 == count) {
            flags |= layout::endOfListBit;
            PNI_TRACE(4,
                      "\nCPniFruData         : UpdateEndOfListBit() : Found last module (%u). "
                      "Setting EndOfList bit.",
                      i);
        } else if ((flags & layout::endOfListBit) != 0) {
            flags &= static_cast<std::uint8_t>(~layout::endOfListBit);
            PNI_TRACE(5,
                      "\nCPniFruData         : UpdateEndOfListBit() : Not boundary module (%u) has "
                      "EndOfList bit set. Changing...",
                      i);
        }
    }
}

void CPniFruData::UpdateOemPniRecordChecksum() {
    const CWriteGuard guard(lock_);
    mendRecordChecksum(CByteEditor(image_));
}

bool CPniFruData::AssignMacAddresses(std::span<const MacAddress> macs, std::uint8_t module) {
    const CWriteGuard guard(lock_);
    return assign(
        image_,
        [&] {
            return "MAC address [" +
                   joinedTexts(macs, [](const MacAddress& mac) { return macText(mac); }) + "]";
        },
        [&](auto& image) { return SetMACAddress(image, macs, module); });
}

bool CPniFruData::AssignWwnAddresses(std::span<const PhysicalAddress> names, std::uint8_t module) {
    const CWriteGuard guard(lock_);
    return assign(
        image_,
        [&] {
            return "WWN address [" +
                   joinedTexts(
                       names,
                       [](const PhysicalAddress& name) { return worldwideNameText(name.wwpn); }) +
                   "]";
        },
        [&](auto& image) { return SetWWNAddress(image, names, module); });
}

bool CPniFruData::AssignIpv4Address(const MacAddress& mac, const IpAddress& address) {
    const CWriteGuard guard(lock_);
    return assign(
        image_,
        [&] {
            return "IPv4 address [" + ipv4Text(address) + "] to MAC address [" + macText(mac) + "]";
        },
        [&](auto& image) { return SetIPAddress(image, mac, address, 0); });
}

bool CPniFruData::AssignIpv6Address(const MacAddress& mac, const IpAddress& address,
                                    std::size_t slot) {
    const CWriteGuard guard(lock_);
    return assign(
        image_,
        [&] {
            return "IPv6 address [" + std::to_string(slot) + "] " + ipv6Text(address) +
                   " to MAC address " + macText(mac);
        },
        [&](auto& image) { return SetIPAddress(image, mac, address, slot); });
}

bool CPniFruData::ClearIpAddresses() {
    const CWriteGuard guard(lock_);
    return em_pni::ClearIpAddresses(image_);
}

std::uint8_t CPniFruData::GetNextAvailableModuleId(std::uint8_t locationId) const {
    const std::vector<std::uint8_t> used = GetModuleIds();
    for (unsigned id = locationId; id < locationId + idsTried; ++id) {
        if (std::find(used.begin(), used.end(), id) == used.end()) {
            return static_cast<std::uint8_t>(id);
        }
    }
    throw std::logic_error(
        "CPniFruData::GetNextAvailableModuleId() : No available module id found?");
}

bool CPniFruData::AddPniModule(std::vector<std::uint8_t>& stream) {
    if (!IsValid()) {
        PNI_TRACE(1, "\nCPniFruData         : AddPniModule() : ERROR! Fru structure not valid.");
        return false;
    }
    PNI_TRACE(3,
              "\nCPniFruData         : AddPniModule() : Adding module [%u bytes] to current Pni "
              "structure [%u bytes].",
              static_cast<unsigned>(stream.size()), static_cast<unsigned>(GetSize()));
    if (stream.empty()) {
        PNI_TRACE(1, "\nCPniFruData         : AddPniModule() : ERROR! Invalid parameters.");
        return false;
    }
    PNI_TRACE(5, "\nCPniFruData         : AddPniModule() : Start logic...");
    CWriteGuard guard(lock_);
    if ((stream.front() & layout::moduleIdMask) == 0) {
        PNI_TRACE(1, "AddPniModule() - Requested adding onboard adapter (location id == 0)");
        // The calling thread keeps the lock, as the header says.
        guard.LeaveLocked();
        return false;
    }
    try {
        return InsertModule(stream);
    } catch (const std::exception& exception) {
        PNI_TRACE(1,
                  "\nCPniFruData         : AddPniModule() : ERROR! Exception when adding new "
                  "module: '%s'",
                  exception.what());
        return false;
    }
}

bool CPniFruData::InsertModule(std::vector<std::uint8_t>& stream) {
    requireRoom(WalkedRecord(image_), stream.size());
    const std::uint8_t flags = stream.front();
    const std::uint8_t id = GetNextAvailableModuleId(flags & layout::moduleIdMask);
    stream.front() =
        static_cast<std::uint8_t>((flags & ~layout::moduleIdMask) | (id & layout::moduleIdMask));
    CPniFruData copy(*this);
    copy.CropToValidSize();
    const WalkedRecord before(copy.image_);
    CByteEditor(copy.image_).Insert(before.ModulesEnd(), stream);
    putCounts(copy.image_, before.frame, before.ModuleCount() + 1,
              before.frame.recordLength + stream.size());
    copy.UpdateAfterModuleChange();
    // The walk ends at another place when the stream is not exactly one module.
    const bool isOneModule =
        WalkedRecord(copy.image_).ModulesEnd() == before.ModulesEnd() + stream.size();
    return TakeWhen(copy.IsValid() && isOneModule, copy, "AddPniModule");
}

bool CPniFruData::RemoveModule(std::uint8_t index) {
    PNI_TRACE(5, "\nCPniFruData         : RemoveModule() : Start.");
    if (!IsValid()) {
        PNI_TRACE(1, "\nCPniFruData         : RemoveModule() : ERROR! Fru structure not valid.");
        return false;
    }
    try {
        const std::uint16_t size = GetModuleSize(index);
        const std::vector<std::uint8_t> ids = GetModuleIds();
        if (ids.at(index) != 0) {
            const CWriteGuard guard(lock_);
            PNI_TRACE(3,
                      "\nCPniFruData         : RemoveModule() : Removing module [%u bytes] from "
                      "current Pni structure [%u bytes].",
                      size, static_cast<unsigned>(image_.size()));
            return EraseModule(index);
        }
    } catch (const std::exception& exception) {
        PNI_TRACE(1,
                  "\nCPniFruData         : RemoveModule() : ERROR! Exception when removing "
                  "module: '%s'",
                  exception.what());
        return false;
    }
    throw std::logic_error(
        "RemoveModule() - Requested removing onboard adapter (location id == 0)");
}

bool CPniFruData::EraseModule(std::uint8_t index) {
    CPniFruData copy(*this);
    const WalkedRecord before(copy.image_);
    const std::size_t begin = before.bounds.at(index);
    std::size_t end = before.bounds.at(index + std::size_t{1});
    // The last function of a record may state a length behind the end of the record.
    if (end == before.ModulesEnd()) {
        end = std::min(end, before.End());
    }
    if (begin > end || end > before.End()) {
        throw std::logic_error("The module reaches behind the record.");
    }
    CByteEditor(copy.image_).Erase(begin, end - begin);
    putCounts(copy.image_, before.frame, before.ModuleCount() - 1,
              before.frame.recordLength - (end - begin));
    copy.UpdateAfterModuleChange();
    return TakeWhen(copy.IsValid(), copy, "RemoveModule");
}

void CPniFruData::UpdateAfterModuleChange() {
    UpdateInternalUseAreaChecksum();
    UpdateEndOfListBit();
    UpdateOemPniRecordChecksum();
}

bool CPniFruData::TakeWhen(bool isValid, CPniFruData& changed, const char* operation) {
    if (!isValid) {
        PNI_TRACE(1, "\nCPniFruData         : %s() : ERROR! Updated PNI structure is NOT valid.",
                  operation);
        return false;
    }
    PNI_TRACE(2, "\nCPniFruData         : %s() : OK - Updated PNI structure is still valid.",
              operation);
    image_.swap(changed.image_);
    return true;
}

}  // namespace em_pni
