#include "adapters/function_specific_area.h"

#include "adapters/area_bytes.h"
#include "frudata/address_text.h"
#include "frudata/layout.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

using Function = layout::PNI_PORT_FUNCTION;
using Nic = layout::NIC_ADDRESSES;
using Fc = layout::FC_ADDRESSES;

constexpr std::size_t maxSize = Nic::size;
static_assert((Function::commonSize + maxSize) / Function::lengthUnit <= 0xFF);

// Addresses of one family, one behind the other.
struct Family {
    std::size_t count = 0;
    std::vector<std::uint8_t> bytes;

    void Add(const IpAddressBytes& address) {
        ++count;
        bytes.insert(bytes.end(), address.begin(), address.end());
    }
};

struct Families {
    Family ipv4;
    Family ipv6;

    [[nodiscard]] std::size_t Size() const { return ipv4.bytes.size() + ipv6.bytes.size(); }
    [[nodiscard]] bool Fit() const {
        return Size() <= Nic::ipAddressesSize && ipv4.count <= Nic::maxOfFamily &&
               ipv6.count <= Nic::maxOfFamily;
    }
};

Families sorted(const std::vector<IpAddressBytes>& addresses) {
    Families families;
    for (const IpAddressBytes& address : addresses) {
        if (address.size() == layout::ipv4Size) {
            PNI_TRACE(2,
                      "\nEM_PNI NIC_LocalPniPortFunctionArea::ToPniFruDataPortFnSpecific() : "
                      "Adding IPv4 : %s",
                      ipv4Text(address).c_str());
            families.ipv4.Add(address);
        } else if (address.size() == layout::ipv6Size) {
            PNI_TRACE(2,
                      "\nEM_PNI NIC_LocalPniPortFunctionArea::ToPniFruDataPortFnSpecific() : "
                      "Adding IPv6 : %s",
                      ipv6Text(address).c_str());
            families.ipv6.Add(address);
        }
    }
    return families;
}

Families storable(const std::vector<IpAddressBytes>& addresses) {
    Families families = sorted(addresses);
    if (!families.Fit()) {
        PNI_TRACE(2,
                  "\nEM_PNI NIC_LocalPniPortFunctionArea::ToPniFruDataPortFnSpecific() : WARNING! "
                  "Could not set IP address array!");
        return {};
    }
    PNI_TRACE(5,
              "\nEM_PNI NIC_LocalPniPortFunctionArea::ToPniFruDataPortFnSpecific() : Added %u ip "
              "addresses (%u bytes).",
              static_cast<unsigned>(families.ipv4.count + families.ipv6.count),
              static_cast<unsigned>(families.Size()));
    return families;
}

// `size` and what it takes to let the function end at a multiple of 4 bytes; 0 when that is too
// long.
std::size_t alignedSize(std::size_t size) {
    const std::size_t rest = (Function::commonSize + size) % Function::lengthUnit;
    const std::size_t overflow = rest == 0 ? 0 : Function::lengthUnit - rest;
    const std::size_t aligned = size + overflow;
    PNI_TRACE(5,
              "\nEM_PNI CPniPortFnNic::GetSize() : Size [%u] Overflow Bytes [%u] Aligned Size [%u]",
              static_cast<unsigned>(size), static_cast<unsigned>(overflow),
              static_cast<unsigned>(aligned));
    if (aligned > maxSize) {
        PNI_TRACE(1,
                  "\nEM_PNI CPniPortFnNic::GetSize() : ERROR! Aligned size is bigger than "
                  "structure size!");
        return 0;
    }
    return aligned;
}

void setOptionRom(CAreaBytes& area, std::size_t offset, const std::string& version,
                  const char* prefix) {
    const std::string text = version.empty() ? "N/A" : version.substr(0, layout::optionRomSize - 1);
    if (!area.Text(offset, layout::optionRomSize, text)) {
        PNI_TRACE(2,
                  "\nEM_PNI %s_LocalPniPortFunctionArea::ToPniFruDataPortFnSpecific() : WARNING! "
                  "Could not set oprom version!",
                  prefix);
    }
}

std::vector<std::uint8_t> created(CAreaBytes&& area, const char* prefix) {
    auto bytes = std::move(area).Take();
    PNI_TRACE(3,
              "\nEM_PNI %s_LocalPniPortFunctionArea::ToPniFruDataPortFnSpecific() : Created %s "
              "Specific function area (%u bytes).",
              prefix, prefix, static_cast<unsigned>(bytes.size()));
    return bytes;
}

}  // namespace

std::vector<std::uint8_t> nicSpecificArea(const AdapterFacts& facts,
                                          const std::vector<IpAddressBytes>& ipAddresses) {
    const Families families = storable(ipAddresses);
    // The record's writers count the counter twice.
    const std::size_t size = alignedSize(Nic::ipAddresses + families.Size() + 1);
    if (size == 0) {
        return {};
    }
    CAreaBytes area(size);
    area.Bytes(Nic::manufactureMac, facts.permanentMac.value_or(MacAddress{}));
    area.Bytes(Nic::activeMac, facts.activeMac.value_or(MacAddress{}));
    setOptionRom(area, Nic::optionRom, facts.optionRom, "NIC");
    area.U8(Nic::ipCounters,
            static_cast<std::uint8_t>(families.ipv6.count << 4U | families.ipv4.count));
    area.Bytes(Nic::ipAddresses, families.ipv4.bytes);
    area.Bytes(Nic::ipAddresses + families.ipv4.bytes.size(), families.ipv6.bytes);
    return created(std::move(area), "NIC");
}

std::vector<std::uint8_t> fcSpecificArea(const std::string& nodeName, const std::string& portName,
                                         const std::string& optionRom) {
    CAreaBytes area(alignedSize(Fc::optionRom + layout::optionRomSize));
    const std::vector<std::uint8_t> node(nodeName.begin(), nodeName.end());
    const std::vector<std::uint8_t> port(portName.begin(), portName.end());
    area.Bytes(Fc::manufactureWwnn, node);
    area.Bytes(Fc::manufactureWwpn, port);
    area.Bytes(Fc::activeWwnn, node);
    area.Bytes(Fc::activeWwpn, port);
    setOptionRom(area, Fc::optionRom, optionRom, "FC");
    return created(std::move(area), "FC");
}

}  // namespace em_pni
