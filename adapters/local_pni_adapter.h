// One network or Fibre Channel device of this machine, in the shape of a module of the record: a
// module area, and a port area with its function areas for every PCI function.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "adapters/local_pni_module_area.h"
#include "adapters/local_pni_port_area.h"

namespace em_pni {

// Owns its areas: areas handed in are cloned, areas handed out are borrowed. Belongs to one thread
// at a time. Exceptions are std::logic_error where nothing else is said. The order of the virtual
// operations is fixed.
class LocalPniAdapter {
  public:
    using PortAreaList = std::vector<std::unique_ptr<LocalPniPortArea>>;  // in port order

    virtual ~LocalPniAdapter();
    LocalPniAdapter& operator=(const LocalPniAdapter&) = delete;

    [[nodiscard]] virtual std::unique_ptr<LocalPniAdapter> Clone() const = 0;
    // Builds the areas, in place of those that are there, and asks the host about its interfaces.
    // std::runtime_error when the host does not answer; the areas are then as they were.
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

    // Whether there is a module area and every port area has a function area.
    [[nodiscard]] bool IsValid() const;
    void CleanupAll() noexcept;
    // Of all functions of all ports, in order; entries of functions without an address are empty.
    [[nodiscard]] std::vector<PhysicalAddress> GetFuncPhysicalAddress() const;

    // The adapter as a module of the record: its id is the slot number, or 0 without one, and its
    // end mark is not set. std::runtime_error when an area cannot be built, and the exceptions of
    // the two operations above for an invalid adapter. Asks the host for addresses and speeds.
    [[nodiscard]] std::vector<std::uint8_t> ToPniFruDataStreamModule() const;
    // The common part of a function whose technology's own part has `specificSize` bytes.
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
    // `connection` must outlive the adapter and its clones; null = there is none. `shared`: of the
    // collection that the adapter is made for, null = it is made alone.
    LocalPniAdapterOf(const DeviceToAdaptersMap& device, CKrcpConnection* connection,
                      std::int32_t cabinet,
                      const std::shared_ptr<SharedHostInterfaces>& shared = nullptr);
    LocalPniAdapterOf(const LocalPniAdapterOf& other);
    ~LocalPniAdapterOf() override;

    [[nodiscard]] std::unique_ptr<LocalPniAdapter> Clone() const override;
    void Collect() override;

    [[nodiscard]] std::uint32_t DeviceKey() const noexcept { return device_.Id().Key(); }

  private:
    void AttachAreas() noexcept;

    DeviceToAdaptersMap device_;
    [[no_unique_address]] typename Technology::Context context_;
};

using NIC_LocalPniAdapter = LocalPniAdapterOf<NicTechnology>;
using FC_LocalPniAdapter = LocalPniAdapterOf<FcTechnology>;

extern template class LocalPniAdapterOf<NicTechnology>;
extern template class LocalPniAdapterOf<FcTechnology>;

}  // namespace em_pni
