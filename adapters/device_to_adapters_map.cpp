#include "adapters/device_to_adapters_map.h"

#include <algorithm>

#include "platform/number.h"
#include "platform/text.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

bool isEthernet(const CSystemAdapter& adapter) {
    return equalIgnoringCase(adapter.ClassName(), "Net") && !adapter.IsInfinibandAdapter() &&
           adapter.ClassCode() != pciClassFibreChannel;
}

std::string functionLine(std::uint8_t number, const CSystemAdapter& adapter) {
    const std::string name = adapter.Names().device;
    const std::string className = adapter.ClassName();
    if (name.empty()) {
        PNI_TRACE(5, "\nEM_PNI DeviceToAdaptersMap::GetStrDump() : Could not get adapter name.");
    }
    if (className.empty()) {
        PNI_TRACE(5, "\nEM_PNI DeviceToAdaptersMap::GetStrDump() : Could not get adapter class.");
    }
    return "\n\t-> " + std::to_string(number) + " : [" + name + "]\t" + className;
}

}  // namespace

void DeviceToAdaptersMap::Insert(const CSystemAdapter& adapter) {
    functions_.emplace(adapter.Address().function, adapter);
}

bool DeviceToAdaptersMap::IsPniAdapter() const {
    if (functions_.empty()) {
        PNI_TRACE(5, "\nEM_PNI DeviceToAdaptersMap::IsPniAdapter() : No functions for device.");
        return false;
    }
    return IsNetworkInterfaceCard() || IsFibreChannelCard();
}

bool DeviceToAdaptersMap::IsNetworkInterfaceCard() const {
    return !functions_.empty() &&
           std::all_of(functions_.begin(), functions_.end(),
                       [](const auto& function) { return isEthernet(function.second); });
}

bool DeviceToAdaptersMap::IsFibreChannelCard() const noexcept {
    return std::any_of(functions_.begin(), functions_.end(), [](const auto& function) {
        return function.second.ClassCode() == pciClassFibreChannel;
    });
}

std::string DeviceToAdaptersMap::GetStrDump() const {
    std::string dump = "Device " + lowerHex(id_.segment, 4) + ":" + lowerHex(id_.bus, 2) + ":" +
                       lowerHex(id_.device, 2) + " Type : ";
    dump += IsNetworkInterfaceCard() ? "Network Interface Card (Ethernet)"
            : IsFibreChannelCard()   ? "FibreChannel Adapter"
                                     : "Unknown";
    for (const auto& [number, adapter] : functions_) {
        dump += functionLine(number, adapter);
    }
    return dump;
}

std::vector<DeviceToAdaptersMap> groupByDevice(const std::vector<CSystemAdapter>& adapters) {
    std::vector<DeviceToAdaptersMap> devices;
    for (const CSystemAdapter& adapter : adapters) {
        const PciAddress& address = adapter.Address();
        if (!address.IsKnown()) {
            continue;
        }
        const auto id = DeviceToAdaptersMapID::Of(address);
        auto device =
            std::find_if(devices.begin(), devices.end(),
                         [&](const DeviceToAdaptersMap& known) { return known.Id() == id; });
        if (device == devices.end()) {
            PNI_TRACE(4,
                      "\nEM_PNI LocalPniAdapterHandle::GetLocalNetworkAdapters() : Adding new "
                      "device.");
            device = devices.insert(device, DeviceToAdaptersMap(id));
        }
        device->Insert(adapter);
    }
    return devices;
}

}  // namespace em_pni
