#include "adapters/function_specific_area.h"

#include "frudata/address_text.h"
#include "frudata/layout.h"
#include "platform/bytes.h"
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

    void Add(const IpAddress& address) {
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

Families sorted(const std::vector<IpAddress>& addresses) {
    Families families;
    for (const IpAddress& address : addresses) {
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

Families storable(const std::vector<IpAddress>& addresses) {
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

void setOptionRom(CByteEditor area, std::size_t offset, const std::string& version,
                  const char* prefix) {
    const std::string text = version.empty() ? "N/A" : version.substr(0, layout::optionRomSize - 1);
    if (!area.PutText(offset, layout::optionRomSize, text)) {
        PNI_TRACE(2,
                  "\nEM_PNI %s_LocalPniPortFunctionArea::ToPniFruDataPortFnSpecific() : WARNING! "
                  "Could not set oprom version!",
                  prefix);
    }
}

void traceCreated(std::size_t size, const char* prefix) {
    PNI_TRACE(3,
              "\nEM_PNI %s_LocalPniPortFunctionArea::ToPniFruDataPortFnSpecific() : Created %s "
              "Specific function area (%u bytes).",
              prefix, prefix, static_cast<unsigned>(size));
}

}  // namespace

std::vector<std::uint8_t> nicSpecificArea(const AdapterFacts& facts,
                                          const std::vector<IpAddress>& ipAddresses) {
    const Families families = storable(ipAddresses);
    // The record's writers count the counter twice.
    const std::size_t size = alignedSize(Nic::ipAddresses + families.Size() + 1);
    if (size == 0) {
        return {};
    }
    std::vector<std::uint8_t> bytes(size);
    CByteEditor area(bytes);
    area.Put(Nic::manufactureMac, facts.permanentMac);
    area.Put(Nic::activeMac, facts.activeMac);
    setOptionRom(area, Nic::optionRom, facts.optionRom, "NIC");
    area.PutU8(Nic::ipCounters,
               static_cast<std::uint8_t>(families.ipv6.count << 4U | families.ipv4.count));
    area.Put(Nic::ipAddresses, families.ipv4.bytes);
    area.Put(Nic::ipAddresses + families.ipv4.bytes.size(), families.ipv6.bytes);
    traceCreated(bytes.size(), "NIC");
    return bytes;
}

std::vector<std::uint8_t> fcSpecificArea(const std::string& nodeName, const std::string& portName,
                                         const std::string& optionRom) {
    std::vector<std::uint8_t> bytes(alignedSize(Fc::optionRom + layout::optionRomSize));
    CByteEditor area(bytes);
    const std::vector<std::uint8_t> node(nodeName.begin(), nodeName.end());
    const std::vector<std::uint8_t> port(portName.begin(), portName.end());
    area.Put(Fc::manufactureWwnn, node);
    area.Put(Fc::manufactureWwpn, port);
    area.Put(Fc::activeWwnn, node);
    area.Put(Fc::activeWwpn, port);
    setOptionRom(area, Fc::optionRom, optionRom, "FC");
    traceCreated(bytes.size(), "FC");
    return bytes;
}

}  // namespace em_pni
