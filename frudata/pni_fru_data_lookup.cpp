#include <algorithm>
#include <optional>
#include <string>

#include "frudata/address_text.h"
#include "frudata/layout.h"
#include "frudata/pni_fru_data.h"
#include "frudata/record_cursor.h"
#include "frudata/worldwide_name.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

using Bytes = std::span<const std::uint8_t>;

// Calls `visit(cursor)` for each function of the image, or of one module, until it answers true.
template <class Visit>
bool findFunction(Bytes bytes, std::optional<std::uint8_t> module, Visit visit) {
    const CImageView image(bytes.data(), bytes.size());
    RecordFrame frame;
    if (locateFrame(image, frame) != FrameFault::none) {
        return false;
    }
    CRecordCursor cursor(image, frame);
    while (cursor.NextModule()) {
        if (module && cursor.Module().position != *module) {
            continue;
        }
        while (cursor.NextPort()) {
            while (cursor.NextFunction()) {
                if (visit(cursor)) {
                    return true;
                }
            }
        }
    }
    return false;
}

// An Ethernet function's manufacture or active address, by its offset in the address block.
std::optional<AddressBytes> readMac(const CPniPortFunction& function, std::size_t offset) {
    const auto mac = function.Technology() == FunctionTechnology::nic
                         ? function.AddressBytes(offset, layout::macSize)
                         : std::nullopt;
    return mac ? std::optional(AddressBytes(mac->begin(), mac->end())) : std::nullopt;
}

std::optional<AddressBytes> readManufactureMac(const CPniPortFunction& function) {
    return readMac(function, layout::NIC_ADDRESSES::manufactureMac);
}

bool hasNames(const CPniPortFunction& function) noexcept {
    return function.Technology() == FunctionTechnology::fc &&
           function.Size() >= layout::FC_ADDRESSES::minimumFunction;
}

// A worldwide name of a Fibre Channel function; 0 when its text is none.
std::uint64_t readName(const CPniPortFunction& function, std::size_t offset) {
    const auto text = function.AddressBytes(offset, layout::worldwideNameSize);
    return text ? ToHex(*text).value_or(0) : 0;
}

std::optional<AddressBytes> readManufactureWwpn(const CPniPortFunction& function) {
    if (!hasNames(function)) {
        return std::nullopt;
    }
    const auto name = worldwideNameBytes(readName(function, layout::FC_ADDRESSES::manufactureWwpn));
    return AddressBytes(name.begin(), name.end());
}

std::string wwpnText(Bytes wwpn) {
    return hexPairs(wwpn, ":");
}

std::string recordMacText(Bytes mac) {
    return macText(mac);
}

// One kind of address to search for: the words of its trace lines, its text and its reader.
struct SearchKind {
    const char* operation;
    const char* word;
    const char* operationWhenMissing;
    std::string (*text)(Bytes);
    std::optional<AddressBytes> (*read)(const CPniPortFunction&);
};

constexpr SearchKind macSearch = {"FindModuleByMacAddress", "MAC", "FindModuleByWwpnAddress",
                                  &recordMacText, &readManufactureMac};
constexpr SearchKind wwpnSearch = {"FindModuleByWWPNAddress", "WWPN", "FindModuleByWWPNAddress",
                                   &wwpnText, &readManufactureWwpn};

FoundModule findModule(const SearchKind& kind, Bytes image, Bytes wanted) {
    PNI_TRACE(5, "\nCPniFruData         : %s() : Searched %s - '%s'", kind.operation, kind.word,
              kind.text(wanted).c_str());
    FoundModule found{false, 0};
    found.first = findFunction(image, std::nullopt, [&](const CRecordCursor& cursor) {
        const auto stored = kind.read(cursor.Function());
        if (!stored) {
            return false;
        }
        PNI_TRACE(5, "\nCPniFruData         : %s() : Check module %s - '%s'", kind.operation,
                  kind.word, kind.text(*stored).c_str());
        if (!std::equal(stored->begin(), stored->end(), wanted.begin(), wanted.end())) {
            return false;
        }
        PNI_TRACE(4, "\nCPniFruData         : %s() : Found %s Address at mod %u port %u func %u",
                  kind.operation, kind.word, cursor.Module().position, cursor.Port().position,
                  cursor.Function().Position());
        found.second = cursor.Module().position;
        return true;
    });
    if (!found.first) {
        PNI_TRACE(4, "\nCPniFruData         : %s() : %s Address not found.",
                  kind.operationWhenMissing, kind.word);
    }
    return found;
}

}  // namespace

FoundModule CPniFruData::FindModuleByMacAddress(std::span<const std::uint8_t> mac) const {
    PNI_TRACE(5, "\nCPniFruData         : FindModuleByMacAddress() : Start.");
    if (macText(mac).empty()) {
        PNI_TRACE(1,
                  "\nCPniFruData         : FindModuleByMacAddress() : Called with invalid searched "
                  "MAC Address.");
        return {false, 0};
    }
    const CReadGuard guard(lock_);
    return findModule(macSearch, image_, mac);
}

FoundModule CPniFruData::FindModuleByWWPNAddress(std::uint64_t wwpn) const {
    PNI_TRACE(5, "\nCPniFruData         : FindModuleByWWPNAddress() : Start.");
    if (wwpn == 0) {
        return {false, 0};  // no name, as in a function whose text is none
    }
    const CReadGuard guard(lock_);
    return findModule(wwpnSearch, image_, worldwideNameBytes(wwpn));
}

