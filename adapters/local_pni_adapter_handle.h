// The adapters that this machine has at present.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "adapters/local_pni_adapter.h"

namespace em_pni {

// Devices of the machine whose data could not be collected.
struct UncollectedDevices {
    std::vector<DeviceToAdaptersMapID> devices;
    // At least one of them because the host did not answer a question about its interfaces.
    bool hostDidNotAnswer = false;
};

// Owns one adapter or none. A copy owns a clone of the adapter. A handle and its copies may be used
// by one thread at a time.
class LocalPniAdapterHandle {
  public:
    // Builds the adapter of the device and collects its data. The handle has no adapter when the
    // device is neither a network card nor a Fibre Channel card, or when an exception occurs.
    // `connection` must outlive the handle and its copies. A null connection answers nothing, so an
    // Ethernet adapter cannot be collected. `shared` belongs to the collection of the handle.
    LocalPniAdapterHandle(const DeviceToAdaptersMap& device, CKrcpConnection* connection,
                          std::int32_t cabinet,
                          const std::shared_ptr<SharedHostInterfaces>& shared = nullptr);
    LocalPniAdapterHandle(const LocalPniAdapterHandle& other);
    LocalPniAdapterHandle(LocalPniAdapterHandle&& other) noexcept = default;
    LocalPniAdapterHandle& operator=(const LocalPniAdapterHandle&) = delete;
    ~LocalPniAdapterHandle();

    [[nodiscard]] const DeviceToAdaptersMapID& DeviceId() const noexcept { return deviceId_; }
    [[nodiscard]] bool HasAdapter() const noexcept { return adapter_ != nullptr; }
    // Whether there is no adapter because the host did not answer.
    [[nodiscard]] bool HostDidNotAnswer() const noexcept { return hostDidNotAnswer_; }
    // The handle keeps the adapter. Without one, throws
    // std::logic_error "LocalPniAdapterHandle::Get() Called on invalid object".
    [[nodiscard]] LocalPniAdapter& Get() const;

    // Scans the machine. Returns one handle for each adapter whose data could be collected. Adds
    // the other devices to `uncollected`, which may be null. Asks the host about
    // its interfaces and waits for it. Throws std::runtime_error "GetLocalNetworkAdapters() :
    // ScanSystemAdapters failed".
    [[nodiscard]] static std::vector<LocalPniAdapterHandle> GetLocalNetworkAdapters(
        CMachine& machine, CKrcpConnection* connection, std::int32_t cabinet,
        UncollectedDevices* uncollected = nullptr);

  private:
    DeviceToAdaptersMapID deviceId_;
    std::unique_ptr<LocalPniAdapter> adapter_;
    bool hostDidNotAnswer_ = false;
};

// Returns the adapters of the machine, as GetLocalNetworkAdapters. Its exceptions pass through.
using AdapterSource =
    std::function<std::vector<LocalPniAdapterHandle>(UncollectedDevices* uncollected)>;

}  // namespace em_pni
