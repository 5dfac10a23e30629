#include "adapters/net_interface_connection_context.h"

#include <span>
#include <stdexcept>
#include <utility>

#include "platform/trace.h"

namespace em_pni {

struct NetInterfaceConnectionContext::FoundAddresses {
    std::vector<IpAddress> list;
    std::uint32_t ipv4 = 0;
    std::uint32_t ipv6 = 0;

    [[nodiscard]] bool HasBoth() const noexcept { return ipv4 > 0 && ipv6 > 0; }
    // Bytes of another length count as IPv6 and are not listed.
    void Add(std::span<const std::uint8_t> bytes) {
        ++(bytes.size() == IpAddress::shortSize ? ipv4 : ipv6);
        if (const IpAddress address(bytes); !address.IsEmpty()) {
            list.push_back(address);
        }
    }
};

std::uint32_t NetInterfaceConnectionContext::FetchInterfaceCount() const {
    const auto reply = requests_.InterfaceCount();
    if (!reply.value) {
        throw CNoReplyError(
            "NetInterfaceConnectionContext::FetchInterfaceCount() : No reply data from SIP!");
    }
    PNI_TRACE(4,
              "\nEM_PNI NetInterfaceConnectionContext::FetchInterfaceCount() : Interface count : "
              "%u",
              *reply.value);
    return *reply.value;
}

bool NetInterfaceConnectionContext::IsEthernetInterface(std::uint32_t interface) const {
    PNI_TRACE(5,
              "\nEM_PNI NetInterfaceConnectionContext::IsEthernetInterface() : Start (interface "
              "#%u)",
              interface);
    const NumberReply reply = requests_.InterfaceType(interface);
    if (!reply.answered) {
        throw CNoReplyError(
            "NetInterfaceConnectionContext::IsEthernetInterface() : No reply data from SIP!");
    }
    return reply.value == krcp::ethernetType;
}

MacAddress NetInterfaceConnectionContext::FetchMacAddress(std::uint32_t interface) const {
    const BytesReply reply = requests_.MacAddress(interface);
    if (!reply.value) {
        throw CNoReplyError("NetInterfaceConnectionContext::Refresh() : No reply data from SIP!");
    }
    const MacAddress mac(*reply.value);
    if (!mac.IsUsable()) {
        throw std::runtime_error(
            "NetInterfaceConnectionContext::Refresh() : Invalid MAC received!");
    }
    return mac;
}

bool NetInterfaceConnectionContext::Refresh() {
    PNI_TRACE(5, "\nEM_PNI NetInterfaceConnectionContext::Refresh() : Start.");
    interfaces_.reset();
    const auto shared = std::exchange(shared_, nullptr);
    const std::uint32_t count = FetchInterfaceCount();
    if (shared && shared->latest && shared->latest->count == count) {
        interfaces_ = shared->latest;
    } else {
        interfaces_ = ReadInterfaces(count);
        if (shared) {
            shared->latest = interfaces_;
        }
    }
    PNI_TRACE(3, "\nEM_PNI NetInterfaceConnectionContext::Refresh() : Found interfaces : %u",
              count);
    PNI_TRACE(5, "\nEM_PNI NetInterfaceConnectionContext::Refresh() : Done.");
    return true;
}

std::shared_ptr<const HostInterfaces> NetInterfaceConnectionContext::ReadInterfaces(
    std::uint32_t count) const {
    HostInterfaces interfaces{.numbers = {}, .count = count};
    for (std::uint32_t interface = 0; interface < count; ++interface) {
        if (IsEthernetInterface(interface)) {
            interfaces.numbers[FetchMacAddress(interface)] = interface;
        }
    }
    return std::make_shared<const HostInterfaces>(std::move(interfaces));
}

bool NetInterfaceConnectionContext::Check() {
    PNI_TRACE(5, "\nEM_PNI NetInterfaceConnectionContext::Check() : Start.");
    if (!requests_.HasConnection()) {
        throw std::logic_error(
            "NetInterfaceConnectionContext::Check() : Invalid connection module!");
    }
    if (!interfaces_ || interfaces_->numbers.empty()) {
        PNI_TRACE(5, "\nEM_PNI NetInterfaceConnectionContext::Check() : No interface data.");
        return Refresh();
    }
    if (FetchInterfaceCount() != interfaces_->count) {
        PNI_TRACE(5,
                  "\nEM_PNI NetInterfaceConnectionContext::Check() : Interface count changed, "
                  "refresh...");
        return Refresh();
    }
    return true;
}

bool NetInterfaceConnectionContext::IsCurrent() {
    try {
        return Check();
    } catch (const std::runtime_error&) {
        return false;
    }
}

std::uint32_t NetInterfaceConnectionContext::InterfaceOf(const MacAddress& mac) const {
    const auto found = interfaces_->numbers.find(mac);
    return found != interfaces_->numbers.end() ? found->second : 0;
}

BytesReply NetInterfaceConnectionContext::RequestIpAddress(krcp::IpAddressKind kind,
                                                           std::uint32_t index,
                                                           std::uint32_t interface) const {
    BytesReply reply = requests_.IpAddress(kind, index, interface);
    PNI_TRACE(5,
              "\nEM_PNI NetInterfaceConnectionContext::GetIpAddresses() : NIC[%u]: Request %s IP "
              "address %u - KRCP status 0x%X",
              interface, nameOf(kind), index, reply.status);
    return reply;
}

void NetInterfaceConnectionContext::AddPrimary(std::uint32_t interface,
                                               FoundAddresses& found) const {
    constexpr std::uint32_t addresses = 4;
    for (std::uint32_t index = 0; index < addresses; ++index) {
        const BytesReply reply = RequestIpAddress(krcp::primaryAddress, index, interface);
        if (reply.value) {
            found.Add(*reply.value);
        } else {
            PNI_TRACE(4,
                      "\nEM_PNI NetInterfaceConnectionContext::GetIpAddresses() :   IF_%02u "
                      "failed, STATUS %02X",
                      interface, reply.status);
        }
    }
}

void NetInterfaceConnectionContext::AddMissing(krcp::IpAddressKind kind, std::uint32_t count,
                                               std::uint32_t interface,
                                               FoundAddresses& found) const {
    for (std::uint32_t index = 0; index < count && !found.HasBoth(); ++index) {
        const BytesReply reply = RequestIpAddress(kind, index, interface);
        const std::size_t size = reply.value ? reply.value->size() : 0;
        if ((size == IpAddress::shortSize && found.ipv4 == 0) ||
            (size == IpAddress::longSize && found.ipv6 == 0)) {
            found.Add(*reply.value);
        }
    }
}

std::vector<IpAddress> NetInterfaceConnectionContext::GetIpAddresses(const MacAddress& mac) {
    PNI_TRACE(5, "\nEM_PNI NetInterfaceConnectionContext::GetIpAddresses() : Start.");
    if (!IsCurrent()) {
        PNI_TRACE(1, "\nEM_PNI NetInterfaceConnectionContext::GetIpAddresses() : Check failed!");
        return {};
    }
    const std::uint32_t interface = InterfaceOf(mac);
    FoundAddresses found;
    AddPrimary(interface, found);
    AddMissing(krcp::transientAddress, 2, interface, found);
    AddMissing(krcp::anyAddress, 4, interface, found);
    PNI_TRACE(2,
              "\nEM_PNI NetInterfaceConnectionContext::GetIpAddresses() : Done. Found %u ipV4 and "
              "%u ipV6",
              found.ipv4, found.ipv6);
    return std::move(found.list);
}

std::uint64_t NetInterfaceConnectionContext::GetNetInterfaceSpeed(const MacAddress& mac) {
    PNI_TRACE(5, "\nEM_PNI NetInterfaceConnectionContext::GetNetInterfaceSpeed() : Start.");
    if (!IsCurrent()) {
        PNI_TRACE(1,
                  "\nEM_PNI NetInterfaceConnectionContext::GetNetInterfaceSpeed() : Check failed!");
        return 0;
    }
    const NumberReply reply = requests_.LinkSpeed(InterfaceOf(mac));
    if (!reply.value) {
        PNI_TRACE(5,
                  "\nEM_PNI NetInterfaceConnectionContext::GetNetInterfaceSpeed() : Call failed. "
                  "KRCP status 0x%X",
                  reply.status);
        return 0;
    }
    PNI_TRACE(5,
              "\nEM_PNI NetInterfaceConnectionContext::GetNetInterfaceSpeed() : Return speed: %u",
              static_cast<unsigned>(*reply.value));
    return *reply.value;
}

}  // namespace em_pni
