#include "host/machine/adapter_details.h"

#include <string>

#include "host/machine/pci_vpd.h"
#include "platform/number.h"
#include "platform/text.h"

namespace em_pni {

namespace {

// The address register of the vital product data has 15 bits.
constexpr std::size_t maxVpd = std::size_t{1} << 15U;

std::string textIn(const CFileTree& files, const std::string& path) {
    const auto text = files.ReadAttribute(path);
    return text ? printableText(*text) : std::string();
}

// Empty without a link: the kernel then shows the speed "Unknown" and the width 0 or 255.
void addLink(const CFileTree& files, const std::string& device, AdapterDetails& details) {
    constexpr std::uint64_t maxWidth = 32;
    const auto width = parseDecimal(textIn(files, device + "/current_link_width"), maxWidth);
    std::string speed = textIn(files, device + "/current_link_speed");
    if (width.value_or(0) != 0 && !speed.starts_with("Unknown")) {
        details.linkWidth = static_cast<std::uint32_t>(*width);
        details.linkSpeed = std::move(speed);
    }
}

AdapterDetails detailsOf(const AdapterFacts& facts, const CFileTree& files) {
    AdapterDetails details;
    const std::string device = joinedPath({"sys/bus/pci/devices", pciAddressText(facts.address)});
    addLink(files, device, details);
    if (const auto data = files.ReadFile(device + "/vpd", maxVpd)) {
        PciVpd vpd = parsePciVpd(CByteView(*data));
        details.partNumber = std::move(vpd.partNumber);
        details.serialNumber = std::move(vpd.serialNumber);
    }
    if (!facts.interfaces.empty()) {
        const std::string interface = joinedPath({"sys/class/net", facts.interfaces.front()});
        details.physicalPort = textIn(files, interface + "/phys_port_name");
        if (const auto master = files.ReadLink(interface + "/master")) {
            details.master = master->substr(master->rfind('/') + 1);
        }
    }
    return details;
}

void useIfEmpty(std::string& name, const std::string& other) {
    if (name.empty()) {
        name = other;
    }
}

AdapterNames namesOf(const CSystemAdapter& adapter, CIHardwareNames& database) {
    AdapterNames names = database.Find(adapter.Ids());
    const bool hasSubVendor = !names.subVendor.empty() || adapter.Ids().subVendor == 0;
    if (names.vendor.empty() || names.device.empty() || !hasSubVendor) {
        const AdapterNames others = adapter.Names();
        useIfEmpty(names.vendor, others.vendor);
        useIfEmpty(names.subVendor, others.subVendor);
        useIfEmpty(names.device, others.device);
    }
    return names;
}

}  // namespace

std::vector<AdapterReport> reportAdapters(const std::vector<CSystemAdapter>& adapters,
                                          const CFileTree& files, CIHardwareNames& database) {
    std::vector<AdapterReport> reports;
    reports.reserve(adapters.size());
    for (const CSystemAdapter& adapter : adapters) {
        reports.push_back({adapter.Facts(), adapter.ClassName(), adapter.IsInfinibandAdapter(),
                           namesOf(adapter, database), detailsOf(adapter.Facts(), files)});
    }
    return reports;
}

}  // namespace em_pni
