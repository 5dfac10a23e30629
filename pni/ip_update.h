// Brings the IP addresses of a record up to date with the host's interfaces.
#pragma once

#include <cstdint>
#include <vector>

#include "adapters/network_requests.h"
#include "frudata/pni_fru_data.h"

namespace em_pni {

// One Ethernet interface of the host that is up.
struct NetworkInterfaceEntry {
    MacAddress mac;
    std::vector<IpAddress> addresses;  // each address once
};

// False when the host does not tell how many interfaces it has, or has none.
bool ScanNetworkInterfaces(const CNetworkRequests& requests,
                           std::vector<NetworkInterfaceEntry>& list);

// Adds the interface's addresses to the entry; false when no request brought data.
bool CollectIpAddresses(const CNetworkRequests& requests, std::uint32_t interface,
                        NetworkInterfaceEntry& entry);

// Clears the IP addresses of the record and stores those of the host's interfaces, each with the
// port function that has the interface's MAC: the first IPv4 and the first two IPv6 addresses.
// Interfaces that are gone or down thus lose theirs.
void ReplaceIpAddresses(const CNetworkRequests& requests, CPniFruData& record);

}  // namespace em_pni
