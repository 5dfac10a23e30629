#include "frudata/pni_fru_data.h"

#include <stdexcept>

#include "frudata/address_text.h"
#include "frudata/pni_fru.h"
#include "frudata/record_cursor.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

CByteView viewOf(const std::vector<std::uint8_t>& image) noexcept {
    return CByteView(image);
}

const std::uint8_t* foundOrThrow(const std::uint8_t* found, const char* text) {
    if (found == nullptr) {
        throw std::runtime_error(text);
    }
    return found;
}

// Calls `visit` with a cursor that has just entered this module, if there is such a module.
template <class Visit>
void visitModule(CByteView image, std::uint8_t module, Visit visit) {
    forEachModule(image, [&](CRecordCursor& cursor) {
        const bool isFound = cursor.Module().position == module;
        if (isFound) {
            visit(cursor);
        }
        return isFound;
    });
}

// The manufacture addresses of one kind in port and function order.
std::vector<PhysicalAddress> addressesOf(CRecordCursor atModule, PhysicalAddress::Kind kind) {
    std::vector<PhysicalAddress> addresses;
    forEachFunction(atModule, [&](const CRecordCursor& cursor) {
        const auto address = manufactureAddress(cursor.Function(), kind);
        if (!address) {
            return;
        }
        PNI_TRACE(
            5, "\nPniFruData::%s : Module %u - Found %s '%s'",
            kind == PhysicalAddress::Kind::mac ? "GetModuleMacAddresses" : "GetmoduleWWPNAddresses",
            cursor.Module().position, kind == PhysicalAddress::Kind::mac ? "MAC" : "WWPN",
            physicalAddressText(*address).c_str());
        addresses.push_back(*address);
    });
    return addresses;
}

std::vector<PhysicalAddress> physicalAddressesOf(const CRecordCursor& atModule) {
    PNI_TRACE(5, "\nCPniFruData::GetModulePhysicalAddresses() : Searching addresses in module %u",
              atModule.Module().position);
    auto addresses = addressesOf(atModule, PhysicalAddress::Kind::mac);
    if (!addresses.empty()) {
        PNI_TRACE(4, "\nCPniFruData::GetModulePhysicalAddresses() : Found %u MAC addresses.",
                  static_cast<unsigned>(addresses.size()));
        return addresses;
    }
    PNI_TRACE(5,
              "\nCPniFruData::GetModulePhysicalAddresses() : No MAC addresses. Check for WWPN "
              "addresses.");
    addresses = addressesOf(atModule, PhysicalAddress::Kind::wwn);
    if (!addresses.empty()) {
        PNI_TRACE(4, "\nCPniFruData::GetModulePhysicalAddresses() : Found %u WWPN addresses.",
                  static_cast<unsigned>(addresses.size()));
    } else {
        PNI_TRACE(5, "\nCPniFruData::GetModulePhysicalAddresses() : No WWPN addresses.");
    }
    return addresses;
}

}  // namespace

CPniFruData::CPniFruData(const CPniFruData& other) : image_(other.GetImage()) {}

CPniFruData& CPniFruData::operator=(const CPniFruData& other) {
    if (this != &other) {
        SetImage(other.GetImage());
    }
    return *this;
}

std::vector<std::uint8_t> CPniFruData::GetImage() const {
    const CReadGuard guard(lock_);
    return image_;
}

void CPniFruData::SetImage(std::vector<std::uint8_t> image) {
    const CWriteGuard guard(lock_);
    image_ = std::move(image);
}

std::size_t CPniFruData::GetSize() const {
    const CReadGuard guard(lock_);
    return image_.size();
}

bool CPniFruData::HasSameImage(const CPniFruData& other) const {
    const std::vector<std::uint8_t> theirs = other.GetImage();
    const CReadGuard guard(lock_);
    return image_ == theirs;
}

bool CPniFruData::IsValid() const {
    const CReadGuard guard(lock_);
    const std::uint32_t code = pniValidateFru(image_.data(), image_.size());
    PNI_TRACE(5, "\nCPniFruData         : pniValidateFru - %s [%d]", pniResultText(code),
              static_cast<int>(code));
    return code == PNI_SUCCESS;
}

