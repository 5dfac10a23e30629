#include "frudata/address_assignment.h"

#include <algorithm>
#include <functional>
#include <optional>

#include "frudata/address_text.h"
#include "frudata/pni_fru.h"
#include "frudata/record_checksum.h"
#include "frudata/record_cursor.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

using Header = layout::OEM_PNI_MULTIRECORD_HEADER;
using Layout = layout::PNI_PORT_FUNCTION;
using NicAddresses = layout::NIC_ADDRESSES;
using FcAddresses = layout::FC_ADDRESSES;

constexpr std::uint8_t oneIpv4 = 0x01;  // in ipCounters
constexpr std::uint8_t oneIpv6 = 0x10;

// A port function to change.
struct Target {
    CPniPortFunction function;
    std::uint8_t moduleId = 0;
    std::uint8_t port = 0;      // position in the module
    std::size_t addresses = 0;  // image offset of the address block
};

struct Targets {
    std::uint32_t code = PNI_SUCCESS;  // the list is empty for any other code
    RecordFrame frame;
    std::vector<Target> list;  // in record order
};

std::uint32_t assignmentResult(CByteView image, FrameFault fault) noexcept {
    return image.Size() == 0 || fault == FrameFault::noInternalUseArea ? PNI_PARAMETER_ERR
                                                                       : pniFrameResult(fault);
}

// The functions that `isWanted` accepts and whose address block may be written. The code is not
// PNI_SUCCESS when the image holds no record or an element of the record does not fit its place.
template <class IsWanted>
Targets findTargets(CByteView image, IsWanted isWanted) {
    Targets targets{.code = PNI_SUCCESS, .frame = locateFrame(image), .list = {}};
    targets.code = assignmentResult(image, targets.frame.fault);
    if (targets.code != PNI_SUCCESS) {
        return targets;
    }
    CRecordCursor cursor(image, targets.frame);
    const bool isMisplaced = forEachModule(cursor, [&](CRecordCursor& atModule) {
        forEachFunction(atModule, [&](const CRecordCursor& at) {
            const CPniPortFunction& function = at.Function();
            const auto offset = function.U8(Layout::addressOffset);
            if (offset && function.HasSeparateAddresses() && isWanted(at)) {
                targets.list.push_back({function, at.Module().moduleId, at.Port().position,
                                        function.Offset() + *offset});
            }
        });
        return !atModule.ModuleFitsItsPlace();
    });
    if (isMisplaced || cursor.Fault() != WalkFault::none) {
        targets.code = PNI_FORMAT_ERR;
        targets.list.clear();
    }
    return targets;
}

// Traces the outcome of a setter's checks.
bool traceAssignment(const char* operation, std::uint32_t code) {
    PNI_TRACE(2, "\nCPniFruData         : %s() : %s", operation, pniResultText(code));
    return code == PNI_SUCCESS;
}

// The functions in the ports of one module below `portCount` that `hasRoom` accepts. The others
// stay as they are.
template <class HasRoom>
std::vector<Target> findModuleTargets(const char* operation, CByteView image,
                                      std::uint8_t moduleIndex, std::size_t portCount,
                                      HasRoom hasRoom) {
    Targets targets = findTargets(image, [&](const CRecordCursor& at) {
        return at.Module().position == moduleIndex && at.Port().position < portCount &&
               hasRoom(at.Function(), at.Port().position);
    });
    traceAssignment(operation, targets.code);
    return std::move(targets.list);
}

bool mayHoldIpAddresses(const CPniPortFunction& function) noexcept {
    return function.Technology() == FunctionTechnology::nic &&
           function.Size() >= NicAddresses::minimumFunction;
}

bool hasMac(const CPniPortFunction& function, const MacAddress& mac) noexcept {
    const auto wanted = std::span(mac).first(layout::macSize);
    for (const std::size_t offset : {NicAddresses::manufactureMac, NicAddresses::activeMac}) {
        const auto stored = function.AddressBytes(offset, layout::macSize);
        if (stored && std::equal(stored->begin(), stored->end(), wanted.begin(), wanted.end())) {
            return true;
        }
    }
    return false;
}

