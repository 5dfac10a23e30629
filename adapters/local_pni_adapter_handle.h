// The adapters that this machine has right now.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "adapters/local_pni_adapter.h"

namespace em_pni {

// Owns at most one adapter; a copy owns a clone of it. Belongs to one thread at a time.
class LocalPniAdapterHandle {
  public:
    // Builds and collects the adapter of the device. Empty for a device that is no network and no
    // Fibre Channel card, and when anything goes wrong. `connection` must outlive the handle and
    // its copies; null = there is none, and Ethernet adapters cannot be collected. `shared`: of the
    // collection that the handle belongs to.
    LocalPniAdapterHandle(const DeviceToAdaptersMap& device, CKrcpConnection* connection,
                          std::int32_t cabinet,
                          const std::shared_ptr<SharedHostInterfaces>& shared = nullptr);
    LocalPniAdapterHandle(const LocalPniAdapterHandle& other);
    LocalPniAdapterHandle(LocalPniAdapterHandle&& other) noexcept = default;
    LocalPniAdapterHandle& operator=(const LocalPniAdapterHandle&) = delete;
    ~LocalPniAdapterHandle();

    [[nodiscard]] const DeviceToAdaptersMapID& DeviceId() const noexcept { return deviceId_; }
    [[nodiscard]] bool HasAdapter() const noexcept { return adapter_ != nullptr; }
    // Borrowed. std::logic_error "LocalPniAdapterHandle::Get() Called on invalid object"
    [[nodiscard]] LocalPniAdapter& Get() const;

    // Scans the machine once; one handle for every adapter that could be collected. The host is
    // asked about its interfaces, so this can block for as long as the host does.
    // Adapters that are there but could not be collected go to `uncollected`, null = nobody asks.
    // std::runtime_error "GetLocalNetworkAdapters() : ScanSystemAdapters failed"
    [[nodiscard]] static std::vector<LocalPniAdapterHandle> GetLocalNetworkAdapters(
        CMachine& machine, CKrcpConnection* connection, std::int32_t cabinet,
        std::vector<DeviceToAdaptersMapID>* uncollected = nullptr);

  private:
    DeviceToAdaptersMapID deviceId_;
    std::unique_ptr<LocalPniAdapter> adapter_;
};

}  // namespace em_pni
