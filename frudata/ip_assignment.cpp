#include <algorithm>
#include <optional>

#include "frudata/address_assignment.h"
#include "frudata/address_targets.h"
#include "frudata/address_text.h"
#include "frudata/layout.h"
#include "frudata/record_checksum.h"
#include "platform/address.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

using Layout = layout::PNI_PORT_FUNCTION;
using Addresses = layout::NIC_ADDRESSES;

constexpr std::size_t smallestIpFunction = 45;  // bytes; a shorter function has no room for any
constexpr std::size_t maxFunctionLength = 255;  // units of 4 bytes
constexpr std::size_t maxRecordLength = 0xFFFF;
constexpr std::uint8_t oneIpv4 = 0x01;  // in ipCounters
constexpr std::uint8_t oneIpv6 = 0x10;

// The two lists of an Ethernet function. Offsets count from its address block.
struct IpLists {
    std::uint8_t counters;
    std::size_t ipv4;
    std::size_t ipv6;

    [[nodiscard]] static constexpr std::size_t Ipv4Begin() noexcept {
        return Addresses::ipAddresses;
    }
    [[nodiscard]] std::size_t Ipv6Begin() const noexcept {
        return Ipv4Begin() + ipv4 * layout::ipv4Size;
    }
    [[nodiscard]] std::size_t Bytes() const noexcept {
        return ipv4 * layout::ipv4Size + ipv6 * layout::ipv6Size;
    }
};

// Nothing when the counters or what they promise do not fit into the function.
std::optional<IpLists> ipListsOf(const CPniPortFunction& function) noexcept {
    const auto counters = function.AddressBytes(Addresses::ipCounters, 1);
    if (!counters) {
        return std::nullopt;
    }
    const std::size_t packed = counters->front();
    const IpLists lists{counters->front(), packed & 0x0FU, packed >> 4U};
    return function.AddressBytes(Addresses::ipAddresses, lists.Bytes()) ? std::optional(lists)
                                                                        : std::nullopt;
}

bool mayHoldIpAddresses(const CPniPortFunction& function) noexcept {
    return function.Technology() == FunctionTechnology::nic && function.HasSeparateAddresses() &&
           function.Size() >= smallestIpFunction;
}

bool hasMac(const CPniPortFunction& function, const MacAddress& mac) noexcept {
    const auto wanted = std::span(mac).first(layout::macSize);
    for (const std::size_t offset : {Addresses::manufactureMac, Addresses::activeMac}) {
        const auto stored = function.AddressBytes(offset, layout::macSize);
        if (stored && std::equal(stored->begin(), stored->end(), wanted.begin(), wanted.end())) {
            return true;
        }
    }
    return false;
}

// Image offset of the multi-record header, whose length changes with the function's.
std::size_t recordLengthOffset(CByteView image) noexcept {
    RecordFrame frame;
    locateFrame(image, frame);
    return frame.multirecordHeader + layout::OEM_PNI_MULTIRECORD_HEADER::recordLength;
}

// Puts a new address in at `place`, counted from the address block, and makes the function and the
// record longer by it.
bool insertAddress(CByteEditor& image, const AddressTarget& target, std::size_t place,
                   const IpAddress& address, std::uint8_t counters) {
    const std::size_t lengthOffset = recordLengthOffset(image.View());
    const std::size_t recordLength = image.View().U16(lengthOffset) + address.size();
    const std::size_t functionLength =
        (target.function.Size() + address.size()) / Layout::lengthUnit;
    if (recordLength > maxRecordLength || functionLength > maxFunctionLength ||
        !target.function.AddressBytes(place, 0) ||
        !image.View().Has(target.function.Offset(), target.function.Size())) {
        return false;
    }
    // First, as there may be no memory for it. The counts stand in front of it.
    if (!image.Insert(target.addresses + place, address)) {
        return false;
    }
    image.PutU8(target.addresses + Addresses::ipCounters, counters);
    image.PutU8(target.function.Offset() + Layout::functionLength,
                static_cast<std::uint8_t>(functionLength));
    image.PutU16(lengthOffset, static_cast<std::uint16_t>(recordLength));
    return true;
}

