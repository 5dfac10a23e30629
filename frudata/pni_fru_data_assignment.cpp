#include <string>

#include "frudata/address_text.h"
#include "frudata/pni_fru_data.h"
#include "frudata/worldwide_name.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

template <class List, class TextOf>
std::string joinedTexts(const List& list, TextOf textOf) {
    std::string joined;
    for (const auto& element : list) {
        joined.append(joined.empty() ? "" : ", ").append(textOf(element));
    }
    return joined;
}

// Runs a setter on an image between the lines that tell of it. `subject` makes the words for what
// is assigned, and is only asked when somebody reads them.
template <class Subject, class Setter>
bool assign(std::vector<std::uint8_t>& image, Subject subject, Setter setter) {
    PNI_TRACE(3, "\nCPniFruData         : Assigning %s in PNI FRU data...", subject().c_str());
    if (!setter(image)) {
        PNI_TRACE(1, "\nCPniFruData         : ERROR! FAILED to assign %s in PNI FRU data!",
                  subject().c_str());
        return false;
    }
    PNI_TRACE(3, "\nCPniFruData         : ...assigning %s in PNI FRU data completed with %s.",
              subject().c_str(), "SUCCESS");
    return true;
}

}  // namespace

bool CPniFruData::AssignMacAddresses(std::span<const MacAddress> macs, std::uint8_t module) {
    const CWriteGuard guard(lock_);
    return assign(
        image_,
        [&] {
            return "MAC address [" +
                   joinedTexts(macs, [](const MacAddress& mac) { return macText(mac); }) + "]";
        },
        [&](auto& image) { return SetMACAddress(image, macs, module); });
}

bool CPniFruData::AssignWwnAddresses(std::span<const PhysicalAddress> names, std::uint8_t module) {
    const CWriteGuard guard(lock_);
    return assign(
        image_,
        [&] {
            return "WWN address [" +
                   joinedTexts(
                       names,
                       [](const PhysicalAddress& name) { return worldwideNameText(name.wwpn); }) +
                   "]";
        },
        [&](auto& image) { return SetWWNAddress(image, names, module); });
}

bool CPniFruData::AssignIpv4Address(const MacAddress& mac, const IpAddress& address) {
    const CWriteGuard guard(lock_);
    return assign(
        image_,
        [&] {
            return "IPv4 address [" + ipv4Text(address) + "] to MAC address [" + macText(mac) + "]";
        },
        [&](auto& image) { return SetIPAddress(image, mac, address, 0); });
}

bool CPniFruData::AssignIpv6Address(const MacAddress& mac, const IpAddress& address,
                                    std::size_t slot) {
    const CWriteGuard guard(lock_);
    return assign(
        image_,
        [&] {
            return "IPv6 address [" + std::to_string(slot) + "] " + ipv6Text(address) +
                   " to MAC address " + macText(mac);
        },
        [&](auto& image) { return SetIPAddress(image, mac, address, slot); });
}

bool CPniFruData::ClearIpAddresses() {
    const CWriteGuard guard(lock_);
    return em_pni::ClearIpAddresses(image_);
}

}  // namespace em_pni
