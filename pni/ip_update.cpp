#include "pni/ip_update.h"

#include <algorithm>

#include "frudata/address_text.h"
#include "frudata/layout.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

constexpr std::uint32_t indicesPerKind = 4;
constexpr std::size_t maxIpv6 = 2;  // per interface

void traceRecordMacs(const CPniFruData& record) {
    if (!trace::isOn(3)) {
        return;
    }
    const auto macs = record.GetActiveMacAddresses();
    PNI_TRACE(3, "\nEM_PNI              : Pni reports %u MAC addresses:",
              static_cast<unsigned>(macs.size()));
    for (std::size_t i = 0; i < macs.size(); ++i) {
        PNI_TRACE(3, "\nEM_PNI              : Pni MAC address [%02d] %s", static_cast<int>(i),
                  macText(macs[i]).c_str());
    }
}

// Appends the interface with its addresses, unless it has to be skipped.
void scanInterface(const CNetworkRequests& requests, std::uint32_t interface,
                   std::vector<NetworkInterfaceEntry>& list) {
    PNI_TRACE(4, "\nEM_PNI              : Check network interface %u...", interface);
    if (requests.InterfaceType(interface).value != krcp::ethernetType) {
        PNI_TRACE(
            4,
            "\nEM_PNI              : ...network interface %u ignored - type is different from "
            "ethernet",
            interface);
        return;
    }
    PNI_TRACE(4, "\nEM_PNI              : Confirmed ethernet type interface");
    PNI_TRACE(4, "\nEM_PNI              : Retrieving MAC address of the interface");
    const auto macBytes = requests.MacAddress(interface).value;
    const MacAddress mac = macBytes ? MacAddress(*macBytes) : MacAddress();
    if (!mac.IsUsable()) {
        PNI_TRACE(4, "\nEM_PNI              : ERROR! Skipped invalid MAC address at interface %u",
                  interface);
        return;
    }
    const auto state = requests.LinkState(interface).value;
    if (state != krcp::linkIsUp) {
        PNI_TRACE(4, "\nEM_PNI              : Networt interface is not UP[%d], do not check IP",
                  static_cast<int>(state.value_or(0)));
        return;
    }
    NetworkInterfaceEntry entry{mac, {}};
    if (!CollectIpAddresses(requests, interface, entry)) {
        PNI_TRACE(4, "\nEM_PNI              : Request IP addresses failed, try one more time");
        CollectIpAddresses(requests, interface, entry);
    }
    list.push_back(std::move(entry));
}

void traceStored(const char* family, const std::string& address, const MacAddress& mac) {
    PNI_TRACE(3, "\n                    :  %s address %s stored in PNI FRU for MAC address %s",
              family, address.c_str(), macText(mac).c_str());
}

void storeAddresses(const NetworkInterfaceEntry& entry, CPniFruData& record) {
    bool isIpv4Tried = false;
    std::size_t ipv6Count = 0;
    for (const IpAddress& address : entry.addresses) {
        if (address.size() == IpAddress::shortSize) {
            if (!isIpv4Tried && record.AssignIpv4Address(entry.mac, address)) {
                traceStored("IPv4", ipv4Text(address), entry.mac);
            }
            isIpv4Tried = true;
        } else if (ipv6Count < maxIpv6 && record.AssignIpv6Address(entry.mac, address, ipv6Count)) {
            traceStored("IPv6", ipv6Text(address), entry.mac);
            ++ipv6Count;
        }
    }
}

}  // namespace

bool CollectIpAddresses(const CNetworkRequests& requests, std::uint32_t interface,
                        NetworkInterfaceEntry& entry) {
    PNI_TRACE(
        4,
        "\nEM_PNI              : Check for IP addresses on ethernet interface with MAC address "
        "%s",
        macText(entry.mac).c_str());
    bool hasData = false;
    for (std::uint32_t index = 0; index < indicesPerKind; ++index) {
        for (const auto kind : {krcp::primaryAddress, krcp::transientAddress, krcp::anyAddress}) {
            const auto reply = requests.IpAddress(kind, index, interface);
            PNI_TRACE(
                5, "\nEM_PNI              : NIC[%u]: Request %s IP address %u - KRCP status 0x%X",
                interface, nameOf(kind), index, reply.status);
            hasData |= reply.value.has_value();
            const IpAddress address = reply.value ? IpAddress(*reply.value) : IpAddress();
            if (!address.IsEmpty() && std::find(entry.addresses.begin(), entry.addresses.end(),
                                                address) == entry.addresses.end()) {
                entry.addresses.push_back(address);
            }
        }
    }
    PNI_TRACE(5, "\nEM_PNI              : Found %d addresses",
              static_cast<int>(entry.addresses.size()));
    return hasData;
}

bool ScanNetworkInterfaces(const CNetworkRequests& requests,
                           std::vector<NetworkInterfaceEntry>& list) {
    const std::uint32_t count = requests.InterfaceCount().value.value_or(0);
    if (count == 0) {
        return false;
    }
    PNI_TRACE(4, "\nEM_PNI              : KRCP reports %u network interfaces", count);
    for (std::uint32_t interface = 0; interface < count; ++interface) {
        scanInterface(requests, interface, list);
    }
    return true;
}

void ReplaceIpAddresses(const CNetworkRequests& requests, CPniFruData& record) {
    PNI_TRACE(3, "\nEM_PNI              : Cleaning IP addrs...");
    record.ClearIpAddresses();
    PNI_TRACE(3, "\nEM_PNI              : ... cleaning IP addrs, done");
    traceRecordMacs(record);
    PNI_TRACE(3, "\nEM_PNI              : Scanning and updating IP addresses");
    std::vector<NetworkInterfaceEntry> list;
    ScanNetworkInterfaces(requests, list);
    for (const NetworkInterfaceEntry& entry : list) {
        storeAddresses(entry, record);
    }
}

}  // namespace em_pni
