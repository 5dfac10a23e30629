#include "adapters/local_pni_adapter_handle.h"

#include <stdexcept>

#include "devscan/scan.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

std::unique_ptr<LocalPniAdapter> adapterOf(const DeviceToAdaptersMap& device,
                                           CKrcpConnection* connection, std::int32_t cabinet,
                                           const std::shared_ptr<SharedHostInterfaces>& shared) {
    std::unique_ptr<LocalPniAdapter> adapter;
    if (device.IsNetworkInterfaceCard()) {
        adapter = std::make_unique<NIC_LocalPniAdapter>(device, connection, cabinet, shared);
    } else if (device.IsFibreChannelCard()) {
        adapter = std::make_unique<FC_LocalPniAdapter>(device, connection, cabinet, shared);
    } else {
        PNI_TRACE(3, "\nEM_PNI LocalPniAdapterHandle::Ctor() :  Not supported adapter type.");
        return nullptr;
    }
    adapter->Collect();
    return adapter;
}

}  // namespace

LocalPniAdapterHandle::LocalPniAdapterHandle(const DeviceToAdaptersMap& device,
                                             CKrcpConnection* connection, std::int32_t cabinet,
                                             const std::shared_ptr<SharedHostInterfaces>& shared)
    : deviceId_(device.Id()) {
    PNI_TRACE(5, "\nEM_PNI LocalPniAdapterHandle::Ctor() : Start.");
    try {
        adapter_ = adapterOf(device, connection, cabinet, shared);
    } catch (const std::exception& exception) {
        hostDidNotAnswer_ = dynamic_cast<const CNoReplyError*>(&exception) != nullptr;
        PNI_TRACE(3, "\nEM_PNI LocalPniAdapterHandle::Ctor() :  ERROR! Exception : %s",
                  exception.what());
    }
}

LocalPniAdapterHandle::LocalPniAdapterHandle(const LocalPniAdapterHandle& other)
    : deviceId_(other.deviceId_), hostDidNotAnswer_(other.hostDidNotAnswer_) {
    PNI_TRACE(5, "\nEM_PNI LocalPniAdapterHandle::CopyCtor() : Start.");
    if (other.adapter_ != nullptr) {
        adapter_ = other.adapter_->Clone();
    }
}

LocalPniAdapterHandle::~LocalPniAdapterHandle() {
    PNI_TRACE(5, "\nEM_PNI LocalPniAdapterHandle::Dtor() : Start.");
}

LocalPniAdapter& LocalPniAdapterHandle::Get() const {
    PNI_TRACE(5, "\nEM_PNI LocalPniAdapterHandle::Get() : Start.");
    if (adapter_ == nullptr) {
        throw std::logic_error("LocalPniAdapterHandle::Get() Called on invalid object");
    }
    return *adapter_;
}

std::vector<LocalPniAdapterHandle> LocalPniAdapterHandle::GetLocalNetworkAdapters(
    CMachine& machine, CKrcpConnection* connection, std::int32_t cabinet,
    UncollectedDevices* uncollected) {
    constexpr const char* operation = "LocalPniAdapterHandle::GetLocalNetworkAdapters()";
    PNI_TRACE(5, "\nEM_PNI %s : Start.", operation);
    const auto adapters = ScanSystemAdapters(machine);
    if (!adapters) {
        throw std::runtime_error("GetLocalNetworkAdapters() : ScanSystemAdapters failed");
    }
    PNI_TRACE(4, "\nEM_PNI %s : Found %llu SystemAdapters.", operation,
              static_cast<unsigned long long>(adapters->size()));
    const auto devices = groupByDevice(*adapters);
    PNI_TRACE(3, "\nEM_PNI %s : Found %llu (generic) system devices.", operation,
              static_cast<unsigned long long>(devices.size()));
    std::vector<LocalPniAdapterHandle> handles;
    handles.reserve(devices.size());
    const auto shared = std::make_shared<SharedHostInterfaces>();
    for (const DeviceToAdaptersMap& device : devices) {
        if (!device.IsPniAdapter()) {
            continue;
        }
        PNI_TRACE(4, "\nEM_PNI %s : Found valid PNI local device!", operation);
        handles.emplace_back(device, connection, cabinet, shared);
        if (!handles.back().HasAdapter()) {
            if (uncollected != nullptr) {
                uncollected->devices.push_back(device.Id());
                uncollected->hostDidNotAnswer |= handles.back().HostDidNotAnswer();
            }
            handles.pop_back();
        }
    }
    PNI_TRACE(3, "\nEM_PNI %s : Found %llu valid PNI local devices.", operation,
              static_cast<unsigned long long>(handles.size()));
    return handles;
}

}  // namespace em_pni
