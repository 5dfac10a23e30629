// What the record says about an adapter as a whole.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "adapters/device_to_adapters_map.h"
#include "adapters/technology.h"

namespace em_pni {

// The order of the virtual operations is fixed.
class LocalPniModuleArea {
  public:
    virtual ~LocalPniModuleArea();
    LocalPniModuleArea& operator=(const LocalPniModuleArea&) = delete;

    [[nodiscard]] virtual bool IsEnabled() const = 0;
    [[nodiscard]] virtual std::uint32_t GetPortCount() const = 0;
    [[nodiscard]] virtual ModuleTechnology GetModuleTypeCode() const = 0;
    [[nodiscard]] virtual ModuleType GetModuleType() const = 0;
    [[nodiscard]] virtual std::string GetFirmwareVersion() const = 0;
    // 0 = onboard. False, and `slot` as it was, when it is not known.
    virtual bool GetAdapterSlotNo(std::uint32_t& slot) const = 0;
    [[nodiscard]] virtual std::unique_ptr<LocalPniModuleArea> Clone() const = 0;
    [[nodiscard]] virtual std::string GetModuleName() const = 0;

    // The area as the record holds it. A text that does not fit leaves its field empty.
    [[nodiscard]] std::vector<std::uint8_t> ToPniFruDataModule() const;

  protected:
    explicit LocalPniModuleArea(std::uint32_t portCount) noexcept : portCount_(portCount) {}
    LocalPniModuleArea(const LocalPniModuleArea&) = default;

    std::uint32_t portCount_;
};

// Borrows the functions of the device, and what it asks the host with, from its adapter.
template <class Technology>
class LocalPniModuleAreaOf final : public LocalPniModuleArea {
  public:
    using Functions = DeviceToAdaptersMap::FunctionMap;
    using Context = typename Technology::BorrowedContext;

    LocalPniModuleAreaOf(std::uint32_t portCount, const Functions& functions, Context context)
        : LocalPniModuleArea(portCount), functions_(&functions), context_(context) {}
    LocalPniModuleAreaOf(const LocalPniModuleAreaOf&) = default;
    ~LocalPniModuleAreaOf() override;

    [[nodiscard]] bool IsEnabled() const override { return true; }
    [[nodiscard]] std::uint32_t GetPortCount() const override { return portCount_; }
    [[nodiscard]] ModuleTechnology GetModuleTypeCode() const override {
        return Technology::moduleTypeCode;
    }
    [[nodiscard]] ModuleType GetModuleType() const override;
    [[nodiscard]] std::string GetFirmwareVersion() const override { return "N/A"; }
    bool GetAdapterSlotNo(std::uint32_t& slot) const override;
    [[nodiscard]] std::unique_ptr<LocalPniModuleArea> Clone() const override;
    [[nodiscard]] std::string GetModuleName() const override;

    // Borrows from another adapter from now on: the one that the clone belongs to.
    void Attach(const Functions& functions, Context context) noexcept;

  private:
    const Functions* functions_;
    [[no_unique_address]] Context context_;
};

using NIC_LocalPniModuleArea = LocalPniModuleAreaOf<NicTechnology>;
using FC_LocalPniModuleArea = LocalPniModuleAreaOf<FcTechnology>;

extern template class LocalPniModuleAreaOf<NicTechnology>;
extern template class LocalPniModuleAreaOf<FcTechnology>;

}  // namespace em_pni
