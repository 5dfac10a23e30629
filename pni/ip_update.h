// Stores the IP addresses of the host's interfaces in a record.
#pragma once

#include <cstdint>
#include <vector>

#include "adapters/network_requests.h"
#include "frudata/pni_fru_data.h"

namespace em_pni {

// An Ethernet interface of the host whose link is up.
struct NetworkInterfaceEntry {
    MacAddress mac;
    std::vector<IpAddress> addresses;  // each address once
};

// Appends the interfaces to `list`. Returns false when the host has no interfaces or does not
// answer.
bool ScanNetworkInterfaces(const CNetworkRequests& requests,
                           std::vector<NetworkInterfaceEntry>& list);

// Adds the addresses of the interface to the entry. Returns false when no request returned data.
bool CollectIpAddresses(const CNetworkRequests& requests, std::uint32_t interface,
                        NetworkInterfaceEntry& entry);

// Clears all IP addresses of the record. Then stores the first IPv4 and the first two IPv6
// addresses of each interface in the port function that has the MAC of the interface. So a port
// function whose interface is gone or down has no IP addresses afterwards.
void ReplaceIpAddresses(const CNetworkRequests& requests, CPniFruData& record);

}  // namespace em_pni