bool CPniFruData::GetRecordFormatVersion(std::uint8_t* version) const {
    const CReadGuard guard(lock_);
    PNI_TRACE(5, "\nCPniFruData         : DataSize       [%d]", static_cast<int>(image_.size()));
    PNI_TRACE(5, "\nCPniFruData         : GetDataStream  [%x]",
              static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(image_.data())));
    return pni_getRecordFormatVersion(image_.data(), image_.size(), version) == PNI_SUCCESS;
}

bool CPniFruData::HasCodes() const {
    std::uint8_t version = 0;
    return GetRecordFormatVersion(&version) &&
           version >= layout::OEM_PNI_MULTIRECORD_HEADER::firstVersionWithCodes;
}

const std::uint8_t* CPniFruData::FindOemInternalUseArea() const {
    const CReadGuard guard(lock_);
    return foundOrThrow(pni_findOemInternalUseArea(image_.data(), image_.size()),
                        "FindOemInternalUseArea() : Could not find OEM Internal Area.");
}

const std::uint8_t* CPniFruData::FindPniFruMultirecordHeader() const {
    const CReadGuard guard(lock_);
    return foundOrThrow(pni_findPniFruMultirecordHeader(image_.data(), image_.size()),
                        "FindPniFruMultirecordHeader() : Could not find PNI Multirecord Header.");
}

const std::uint8_t* CPniFruData::FindPniCommonArea() const {
    const CReadGuard guard(lock_);
    return foundOrThrow(pni_findPniCommonArea(image_.data(), image_.size()),
                        "FindPniCommonArea() : Could not find PNI Common Area.");
}

const std::uint8_t* CPniFruData::FindPniModuleArea(std::uint8_t index, bool checkEndOfList) const {
    const CReadGuard guard(lock_);
    return foundOrThrow(pni_findPniModuleArea(image_.data(), image_.size(), index, checkEndOfList),
                        noModuleAreaText);
}

std::uint8_t CPniFruData::GetModuleCount() const {
    const CReadGuard guard(lock_);
    const std::uint8_t count = pni_getModuleCount(image_.data(), image_.size());
    PNI_TRACE(5, "\nCPniFruData::GetModuleCount() - Return %u", count);
    return count;
}

std::uint8_t CPniFruData::GetPortCount(std::uint8_t module) const {
    const CReadGuard guard(lock_);
    const std::uint8_t count = pni_getPortCount(image_.data(), image_.size(), module);
    PNI_TRACE(5, "\nCPniFruData::GetPortCount() - Return %u", count);
    return count;
}

std::uint8_t CPniFruData::GetPortFunctionCount(std::uint8_t module, std::uint8_t port) const {
    const CReadGuard guard(lock_);
    const std::uint8_t count = pni_getPortFunctionCount(image_.data(), image_.size(), module, port);
    PNI_TRACE(5, "\nCPniFruData::GetPortFunctionCount() - Return %u", count);
    return count;
}

std::uint16_t CPniFruData::GetModuleSize(std::uint8_t index) const {
    const std::uint8_t* const start = FindPniModuleArea(index, true);
    const std::uint8_t count = GetModuleCount();
    std::size_t size = 0;
    if (index + 1 < count) {
        size = static_cast<std::size_t>(
            FindPniModuleArea(static_cast<std::uint8_t>(index + 1), true) - start);
    } else {
        const CReadGuard guard(lock_);
        size = static_cast<std::size_t>(image_.data() + image_.size() - start);
    }
    const auto moduleSize = static_cast<std::uint16_t>(size);
    if (moduleSize == 0) {
        throw std::runtime_error("GetModuleSize() : moduleSize is 0.");
    }
    PNI_TRACE(2, "\nCPniFruData         : GetModuleSize() : Module [%u] Size = %u", index,
              moduleSize);
    return moduleSize;
}

std::size_t CPniFruData::GetStoredPniRealSize() const {
    static_cast<void>(FindPniCommonArea());
    static_cast<void>(FindPniFruMultirecordHeader());
    const CReadGuard guard(lock_);
    const RecordFrame frame = locateFrame(viewOf(image_), FrameChecks::headers);
    const std::size_t size = frame.commonArea + frame.recordLength;
    PNI_TRACE(3,
              "\nCPniFruData         : GetStoredPniRealSize() : Real PNI size : Header (%u) + "
              "RecordLength (%u) = %u bytes.",
              static_cast<std::uint16_t>(frame.commonArea), frame.recordLength,
              static_cast<std::uint16_t>(size));
    return size;
}