// The change of one function's IP addresses.
class CIpAssignment {
  public:
    CIpAssignment(CByteEditor& image, const RecordFrame& frame, const Target& target,
                  const IpLists& lists)
        : image_(image),
          lengthOffset_(frame.multirecordHeader + Header::recordLength),
          target_(target),
          lists_(lists) {}

    bool StoreIpv4(const IpAddress& address) {
        if (lists_.ipv4 != 0) {
            PNI_TRACE(
                4, "\nCPniFruData         : Replace existing IPv4 address with new IPv4 address %s",
                ipv4Text(address).c_str());
            return image_.Put(target_.addresses + IpLists::Ipv4Begin(), address);
        }
        PNI_TRACE(
            4, "\nCPniFruData         : No existing IPv4 addresses found - add new IPv4 address %s",
            ipv4Text(address).c_str());
        return Insert(IpLists::Ipv4Begin(), address, oneIpv4);
    }

    bool StoreIpv6(const IpAddress& address, std::size_t slot) {
        const std::size_t place = lists_.Ipv6Begin() + slot * layout::ipv6Size;
        if (lists_.ipv6 > slot) {
            PNI_TRACE(
                4, "\nCPniFruData         : Replace existing IPv6 address with new IPv6 address %s",
                ipv6Text(address).c_str());
            return image_.Put(target_.addresses + place, address);
        }
        PNI_TRACE(
            4, "\nCPniFruData         : No existing IPv6 addresses found - add new IPv6 address %s",
            ipv6Text(address).c_str());
        return slot == lists_.ipv6 && lists_.ipv6 < NicAddresses::maxOfFamily &&
               Insert(place, address, oneIpv6);
    }

    void Clear() {
        const std::size_t recordLength = image_.View().U16(lengthOffset_);
        if (lists_.Bytes() != 0 && lists_.Bytes() <= recordLength) {
            PutLengths(0, target_.function.Size() - lists_.Bytes(), recordLength - lists_.Bytes());
            image_.Erase(target_.addresses + IpLists::Ipv4Begin(), lists_.Bytes());
        }
    }

  private:
    // Inserts the address at `place`, which counts from the address block. The function, the record
    // and the image grow by it. The record is always shorter than the image, so its length does not
    // overflow.
    bool Insert(std::size_t place, const IpAddress& address, std::uint8_t inCounters) {
        const std::size_t recordLength = image_.View().U16(lengthOffset_) + address.size();
        const std::size_t functionSize = target_.function.Size() + address.size();
        if (image_.View().Size() + address.size() > layout::maxImage ||
            functionSize > Layout::maxFunctionLength * Layout::lengthUnit) {
            return false;
        }
        // The insertion comes first because it may throw. The lengths stand in front of it.
        if (!image_.Insert(target_.addresses + place, address)) {
            return false;
        }
        PutLengths(static_cast<std::uint8_t>(lists_.counters + inCounters), functionSize,
                   recordLength);
        return true;
    }

    void PutLengths(std::uint8_t counters, std::size_t functionSize, std::size_t recordLength) {
        image_.PutU8(target_.addresses + NicAddresses::ipCounters, counters);
        image_.PutU8(target_.function.Offset() + Layout::functionLength,
                     static_cast<std::uint8_t>(functionSize / Layout::lengthUnit));
        image_.PutU16(lengthOffset_, static_cast<std::uint16_t>(recordLength));
    }

    CByteEditor& image_;
    std::size_t lengthOffset_;
    const Target& target_;
    const IpLists& lists_;
};

}  // namespace

