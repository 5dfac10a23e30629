// The functions of one PCI device, and what kind of card they make it.
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
    // Segment in the high half, bus in bits 8-15, device in bits 0-7.
    [[nodiscard]] std::uint32_t Key() const noexcept {
        return std::uint32_t{segment} << 16U | std::uint32_t{bus} << 8U | device;
    }
    friend bool operator==(const DeviceToAdaptersMapID&, const DeviceToAdaptersMapID&) = default;
};

class DeviceToAdaptersMap {
  public:
    using FunctionMap = std::map<std::uint8_t, CSystemAdapter>;  // by PCI function number

    explicit DeviceToAdaptersMap(const DeviceToAdaptersMapID& id) : id_(id) {}

    // Keeps a copy; the first function with a number stays.
    void Insert(const CSystemAdapter& adapter);

    [[nodiscard]] const DeviceToAdaptersMapID& Id() const noexcept { return id_; }
    [[nodiscard]] const FunctionMap& Functions() const noexcept { return functions_; }

    // Network card or Fibre Channel card. A card with both kinds of functions is a Fibre Channel
    // card. These look into sysfs for InfiniBand ports.
    [[nodiscard]] bool IsPniAdapter() const;
    // All functions are network functions and none is InfiniBand.
    [[nodiscard]] bool IsNetworkInterfaceCard() const;
    [[nodiscard]] bool IsFibreChannelCard() const noexcept;

    // Several lines for the trace. Looks names up, and may run lspci for that.
    [[nodiscard]] std::string GetStrDump() const;

  private:
    DeviceToAdaptersMapID id_;
    FunctionMap functions_;
};

// By device, in the order in which the devices first appear. Functions of unknown address are left
// out.
std::vector<DeviceToAdaptersMap> groupByDevice(const std::vector<CSystemAdapter>& adapters);

}  // namespace em_pni