FoundModule CPniFruData::FindModuleByAddress(const PhysicalAddress& address) const {
    FoundModule found{false, 0};
    if (address.kind == PhysicalAddress::Kind::mac) {
        found = FindModuleByMacAddress(address.mac);
    } else if (address.kind == PhysicalAddress::Kind::wwn) {
        found = FindModuleByWWPNAddress(address.wwpn);
    } else {
        PNI_TRACE(1, "\nCPniFruData::FindModuleByAddress() : ERROR! Address type not supported.");
    }
    if (found.first) {
        PNI_TRACE(5, "\nCPniFruData::FindModuleByAddress() : Module found : %u", found.second);
    }
    return found;
}

std::vector<AddressBytes> CPniFruData::GetModuleMacAddresses(std::uint8_t module) const {
    const CReadGuard guard(lock_);
    std::vector<AddressBytes> macs;
    findFunction(image_, module, [&](const CRecordCursor& cursor) {
        if (auto mac = readManufactureMac(cursor.Function())) {
            PNI_TRACE(5, "\nPniFruData::GetModuleMacAddresses : Module %u - Found MAC '%s'", module,
                      macText(*mac).c_str());
            macs.push_back(std::move(*mac));
        }
        return false;
    });
    return macs;
}

std::vector<PhysicalAddress> CPniFruData::GetModuleWWPNAddresses(std::uint8_t module) const {
    using Names = layout::FC_ADDRESSES;
    const CReadGuard guard(lock_);
    std::vector<PhysicalAddress> names;
    findFunction(image_, module, [&](const CRecordCursor& cursor) {
        if (hasNames(cursor.Function())) {
            const std::uint64_t wwpn = readName(cursor.Function(), Names::manufactureWwpn);
            PNI_TRACE(5, "\nPniFruData::GetmoduleWWPNAddresses : Module %u - Found WWPN '%s'",
                      module, worldwideNameText(wwpn).c_str());
            names.push_back({.kind = PhysicalAddress::Kind::wwn,
                             .mac = {},
                             .wwpn = wwpn,
                             .wwnn = readName(cursor.Function(), Names::manufactureWwnn)});
        }
        return false;
    });
    return names;
}

std::vector<PhysicalAddress> CPniFruData::GetModulePhysicalAddresses(std::uint8_t module) const {
    PNI_TRACE(5, "\nCPniFruData::GetModulePhysicalAddresses() : Searching addresses in module %u",
              module);
    std::vector<PhysicalAddress> addresses;
    for (AddressBytes& mac : GetModuleMacAddresses(module)) {
        addresses.push_back({.kind = PhysicalAddress::Kind::mac, .mac = std::move(mac)});
    }
    if (!addresses.empty()) {
        PNI_TRACE(4, "\nCPniFruData::GetModulePhysicalAddresses() : Found %u MAC addresses.",
                  static_cast<unsigned>(addresses.size()));
        return addresses;
    }
    PNI_TRACE(5,
              "\nCPniFruData::GetModulePhysicalAddresses() : No MAC addresses. Check for WWPN "
              "addresses.");
    addresses = GetModuleWWPNAddresses(module);
    if (!addresses.empty()) {
        PNI_TRACE(4, "\nCPniFruData::GetModulePhysicalAddresses() : Found %u WWPN addresses.",
                  static_cast<unsigned>(addresses.size()));
    } else {
        PNI_TRACE(5, "\nCPniFruData::GetModulePhysicalAddresses() : No WWPN addresses.");
    }
    return addresses;
}

std::vector<AddressBytes> CPniFruData::GetActiveMacAddresses() const {
    PNI_TRACE(3, "\nCPniFruData         : Retrieving all active MAC addresses.");
    const CReadGuard guard(lock_);
    std::vector<AddressBytes> macs;
    findFunction(image_, std::nullopt, [&](const CRecordCursor& cursor) {
        if (auto mac = readMac(cursor.Function(), layout::NIC_ADDRESSES::activeMac)) {
            macs.push_back(std::move(*mac));
        }
        return false;
    });
    return macs;
}

std::vector<std::uint8_t> CPniFruData::GetModuleIds() const {
    const CReadGuard guard(lock_);
    std::vector<std::uint8_t> ids;
    const CImageView image(image_.data(), image_.size());
    RecordFrame frame;
    if (locateFrame(image, frame) == FrameFault::none) {
        CRecordCursor cursor(image, frame);
        while (cursor.NextModule()) {
            ids.push_back(cursor.Module().moduleId);
        }
    }
    return ids;
}

std::optional<std::uint16_t> CPniFruData::GetPciLocation(std::uint8_t module, std::uint8_t port,
                                                         std::uint8_t function) const {
    const CReadGuard guard(lock_);
    std::optional<std::uint16_t> location;
    findFunction(image_, module, [&](const CRecordCursor& cursor) {
        if (cursor.Port().position != port || cursor.Function().Position() != function) {
            return false;
        }
        location = cursor.Function().U16(layout::PNI_PORT_FUNCTION::pciAddress);
        return true;
    });
    return location;
}

}  // namespace em_pni