bool storeIpv4(CByteEditor& image, const AddressTarget& target, const IpLists& lists,
               const IpAddress& address) {
    if (lists.ipv4 != 0) {
        PNI_TRACE(4,
                  "\nCPniFruData         : Replace existing IPv4 address with new IPv4 address %s",
                  ipv4Text(address).c_str());
        return image.Put(target.addresses + IpLists::Ipv4Begin(), address);
    }
    PNI_TRACE(4,
              "\nCPniFruData         : No existing IPv4 addresses found - add new IPv4 address %s",
              ipv4Text(address).c_str());
    return insertAddress(image, target, IpLists::Ipv4Begin(), address,
                         static_cast<std::uint8_t>(lists.counters + oneIpv4));
}

bool storeIpv6(CByteEditor& image, const AddressTarget& target, const IpLists& lists,
               const IpAddress& address, std::size_t slot) {
    const std::size_t place = lists.Ipv6Begin() + slot * layout::ipv6Size;
    if (lists.ipv6 > slot) {
        PNI_TRACE(4,
                  "\nCPniFruData         : Replace existing IPv6 address with new IPv6 address %s",
                  ipv6Text(address).c_str());
        return image.Put(target.addresses + place, address);
    }
    PNI_TRACE(4,
              "\nCPniFruData         : No existing IPv6 addresses found - add new IPv6 address %s",
              ipv6Text(address).c_str());
    if (slot > lists.ipv6 || lists.ipv6 == 15) {
        return false;  // it would not follow the list, or not be counted
    }
    return insertAddress(image, target, place, address,
                         static_cast<std::uint8_t>(lists.counters + oneIpv6));
}

}  // namespace

bool SetIPAddress(std::vector<std::uint8_t>& image, const MacAddress& mac, const IpAddress& address,
                  std::size_t slot) {
    const bool isV4 = address.size() == layout::ipv4Size;
    if (!mac.IsUsable() || address.IsEmpty()) {
        return traceAssignment("SetIPAddress", PNI_PARAMETER_ERR);
    }
    CByteEditor editor(image);
    std::uint32_t code = PNI_SUCCESS;
    const auto targets = findAddressTargets(
        editor.View(),
        [mac](const CRecordCursor& cursor) {
            return mayHoldIpAddresses(cursor.Function()) && hasMac(cursor.Function(), mac);
        },
        code);
    if (!traceAssignment("SetIPAddress", code) || targets.empty()) {
        return false;
    }
    const AddressTarget& target = targets.front();
    PNI_TRACE(4, "\nCPniFruData         : Matching MAC address %s found in PNI FRU",
              macText(mac).c_str());
    const auto lists = ipListsOf(target.function);
    const bool isStored = lists && (isV4 ? storeIpv4(editor, target, *lists, address)
                                         : storeIpv6(editor, target, *lists, address, slot));
    return isStored && mendRecordChecksum(editor);
}

bool ClearIpAddresses(std::vector<std::uint8_t>& image) {
    CByteEditor editor(image);
    std::uint32_t code = PNI_SUCCESS;
    const auto targets = findAddressTargets(
        editor.View(),
        [](const CRecordCursor& cursor) { return mayHoldIpAddresses(cursor.Function()); }, code);
    if (code != PNI_SUCCESS) {
        return false;
    }
    const std::size_t lengthOffset = recordLengthOffset(editor.View());
    // From the back, so that the offsets in front stay good. The targets' views are only read
    // before their own bytes go.
    for (auto target = targets.rbegin(); target != targets.rend(); ++target) {
        const auto lists = ipListsOf(target->function);
        const std::size_t recordLength = editor.View().U16(lengthOffset);
        if (!lists || lists->Bytes() == 0 || lists->Bytes() > recordLength) {
            continue;
        }
        const std::size_t functionLength =
            (target->function.Size() - lists->Bytes()) / Layout::lengthUnit;
        editor.PutU8(target->addresses + Addresses::ipCounters, 0);
        editor.PutU8(target->function.Offset() + Layout::functionLength,
                     static_cast<std::uint8_t>(functionLength));
        editor.PutU16(lengthOffset, static_cast<std::uint16_t>(recordLength - lists->Bytes()));
        editor.Erase(target->addresses + IpLists::Ipv4Begin(), lists->Bytes());
    }
    return mendRecordChecksum(editor);
}

}  // namespace em_pni
