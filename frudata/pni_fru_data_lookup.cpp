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
    const CByteView image(bytes.data(), bytes.size());
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
    const CByteView image(bytes.data(), bytes.size());
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

std::vector<MacAddress> macAddressesOf(CRecordCursor atModule) {
    std::vector<MacAddress> macs;
    while (atModule.NextPort()) {
        while (atModule.NextFunction()) {
            if (const auto mac = manufactureMac(atModule.Function())) {
                PNI_TRACE(5, "\nPniFruData::GetModuleMacAddresses : Module %u - Found MAC '%s'",
                          atModule.Module().position, macText(*mac).c_str());
                macs.push_back(*mac);
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
    for (const MacAddress& mac : macAddressesOf(atModule)) {
        addresses.push_back({.kind = PhysicalAddress::Kind::mac, .mac = mac});
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

std::optional<WorldWideName> manufactureWwpn(const CPniPortFunction& function) {
    const auto names = manufactureNames(function);
    return names ? std::optional(names->wwpn) : std::nullopt;
}

std::string searchedText(const MacAddress& mac) {
    return macText(mac);
}

std::string searchedText(const WorldWideName& name) {
    return worldwideNameText(name);
}

// One kind of address to search for: the words of its trace lines and its reader.
template <class Address>
struct SearchKind {
    const char* operation;
    const char* word;
    const char* operationWhenMissing;
    std::optional<Address> (*read)(const CPniPortFunction&);
};

constexpr SearchKind<MacAddress> macSearch = {"FindModuleByMacAddress", "MAC",
                                              "FindModuleByWwpnAddress", &manufactureMac};
constexpr SearchKind<WorldWideName> wwpnSearch = {"FindModuleByWWPNAddress", "WWPN",
                                                  "FindModuleByWWPNAddress", &manufactureWwpn};

template <class Address>
FoundModule search(const SearchKind<Address>& kind, Bytes image, const Address& wanted) {
    PNI_TRACE(5, "\nCPniFruData         : %s() : Searched %s - '%s'", kind.operation, kind.word,
              searchedText(wanted).c_str());
    FoundModule found{false, 0};
    found.first = findFunction(image, [&](const CRecordCursor& cursor) {
        const auto stored = kind.read(cursor.Function());
        if (!stored) {
            return false;
        }
        PNI_TRACE(5, "\nCPniFruData         : %s() : Check module %s - '%s'", kind.operation,
                  kind.word, searchedText(*stored).c_str());
        if (*stored != wanted) {
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

FoundModule CPniFruData::FindModuleByMacAddress(const MacAddress& mac) const {
    PNI_TRACE(5, "\nCPniFruData         : FindModuleByMacAddress() : Start.");
    if (mac.IsEmpty()) {
        PNI_TRACE(1,
                  "\nCPniFruData         : FindModuleByMacAddress() : Called with invalid searched "
                  "MAC Address.");
        return {false, 0};
    }
    const CReadGuard guard(lock_);
    return search(macSearch, image_, mac);
}

FoundModule CPniFruData::FindModuleByWWPNAddress(WorldWideName wwpn) const {
    PNI_TRACE(5, "\nCPniFruData         : FindModuleByWWPNAddress() : Start.");
    if (wwpn == 0) {
        return {false, 0};  // no name, as in a function whose text is none
    }
    const CReadGuard guard(lock_);
    return search(wwpnSearch, image_, wwpn);
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

std::vector<MacAddress> CPniFruData::GetModuleMacAddresses(std::uint8_t module) const {
    const CReadGuard guard(lock_);
    std::vector<MacAddress> macs;
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

std::vector<MacAddress> CPniFruData::GetActiveMacAddresses() const {
    PNI_TRACE(3, "\nCPniFruData         : Retrieving all active MAC addresses.");
    const CReadGuard guard(lock_);
    std::vector<MacAddress> macs;
    findFunction(image_, [&](const CRecordCursor& cursor) {
        if (const auto mac = activeMac(cursor.Function())) {
            macs.push_back(*mac);
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
