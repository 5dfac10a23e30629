// What the record says about one function of a port. On this machine a port has one function.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "adapters/technology.h"
#include "devscan/system_adapter.h"
#include "platform/address.h"

namespace em_pni {

// The order of the virtual functions is fixed. Ids that are not known are 0, addresses are empty.
class LocalPniPortFunctionArea {
  public:
    virtual ~LocalPniPortFunctionArea();
    LocalPniPortFunctionArea& operator=(const LocalPniPortFunctionArea&) = delete;

    [[nodiscard]] virtual PhysicalAddress GetPhysicalAddress() const = 0;
    [[nodiscard]] virtual std::unique_ptr<LocalPniPortFunctionArea> Clone() const = 0;
    virtual void MarkLast() = 0;
    [[nodiscard]] virtual bool IsLast() const = 0;
    [[nodiscard]] virtual bool IsEnabled() const = 0;
    [[nodiscard]] virtual std::uint32_t GetFunctionNumber() const = 0;  // in its port, from 0
    [[nodiscard]] virtual std::uint8_t GetFunctionReserved() const = 0;
    [[nodiscard]] virtual std::string GetFunctionLabel() const = 0;
    [[nodiscard]] virtual FunctionTechnology GetTechnology() const = 0;
    // Unit in bits 14-15: 0 = 1 Mbit/s, 1 = 1 Gbit/s, 2 = 10 Gbit/s. Magnitude in that unit,
    // rounded down, in bits 0-13. 0 = not known. May ask the host and wait for it.
    [[nodiscard]] virtual std::uint16_t GetSpeed() const = 0;
    [[nodiscard]] virtual std::uint16_t GetVlanId() const = 0;
    [[nodiscard]] virtual std::uint8_t GetBandwidth() const = 0;
    [[nodiscard]] virtual std::uint8_t GetRateLimit() const = 0;
    [[nodiscard]] virtual std::uint8_t GetBootFlags() const = 0;
    // Vendor in bits 16-31, device in bits 0-15.
    [[nodiscard]] virtual std::uint32_t GetVendorDeviceId() const = 0;
    [[nodiscard]] virtual std::uint32_t GetSubVendorDeviceId() const = 0;
    // The packed PCI address.
    [[nodiscard]] virtual std::uint32_t GetPciPFA() const = 0;
    // The bytes of the area with the addresses in the record. Empty when the addresses do not fit.
    // May ask the host and wait for it.
    [[nodiscard]] virtual std::vector<std::uint8_t> ToPniFruDataPortFnSpecific() const = 0;

  protected:
    LocalPniPortFunctionArea(std::uint32_t functionNumber, CSystemAdapter adapter, bool last)
        : functionNumber_(functionNumber), adapter_(std::move(adapter)), last_(last) {}
    LocalPniPortFunctionArea(const LocalPniPortFunctionArea&) = default;

    std::uint32_t functionNumber_;
    CSystemAdapter adapter_;
    bool last_;
};

template <class Technology>
class LocalPniPortFunctionAreaOf : public LocalPniPortFunctionArea {
  public:
    ~LocalPniPortFunctionAreaOf() override;

    [[nodiscard]] std::unique_ptr<LocalPniPortFunctionArea> Clone() const override;
    void MarkLast() override { last_ = true; }
    [[nodiscard]] bool IsLast() const override { return last_; }
    [[nodiscard]] bool IsEnabled() const override { return true; }
    [[nodiscard]] std::uint32_t GetFunctionNumber() const override { return functionNumber_; }
    [[nodiscard]] std::uint8_t GetFunctionReserved() const override { return 0; }
    [[nodiscard]] std::string GetFunctionLabel() const override { return "Unknown"; }
    [[nodiscard]] FunctionTechnology GetTechnology() const override { return Technology::function; }
    [[nodiscard]] std::uint16_t GetVlanId() const override { return 0; }
    [[nodiscard]] std::uint8_t GetBandwidth() const override { return 0; }
    [[nodiscard]] std::uint8_t GetRateLimit() const override { return 0; }
    [[nodiscard]] std::uint8_t GetBootFlags() const override { return 0; }
    [[nodiscard]] std::uint32_t GetVendorDeviceId() const override;
    [[nodiscard]] std::uint32_t GetSubVendorDeviceId() const override;
    [[nodiscard]] std::uint32_t GetPciPFA() const override;

  protected:
    using LocalPniPortFunctionArea::LocalPniPortFunctionArea;
    LocalPniPortFunctionAreaOf(const LocalPniPortFunctionAreaOf&) = default;
};

extern template class LocalPniPortFunctionAreaOf<NicTechnology>;
extern template class LocalPniPortFunctionAreaOf<FcTechnology>;

class NIC_LocalPniPortFunctionArea final : public LocalPniPortFunctionAreaOf<NicTechnology> {
  public:
    // `context` must not be null.
    NIC_LocalPniPortFunctionArea(std::uint32_t functionNumber, const CSystemAdapter& adapter,
                                 bool last, NicTechnology::Context context)
        : LocalPniPortFunctionAreaOf(functionNumber, adapter, last), context_(std::move(context)) {}

    [[nodiscard]] PhysicalAddress GetPhysicalAddress() const override;
    [[nodiscard]] std::uint16_t GetSpeed() const override;
    [[nodiscard]] std::vector<std::uint8_t> ToPniFruDataPortFnSpecific() const override;

  private:
    NicTechnology::Context context_;
};

class FC_LocalPniPortFunctionArea final : public LocalPniPortFunctionAreaOf<FcTechnology> {
  public:
    FC_LocalPniPortFunctionArea(std::uint32_t functionNumber, const CSystemAdapter& adapter,
                                bool last, FcTechnology::Context /*context*/)
        : LocalPniPortFunctionAreaOf(functionNumber, adapter, last) {}

    [[nodiscard]] PhysicalAddress GetPhysicalAddress() const override;
    [[nodiscard]] std::uint16_t GetSpeed() const override { return 0; }
    [[nodiscard]] std::vector<std::uint8_t> ToPniFruDataPortFnSpecific() const override;

  private:
    // 0 = not known.
    [[nodiscard]] WorldWideName GetActivePortWWNAddress() const;
    [[nodiscard]] WorldWideName GetActiveNodeWWNAddress() const;
    // 16 upper-case hexadecimal digits.
    [[nodiscard]] std::string GetActivePortWWNAddressAscii() const;
    [[nodiscard]] std::string GetActiveNodeWWNAddressAscii() const;
};

}  // namespace em_pni
