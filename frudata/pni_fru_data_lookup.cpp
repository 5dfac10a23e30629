#include <algorithm>
#include <optional>
#include <string>

#include "frudata/address_text.h"
#include "frudata/function_addresses.h"
#include "frudata/layout.h"
#include "frudata/pni_fru_data.h"
#include "frudata/record_cursor.h"
#include "frudata/worldwide_name.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

using Bytes = std::span<const std::uint8_t>;

// Calls `visit(cursor)` for each function of the image until it answers true.
template <class Visit>
bool findFunction(Bytes bytes, Visit visit) {
    const CImageView image(bytes.data(), bytes.size());
    RecordFrame frame;
    if (locateFrame(image, frame) != FrameFault::none) {
        return false;
    }
    CRecordCursor cursor(image, frame);
    while (cursor.NextModule()) {
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

// Calls `visit` with a cursor that has just entered a module, for each until it answers true.
template <class Visit>
void findModule(Bytes bytes, Visit visit) {
    const CImageView image(bytes.data(), bytes.size());
    RecordFrame frame;
    if (locateFrame(image, frame) == FrameFault::none) {
        CRecordCursor cursor(image, frame);
        while (cursor.NextModule() && !visit(cursor)) {
        }
    }
}

// Calls `visit` with a cursor that has just entered this module, if there is one.
template <class Visit>
void enterModule(Bytes bytes, std::uint8_t module, Visit visit) {
    findModule(bytes, [&](const CRecordCursor& cursor) {
        const bool isFound = cursor.Module().position == module;
        if (isFound) {
            visit(cursor);
        }
        return isFound;
    });
}

std::vector<AddressBytes> macAddressesOf(CRecordCursor atModule) {
    std::vector<AddressBytes> macs;
    while (atModule.NextPort()) {
        while (atModule.NextFunction()) {
            if (auto mac = manufactureMac(atModule.Function())) {
                PNI_TRACE(5, "\nPniFruData::GetModuleMacAddresses : Module %u - Found MAC '%s'",
                          atModule.Module().position, macText(*mac).c_str());
                macs.push_back(std::move(*mac));
            }
        }
    }
    return macs;
}

std::vector<PhysicalAddress> wwpnAddressesOf(CRecordCursor atModule) {
    std::vector<PhysicalAddress> names;
    while (atModule.NextPort()) {
        while (atModule.NextFunction()) {
            if (const auto name = manufactureNames(atModule.Function())) {
                PNI_TRACE(5, "\nPniFruData::GetmoduleWWPNAddresses : Module %u - Found WWPN '%s'",
                          atModule.Module().position, worldwideNameText(name->wwpn).c_str());
                names.push_back(*name);
            }
        }
    }
    return names;
}

std::vector<PhysicalAddress> physicalAddressesOf(const CRecordCursor& atModule) {
    PNI_TRACE(5, "\nCPniFruData::GetModulePhysicalAddresses() : Searching addresses in module %u",
              atModule.Module().position);
    std::vector<PhysicalAddress> addresses;
    for (AddressBytes& mac : macAddressesOf(atModule)) {
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
    addresses = wwpnAddressesOf(atModule);
    if (!addresses.empty()) {
        PNI_TRACE(4, "\nCPniFruData::GetModulePhysicalAddresses() : Found %u WWPN addresses.",
                  static_cast<unsigned>(addresses.size()));
    } else {
        PNI_TRACE(5, "\nCPniFruData::GetModulePhysicalAddresses() : No WWPN addresses.");
    }
    return addresses;
}

std::optional<AddressBytes> manufactureWwpn(const CPniPortFunction& function) {
    const auto names = manufactureNames(function);
    if (!names) {
        return std::nullopt;
    }
    const auto bytes = worldwideNameBytes(names->wwpn);
    return AddressBytes(bytes.begin(), bytes.end());
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
                                  &recordMacText, &manufactureMac};
constexpr SearchKind wwpnSearch = {"FindModuleByWWPNAddress", "WWPN", "FindModuleByWWPNAddress",
                                   &wwpnText, &manufactureWwpn};

FoundModule search(const SearchKind& kind, Bytes image, Bytes wanted) {
    PNI_TRACE(5, "\nCPniFruData         : %s() : Searched %s - '%s'", kind.operation, kind.word,
              kind.text(wanted).c_str());
    FoundModule found{false, 0};
    found.first = findFunction(image, [&](const CRecordCursor& cursor) {
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
    return search(macSearch, image_, mac);
}

FoundModule CPniFruData::FindModuleByWWPNAddress(std::uint64_t wwpn) const {
    PNI_TRACE(5, "\nCPniFruData         : FindModuleByWWPNAddress() : Start.");
    if (wwpn == 0) {
        return {false, 0};  // no name, as in a function whose text is none
    }
    const CReadGuard guard(lock_);
    return search(wwpnSearch, image_, worldwideNameBytes(wwpn));
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
    enterModule(image_, module,
                [&macs](const CRecordCursor& cursor) { macs = macAddressesOf(cursor); });
    return macs;
}

std::vector<PhysicalAddress> CPniFruData::GetModuleWWPNAddresses(std::uint8_t module) const {
    const CReadGuard guard(lock_);
    std::vector<PhysicalAddress> names;
    enterModule(image_, module,
                [&names](const CRecordCursor& cursor) { names = wwpnAddressesOf(cursor); });
    return names;
}

std::vector<PhysicalAddress> CPniFruData::GetModulePhysicalAddresses(std::uint8_t module) const {
    const CReadGuard guard(lock_);
    std::vector<PhysicalAddress> addresses;
    enterModule(image_, module, [&addresses](const CRecordCursor& cursor) {
        addresses = physicalAddressesOf(cursor);
    });
    return addresses;
}

void CPniFruData::VisitModules(const ModuleVisitor& visit) const {
    const CReadGuard guard(lock_);
    findModule(image_, [&visit](const CRecordCursor& cursor) {
        visit(moduleFacts(cursor), physicalAddressesOf(cursor));
        return false;
    });
}

ModuleFacts CPniFruData::GetModuleFacts(std::uint8_t module) const {
    static_cast<void>(FindPniModuleArea(module, true));
    const CReadGuard guard(lock_);
    ModuleFacts facts;
    enterModule(image_, module,
                [&facts](const CRecordCursor& cursor) { facts = moduleFacts(cursor); });
    return facts;
}

std::vector<AddressBytes> CPniFruData::GetActiveMacAddresses() const {
    PNI_TRACE(3, "\nCPniFruData         : Retrieving all active MAC addresses.");
    const CReadGuard guard(lock_);
    std::vector<AddressBytes> macs;
    findFunction(image_, [&](const CRecordCursor& cursor) {
        if (auto mac = activeMac(cursor.Function())) {
            macs.push_back(std::move(*mac));
        }
        return false;
    });
    return macs;
}

std::vector<std::uint8_t> CPniFruData::GetModuleIds() const {
    const CReadGuard guard(lock_);
    std::vector<std::uint8_t> ids;
    findModule(image_, [&ids](const CRecordCursor& cursor) {
        ids.push_back(cursor.Module().moduleId);
        return false;
    });
    return ids;
}

std::optional<std::uint16_t> CPniFruData::GetPciLocation(std::uint8_t module, std::uint8_t port,
                                                         std::uint8_t function) const {
    const CReadGuard guard(lock_);
    std::optional<std::uint16_t> location;
    enterModule(image_, module, [&](CRecordCursor cursor) {
        while (cursor.NextPort()) {
            while (cursor.NextFunction()) {
                if (cursor.Port().position == port && cursor.Function().Position() == function) {
                    location = cursor.Function().U16(layout::PNI_PORT_FUNCTION::pciAddress);
                }
            }
        }
    });
    return location;
}

}  // namespace em_pni
