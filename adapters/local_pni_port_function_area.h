// What the record says about one function of a port. A port has one function here.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "adapters/technology.h"
#include "devscan/system_adapter.h"
#include "platform/address.h"

namespace em_pni {

// The order of the virtual operations is fixed. Unknown ids and addresses are 0 or empty.
class LocalPniPortFunctionArea {
  public:
    virtual ~LocalPniPortFunctionArea();
    LocalPniPortFunctionArea& operator=(const LocalPniPortFunctionArea&) = delete;

    [[nodiscard]] virtual PhysicalAddress GetPhysicalAddress() const = 0;
    [[nodiscard]] virtual std::unique_ptr<LocalPniPortFunctionArea> Clone() const = 0;
    virtual void MarkLast() = 0;
    [[nodiscard]] virtual bool IsLast() const = 0;
    [[nodiscard]] virtual bool IsEnabled() const = 0;
    [[nodiscard]] virtual std::uint32_t GetFunctionNumber() const = 0;  // from 0, in its port
    [[nodiscard]] virtual std::uint8_t GetFunctionReserved() const = 0;
    [[nodiscard]] virtual std::string GetFunctionLabel() const = 0;
    [[nodiscard]] virtual FunctionTechnology GetTechnology() const = 0;
    // As encodeLinkSpeed has it; may ask the host.
    [[nodiscard]] virtual std::uint16_t GetSpeed() const = 0;
    [[nodiscard]] virtual std::uint16_t GetVlanId() const = 0;
    [[nodiscard]] virtual std::uint8_t GetBandwidth() const = 0;
    [[nodiscard]] virtual std::uint8_t GetRateLimit() const = 0;
    [[nodiscard]] virtual std::uint8_t GetBootFlags() const = 0;
    // Vendor in the high half, device in the low one.
    [[nodiscard]] virtual std::uint32_t GetVendorDeviceId() const = 0;
    [[nodiscard]] virtual std::uint32_t GetSubVendorDeviceId() const = 0;
    // Segment in bits 16-31, bus in 8-15, device in 3-7, function in 0-2.
    [[nodiscard]] virtual std::uint32_t GetPciPFA() const = 0;
    // The area with the addresses as the record holds it; empty when they have no room there. May
    // ask the host.
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
    [[nodiscard]] FunctionTechnology GetTechnology() const override {
        return Technology::technologyType;
    }
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
    // Borrows the context from its adapter.
    NIC_LocalPniPortFunctionArea(std::uint32_t functionNumber, const CSystemAdapter& adapter,
                                 bool last, NetInterfaceConnectionContext* context)
        : LocalPniPortFunctionAreaOf(functionNumber, adapter, last), context_(context) {}

    [[nodiscard]] PhysicalAddress GetPhysicalAddress() const override;
    [[nodiscard]] std::uint16_t GetSpeed() const override;
    [[nodiscard]] std::vector<std::uint8_t> ToPniFruDataPortFnSpecific() const override;

    void Attach(NetInterfaceConnectionContext* context) noexcept { context_ = context; }

  private:
    NetInterfaceConnectionContext* context_;
};

class FC_LocalPniPortFunctionArea final : public LocalPniPortFunctionAreaOf<FcTechnology> {
  public:
    FC_LocalPniPortFunctionArea(std::uint32_t functionNumber, const CSystemAdapter& adapter,
                                bool last, FcTechnology::BorrowedContext /*context*/)
        : LocalPniPortFunctionAreaOf(functionNumber, adapter, last) {}

    [[nodiscard]] PhysicalAddress GetPhysicalAddress() const override;
    [[nodiscard]] std::uint16_t GetSpeed() const override { return 0; }
    [[nodiscard]] std::vector<std::uint8_t> ToPniFruDataPortFnSpecific() const override;

    // 0 when not known.
    [[nodiscard]] WorldWideName GetActivePortWWNAddress() const;
    [[nodiscard]] WorldWideName GetActiveNodeWWNAddress() const;
    // 16 upper-case digits.
    [[nodiscard]] std::string GetActivePortWWNAddressAscii() const;
    [[nodiscard]] std::string GetActiveNodeWWNAddressAscii() const;

    void Attach(FcTechnology::BorrowedContext /*context*/) noexcept {}
};

}  // namespace em_pni
