// One network or Fibre Channel device of this machine, in the shape of a module of the record: one
// module area, and for every PCI function a port area with one function area.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "adapters/local_pni_module_area.h"
#include "adapters/local_pni_port_area.h"

namespace em_pni {

// Owns its areas. It clones the areas that it is given and lends the areas that it returns. An
// adapter and its clones may be used by one thread at a time. Functions throw std::logic_error
// unless their comment names another exception. The order of the virtual functions is fixed.
class LocalPniAdapter {
  public:
    using PortAreaList = std::vector<std::unique_ptr<LocalPniPortArea>>;  // in port order

    virtual ~LocalPniAdapter();
    LocalPniAdapter& operator=(const LocalPniAdapter&) = delete;

    [[nodiscard]] virtual std::unique_ptr<LocalPniAdapter> Clone() const = 0;
    // Asks the host about its interfaces, then replaces all areas by new ones. Throws
    // std::runtime_error when the host does not answer, and leaves the areas unchanged.
    virtual void Collect() = 0;

    // "LocalPniAdapter::SetLocalPniModuleArea() : Called with NULL parameter."
    // "LocalPniAdapter::SetLocalPniModuleArea() : Could not clone port area."
    void SetLocalPniModuleArea(const LocalPniModuleArea* area);
    // "LocalPniAdapter::AddLocalPniPortArea() : Called with NULL parameter."
    // "LocalPniAdapter::AddLocalPniPortArea() : Could not clone port area."
    void AddLocalPniPortArea(const LocalPniPortArea* area);
    // "LocalPniAdapter::GetLocalPniModuleArea() : Called on invalid object."
    [[nodiscard]] const LocalPniModuleArea& GetLocalPniModuleArea() const;
    // "LocalPniAdapter::GetLocalPniPortAreaList() : Called on invalid object."
    [[nodiscard]] const PortAreaList& GetLocalPniPortAreaList() const;

    // Whether there is a module area and each port area has a function area.
    [[nodiscard]] bool IsValid() const;
    // Frees all areas.
    void CleanupAll() noexcept;
    // One entry per function, in port order. The entry of a function without an address is empty.
    [[nodiscard]] std::vector<PhysicalAddress> GetFuncPhysicalAddress() const;

    // Returns the adapter as the bytes of a module of the record. The id of the module is the slot
    // number, or 0 when it is not known; its end mark is not set. Asks the host for addresses and
    // speeds and waits for it. Throws std::runtime_error when an area cannot be built, and the
    // exceptions of the two Get functions above for an invalid adapter.
    [[nodiscard]] std::vector<std::uint8_t> ToPniFruDataStreamModule() const;
    // Returns the common part of a function. `specificSize` is the number of bytes that follow it.
    // Throws std::runtime_error when the whole function is not a multiple of 4 bytes long.
    [[nodiscard]] static std::vector<std::uint8_t> ToPniFruDataPortFnCommon(
        const LocalPniPortFunctionArea& function, std::size_t specificSize);
    static void AppendToDataStream(std::vector<std::uint8_t>& stream,
                                   std::span<const std::uint8_t> area, const char* areaName);

  protected:
    LocalPniAdapter() = default;
    // Clones the areas.
    LocalPniAdapter(const LocalPniAdapter& other);

    std::unique_ptr<LocalPniModuleArea> moduleArea_;  // null until set
    PortAreaList portAreas_;

  private:
    static void AppendPort(std::vector<std::uint8_t>& stream, const LocalPniPortArea& port);
    static void AppendPortFunction(std::vector<std::uint8_t>& stream,
                                   const LocalPniPortFunctionArea& function);
};

template <class Technology>
class LocalPniAdapterOf final : public LocalPniAdapter {
  public:
    // `connection` must outlive the adapter and its clones. A null connection answers nothing.
    // Adapters of one collection hand on in `shared` what they read from the host; null for an
    // adapter that is made alone.
    LocalPniAdapterOf(DeviceToAdaptersMap device, CKrcpConnection* connection, std::int32_t cabinet,
                      const std::shared_ptr<SharedHostInterfaces>& shared = nullptr);
    LocalPniAdapterOf(const LocalPniAdapterOf&) = default;
    ~LocalPniAdapterOf() override;

    [[nodiscard]] std::unique_ptr<LocalPniAdapter> Clone() const override;
    void Collect() override;

  private:
    std::shared_ptr<const DeviceToAdaptersMap> device_;
    [[no_unique_address]] typename Technology::Context context_;
};

using NIC_LocalPniAdapter = LocalPniAdapterOf<NicTechnology>;
using FC_LocalPniAdapter = LocalPniAdapterOf<FcTechnology>;

extern template class LocalPniAdapterOf<NicTechnology>;
extern template class LocalPniAdapterOf<FcTechnology>;

}  // namespace em_pni