bool SetMACAddress(std::vector<std::uint8_t>& image, std::span<const MacAddress> macs,
                   std::uint8_t moduleIndex) {
    if (!std::all_of(macs.begin(), macs.end(), std::mem_fn(&MacAddress::IsUsable))) {
        return false;
    }
    CByteEditor editor(image);
    const auto targets = findModuleTargets(
        "SetMACAddress", editor.View(), moduleIndex, macs.size(),
        [&macs](const CPniPortFunction& function, std::size_t port) {
            return function.Technology() == FunctionTechnology::nic &&
                   function.AddressBytes(NicAddresses::activeMac, macs[port].size()).has_value();
        });
    for (const Target& target : targets) {
        const MacAddress& mac = macs[target.port];
        // A MAC of 8 bytes overlaps the second copy. The second copy overwrites its end.
        editor.Put(target.addresses + NicAddresses::manufactureMac, mac);
        editor.Put(target.addresses + NicAddresses::activeMac, mac);
        PNI_TRACE(
            4,
            "\nCPniFruData         : Replace MAC address on adapter slot: %d, port: %d with new "
            "MAC address %s",
            target.moduleId, target.port, macText(mac).c_str());
    }
    return !targets.empty() && mendRecordChecksum(editor);
}

bool SetWWNAddress(std::vector<std::uint8_t>& image, std::span<const PhysicalAddress> names,
                   std::uint8_t moduleIndex) {
    CByteEditor editor(image);
    const auto targets =
        findModuleTargets("SetWWNAddress", editor.View(), moduleIndex, names.size(),
                          [](const CPniPortFunction& function, std::size_t /*port*/) {
                              return hasWorldwideNames(function) &&
                                     function.AddressBytes(0, FcAddresses::optionRom).has_value();
                          });
    for (const Target& target : targets) {
        const PhysicalAddress& name = names[target.port];
        const auto node = HexToAscii(name.wwnn);
        const auto port = HexToAscii(name.wwpn);
        editor.Put(target.addresses + FcAddresses::manufactureWwnn, node);
        editor.Put(target.addresses + FcAddresses::activeWwnn, node);
        editor.Put(target.addresses + FcAddresses::manufactureWwpn, port);
        editor.Put(target.addresses + FcAddresses::activeWwpn, port);
        PNI_TRACE(4,
                  "\nCPniFruData         : Replace WWPN address on adapter slot: %d, port: %d with "
                  "new WWPN address %s",
                  target.moduleId, target.port, worldwideNameText(name.wwpn).c_str());
    }
    return !targets.empty() && mendRecordChecksum(editor);
}

bool SetIPAddress(std::vector<std::uint8_t>& image, const MacAddress& mac, const IpAddress& address,
                  std::size_t slot) {
    if (!mac.IsUsable() || address.IsEmpty()) {
        return traceAssignment("SetIPAddress", PNI_PARAMETER_ERR);
    }
    CByteEditor editor(image);
    const Targets targets = findTargets(editor.View(), [&mac](const CRecordCursor& at) {
        return mayHoldIpAddresses(at.Function()) && hasMac(at.Function(), mac);
    });
    if (!traceAssignment("SetIPAddress", targets.code) || targets.list.empty()) {
        return false;
    }
    const Target& target = targets.list.front();
    PNI_TRACE(4, "\nCPniFruData         : Matching MAC address %s found in PNI FRU",
              macText(mac).c_str());
    const auto lists = ipListsOf(target.function);
    if (!lists) {
        return false;
    }
    CIpAssignment assignment(editor, targets.frame, target, *lists);
    const bool isStored = address.size() == IpAddress::shortSize
                              ? assignment.StoreIpv4(address)
                              : assignment.StoreIpv6(address, slot);
    return isStored && mendRecordChecksum(editor);
}

bool ClearIpAddresses(std::vector<std::uint8_t>& image) {
    CByteEditor editor(image);
    const Targets targets = findTargets(
        editor.View(), [](const CRecordCursor& at) { return mayHoldIpAddresses(at.Function()); });
    if (targets.code != PNI_SUCCESS) {
        return false;
    }
    // From the back to the front: the offsets and views of the functions in front stay good.
    for (auto target = targets.list.rbegin(); target != targets.list.rend(); ++target) {
        if (const auto lists = ipListsOf(target->function)) {
            CIpAssignment(editor, targets.frame, *target, *lists).Clear();
        }
    }
    return mendRecordChecksum(editor);
}

}  // namespace em_pni