FoundModule CPniFruData::Search(const PhysicalAddress& wanted) const {
    if (!beginAddressSearch(wanted)) {
        return {false, 0};
    }
    const CReadGuard guard(lock_);
    return searchModule(viewOf(image_), wanted);
}

FoundModule CPniFruData::FindModuleByMacAddress(const MacAddress& mac) const {
    return Search({.kind = PhysicalAddress::Kind::mac, .mac = mac});
}

FoundModule CPniFruData::FindModuleByWWPNAddress(WorldWideName wwpn) const {
    return Search({.kind = PhysicalAddress::Kind::wwn, .mac = MacAddress(), .wwpn = wwpn});
}

FoundModule CPniFruData::FindModuleByAddress(const PhysicalAddress& address) const {
    return searchKnownKind(address,
                           [this](const PhysicalAddress& wanted) { return Search(wanted); });
}

std::vector<MacAddress> CPniFruData::GetModuleMacAddresses(std::uint8_t module) const {
    const CReadGuard guard(lock_);
    std::vector<MacAddress> macs;
    visitModule(viewOf(image_), module, [&macs](const CRecordCursor& cursor) {
        for (const auto& address : addressesOf(cursor, PhysicalAddress::Kind::mac)) {
            macs.push_back(address.mac);
        }
    });
    return macs;
}

std::vector<PhysicalAddress> CPniFruData::GetModuleWWPNAddresses(std::uint8_t module) const {
    const CReadGuard guard(lock_);
    std::vector<PhysicalAddress> names;
    visitModule(viewOf(image_), module, [&names](const CRecordCursor& cursor) {
        names = addressesOf(cursor, PhysicalAddress::Kind::wwn);
    });
    return names;
}

std::vector<PhysicalAddress> CPniFruData::GetModulePhysicalAddresses(std::uint8_t module) const {
    const CReadGuard guard(lock_);
    std::vector<PhysicalAddress> addresses;
    visitModule(viewOf(image_), module, [&addresses](const CRecordCursor& cursor) {
        addresses = physicalAddressesOf(cursor);
    });
    return addresses;
}

void CPniFruData::VisitModules(const ModuleVisitor& visit) const {
    const CReadGuard guard(lock_);
    forEachModule(viewOf(image_), [&visit](const CRecordCursor& cursor) {
        visit(moduleFacts(cursor), physicalAddressesOf(cursor));
    });
}

ModuleFacts CPniFruData::GetModuleFacts(std::uint8_t module) const {
    static_cast<void>(FindPniModuleArea(module, true));
    const CReadGuard guard(lock_);
    ModuleFacts facts;
    visitModule(viewOf(image_), module,
                [&facts](const CRecordCursor& cursor) { facts = moduleFacts(cursor); });
    return facts;
}

std::vector<MacAddress> CPniFruData::GetActiveMacAddresses() const {
    PNI_TRACE(3, "\nCPniFruData         : Retrieving all active MAC addresses.");
    const CReadGuard guard(lock_);
    std::vector<MacAddress> macs;
    forEachFunction(viewOf(image_), [&macs](const CRecordCursor& cursor) {
        if (const auto mac = activeMac(cursor.Function())) {
            macs.push_back(*mac);
        }
    });
    return macs;
}

std::vector<std::uint8_t> CPniFruData::GetModuleIds() const {
    const CReadGuard guard(lock_);
    std::vector<std::uint8_t> ids;
    forEachModule(viewOf(image_),
                  [&ids](const CRecordCursor& cursor) { ids.push_back(cursor.Module().moduleId); });
    return ids;
}

std::optional<std::uint16_t> CPniFruData::GetPciLocation(std::uint8_t module, std::uint8_t port,
                                                         std::uint8_t function) const {
    const CReadGuard guard(lock_);
    std::optional<std::uint16_t> location;
    visitModule(viewOf(image_), module, [&](CRecordCursor& atModule) {
        forEachFunction(atModule, [&](const CRecordCursor& cursor) {
            const bool isFound =
                cursor.Port().position == port && cursor.Function().Position() == function;
            if (isFound) {
                location = cursor.Function().U16(layout::PNI_PORT_FUNCTION::pciAddress);
            }
            return isFound;
        });
    });
    return location;
}

}  // namespace em_pni
