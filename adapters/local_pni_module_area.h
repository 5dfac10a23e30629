// What the record says about an adapter as a whole.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "adapters/device_to_adapters_map.h"
#include "adapters/technology.h"

namespace em_pni {

// The order of the virtual functions is fixed.
class LocalPniModuleArea {
  public:
    virtual ~LocalPniModuleArea();
    LocalPniModuleArea& operator=(const LocalPniModuleArea&) = delete;

    [[nodiscard]] virtual bool IsEnabled() const = 0;
    [[nodiscard]] virtual std::uint32_t GetPortCount() const = 0;
    [[nodiscard]] virtual ModuleTechnology GetModuleTypeCode() const = 0;
    // Onboard for slot 0, unknown without a slot number, else an add-in card.
    [[nodiscard]] virtual ModuleType GetModuleType() const = 0;
    [[nodiscard]] virtual std::string GetFirmwareVersion() const = 0;
    // Writes the slot number of the device to `slot`; 0 is onboard. When the number is not known,
    // returns false and does not write.
    virtual bool GetAdapterSlotNo(std::uint32_t& slot) const = 0;
    [[nodiscard]] virtual std::unique_ptr<LocalPniModuleArea> Clone() const = 0;
    [[nodiscard]] virtual std::string GetModuleName() const = 0;

    // The bytes of the area in the record. Its end mark is not set.
    [[nodiscard]] std::vector<std::uint8_t> ToPniFruDataModule() const;

  protected:
    LocalPniModuleArea() = default;
    LocalPniModuleArea(const LocalPniModuleArea&) = default;
};

// Shares the functions of the device with its adapter. Each function is one port.
template <class Technology>
class LocalPniModuleAreaOf final : public LocalPniModuleArea {
  public:
    using Device = std::shared_ptr<const DeviceToAdaptersMap>;

    explicit LocalPniModuleAreaOf(Device device) : device_(std::move(device)) {}
    LocalPniModuleAreaOf(const LocalPniModuleAreaOf&) = default;
    ~LocalPniModuleAreaOf() override;

    [[nodiscard]] bool IsEnabled() const override { return true; }
    [[nodiscard]] std::uint32_t GetPortCount() const override {
        return static_cast<std::uint32_t>(device_->Functions().size());
    }
    [[nodiscard]] ModuleTechnology GetModuleTypeCode() const override { return Technology::module; }
    [[nodiscard]] ModuleType GetModuleType() const override;
    [[nodiscard]] std::string GetFirmwareVersion() const override { return "N/A"; }
    bool GetAdapterSlotNo(std::uint32_t& slot) const override;
    [[nodiscard]] std::unique_ptr<LocalPniModuleArea> Clone() const override;
    [[nodiscard]] std::string GetModuleName() const override;

  private:
    Device device_;
};

using NIC_LocalPniModuleArea = LocalPniModuleAreaOf<NicTechnology>;
using FC_LocalPniModuleArea = LocalPniModuleAreaOf<FcTechnology>;

extern template class LocalPniModuleAreaOf<NicTechnology>;
extern template class LocalPniModuleAreaOf<FcTechnology>;

}  // namespace em_pni
