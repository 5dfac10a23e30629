// The functions of one PCI device, and the kind of card that they are.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "devscan/system_adapter.h"

namespace em_pni {

struct DeviceToAdaptersMapID {
    std::uint16_t segment = 0;
    std::uint8_t bus = 0;
    std::uint8_t device = 0;

    [[nodiscard]] static DeviceToAdaptersMapID Of(const PciAddress& function) noexcept {
        return {.segment = function.segment, .bus = function.bus, .device = function.device};
    }
    friend bool operator==(const DeviceToAdaptersMapID&, const DeviceToAdaptersMapID&) = default;
};

class DeviceToAdaptersMap {
  public:
    using FunctionMap = std::map<std::uint8_t, CSystemAdapter>;  // by PCI function number

    explicit DeviceToAdaptersMap(const DeviceToAdaptersMapID& id) : id_(id) {}

    // Keeps a copy, unless there is a function with this number already.
    void Insert(const CSystemAdapter& adapter);

    [[nodiscard]] const DeviceToAdaptersMapID& Id() const noexcept { return id_; }
    [[nodiscard]] const FunctionMap& Functions() const noexcept { return functions_; }

    // Whether this is a network card or a Fibre Channel card. Reads sysfs.
    [[nodiscard]] bool IsPniAdapter() const;
    // Whether all functions are network functions, and no function is InfiniBand or Fibre Channel.
    // Reads sysfs to find InfiniBand ports.
    [[nodiscard]] bool IsNetworkInterfaceCard() const;
    // Whether one function is a Fibre Channel function.
    [[nodiscard]] bool IsFibreChannelCard() const noexcept;

    // Several lines for the trace. Looks up names and may run lspci.
    [[nodiscard]] std::string GetStrDump() const;

  private:
    DeviceToAdaptersMapID id_;
    FunctionMap functions_;
};

// Groups the functions by device. The order of the devices is that of their first functions. Leaves
// out functions whose PCI address is not known.
std::vector<DeviceToAdaptersMap> groupByDevice(const std::vector<CSystemAdapter>& adapters);

}  // namespace em_pni
