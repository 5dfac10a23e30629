// What the record says about one port of an adapter. Each PCI function is a port.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "adapters/local_pni_port_function_area.h"

namespace em_pni {

// Owns the function areas of the port. The order of the virtual functions is fixed.
class LocalPniPortArea {
  public:
    using FunctionAreaList = std::vector<std::unique_ptr<LocalPniPortFunctionArea>>;

    virtual ~LocalPniPortArea();
    LocalPniPortArea& operator=(const LocalPniPortArea&) = delete;

    [[nodiscard]] virtual std::uint32_t GetPortNumber() const = 0;  // from 0
    virtual void MarkLast() = 0;
    [[nodiscard]] virtual bool IsLast() const = 0;
    [[nodiscard]] virtual bool IsEnabled() const = 0;
    [[nodiscard]] virtual std::uint8_t GetWolBehaviour() const = 0;
    [[nodiscard]] virtual std::unique_ptr<LocalPniPortArea> Clone() const = 0;

    // Appends a clone of the area. Throws std::logic_error when `area` is null or cannot be cloned.
    void AddLocalPniPortFunctionArea(const LocalPniPortFunctionArea* area);
    [[nodiscard]] const FunctionAreaList& GetLocalPniPortFunctionAreaList() const noexcept {
        return functionAreas_;
    }
    // Frees the function areas.
    void CleanupAll() noexcept;

    // The bytes of the port's header in the record.
    [[nodiscard]] std::vector<std::uint8_t> ToPniFruDataPort() const;

  protected:
    LocalPniPortArea(std::uint32_t portNumber, bool last) noexcept
        : portNumber_(portNumber), last_(last) {}
    // Clones the function areas.
    LocalPniPortArea(const LocalPniPortArea& other);

    FunctionAreaList functionAreas_;
    std::uint32_t portNumber_;
    bool last_;
};

template <class Technology>
class LocalPniPortAreaOf final : public LocalPniPortArea {
  public:
    LocalPniPortAreaOf(std::uint32_t portNumber, bool last);
    LocalPniPortAreaOf(const LocalPniPortAreaOf&) = default;
    ~LocalPniPortAreaOf() override;

    [[nodiscard]] std::uint32_t GetPortNumber() const override { return portNumber_; }
    void MarkLast() override;
    [[nodiscard]] bool IsLast() const override { return last_; }
    [[nodiscard]] bool IsEnabled() const override { return true; }
    [[nodiscard]] std::uint8_t GetWolBehaviour() const override { return 0; }
    [[nodiscard]] std::unique_ptr<LocalPniPortArea> Clone() const override;
};

using NIC_LocalPniPortArea = LocalPniPortAreaOf<NicTechnology>;
using FC_LocalPniPortArea = LocalPniPortAreaOf<FcTechnology>;

extern template class LocalPniPortAreaOf<NicTechnology>;
extern template class LocalPniPortAreaOf<FcTechnology>;

}  // namespace em_pni
