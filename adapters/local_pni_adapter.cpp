#include "adapters/local_pni_adapter.h"

#include <algorithm>

#include "adapters/clone.h"
#include "platform/trace.h"

namespace em_pni {

LocalPniAdapter::LocalPniAdapter(const LocalPniAdapter& other) {
    constexpr const char* operation = "LocalPniAdapter::CopyCtor()";
    PNI_TRACE(5, "\nEM_PNI %s : Copy %u port area.", operation,
              static_cast<unsigned>(other.portAreas_.size()));
    try {
        if (other.moduleArea_ != nullptr) {
            moduleArea_ = clonedArea(other.moduleArea_.get(), operation);
        }
        for (const auto& port : other.portAreas_) {
            portAreas_.push_back(clonedArea(port.get(), operation));
        }
    } catch (...) {
        CleanupAll();
        throw;
    }
}

LocalPniAdapter::~LocalPniAdapter() {
    PNI_TRACE(5, "\nEM_PNI LocalPniAdapter::Dtor() : Start.");
    CleanupAll();
    PNI_TRACE(5, "\nEM_PNI LocalPniAdapter::Dtor() : Done.");
}

void LocalPniAdapter::SetLocalPniModuleArea(const LocalPniModuleArea* area) {
    constexpr const char* operation = "LocalPniAdapter::SetLocalPniModuleArea()";
    tracingExceptions(operation, [&] { moduleArea_ = clonedArea(area, operation); });
}

void LocalPniAdapter::AddLocalPniPortArea(const LocalPniPortArea* area) {
    constexpr const char* operation = "LocalPniAdapter::AddLocalPniPortArea()";
    tracingExceptions(operation, [&] { portAreas_.push_back(clonedArea(area, operation)); });
}

const LocalPniModuleArea& LocalPniAdapter::GetLocalPniModuleArea() const {
    if (!IsValid()) {
        throw std::logic_error(
            "LocalPniAdapter::GetLocalPniModuleArea() : Called on invalid object.");
    }
    return *moduleArea_;
}

const LocalPniAdapter::PortAreaList& LocalPniAdapter::GetLocalPniPortAreaList() const {
    if (!IsValid()) {
        throw std::logic_error(
            "LocalPniAdapter::GetLocalPniPortAreaList() : Called on invalid object.");
    }
    return portAreas_;
}

bool LocalPniAdapter::IsValid() const {
    if (moduleArea_ == nullptr) {
        PNI_TRACE(1, "\nEM_PNI LocalPniAdapter::IsValid() : Ret. FALSE - Module area invalid.");
        return false;
    }
    if (std::any_of(portAreas_.begin(), portAreas_.end(), [](const auto& port) {
            return port->GetLocalPniPortFunctionAreaList().empty();
        })) {
        PNI_TRACE(3, "\nEM_PNI LocalPniAdapter::IsValid() : Ret. FALSE - Port area invalid.");
        return false;
    }
    return true;
}

void LocalPniAdapter::CleanupAll() noexcept {
    PNI_TRACE(5, "\nEM_PNI LocalPniAdapter::CleanupAll() : Start.");
    moduleArea_.reset();
    portAreas_.clear();
    PNI_TRACE(5, "\nEM_PNI LocalPniAdapter::CleanupAll() : Done.");
}

std::vector<PhysicalAddress> LocalPniAdapter::GetFuncPhysicalAddress() const {
    std::vector<PhysicalAddress> addresses;
    for (const auto& port : portAreas_) {
        for (const auto& function : port->GetLocalPniPortFunctionAreaList()) {
            addresses.push_back(function->GetPhysicalAddress());
        }
    }
    PNI_TRACE(5, "\nEM_PNI LocalPniAdapter::GetFuncPhysicalAddress() : Found %u adapter addresses.",
              static_cast<unsigned>(addresses.size()));
    return addresses;
}

template <class Technology>
LocalPniAdapterOf<Technology>::LocalPniAdapterOf(
    const DeviceToAdaptersMap& device, CKrcpConnection* connection, std::int32_t cabinet,
    const std::shared_ptr<SharedHostInterfaces>& shared)
    : device_(device), context_(connection, cabinet, shared) {
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniAdapter::Ctor() : Created. Device has %llu ports.",
              Technology::prefix, static_cast<unsigned long long>(device_.Functions().size()));
}

template <class Technology>
LocalPniAdapterOf<Technology>::LocalPniAdapterOf(const LocalPniAdapterOf& other)
    : LocalPniAdapter(other), device_(other.device_), context_(other.context_) {
    AttachAreas();
}

template <class Technology>
LocalPniAdapterOf<Technology>::~LocalPniAdapterOf() {
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniAdapter::Dtor() : Start.", Technology::prefix);
    CleanupAll();  // before what the areas borrow
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniAdapter::Dtor() : Done.", Technology::prefix);
}

template <class Technology>
std::unique_ptr<LocalPniAdapter> LocalPniAdapterOf<Technology>::Clone() const {
    return std::make_unique<LocalPniAdapterOf>(*this);
}

// The clones of the other adapter's areas still borrow from that one.
template <class Technology>
void LocalPniAdapterOf<Technology>::AttachAreas() noexcept {
    const auto context = Technology::borrow(context_);
    using ModuleArea = LocalPniModuleAreaOf<Technology>;
    if (auto* const own = dynamic_cast<ModuleArea*>(moduleArea_.get())) {
        own->Attach(device_.Functions(), context);
    }
    for (const auto& port : portAreas_) {
        if (auto* const own = dynamic_cast<LocalPniPortAreaOf<Technology>*>(port.get())) {
            own->Attach(context);
        }
    }
}

template <class Technology>
void LocalPniAdapterOf<Technology>::Collect() {
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniAdapter::Collect() : Start.", Technology::prefix);
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniAdapter::Collect() : System network device dump:\n%s",
              Technology::prefix, device_.GetStrDump().c_str());
    context_.Refresh();
    CleanupAll();
    const auto& functions = device_.Functions();
    const auto context = Technology::borrow(context_);
    const LocalPniModuleAreaOf<Technology> module(static_cast<std::uint32_t>(functions.size()),
                                                  functions, context);
    SetLocalPniModuleArea(&module);
    std::uint32_t number = 0;
    for (const auto& [pciFunction, adapter] : functions) {
        const bool last = number + 1 == functions.size();
        LocalPniPortAreaOf<Technology> port(number, adapter, last, context);
        const typename Technology::PortFunctionArea function(0, adapter, true, context);
        port.AddLocalPniPortFunctionArea(&function);
        AddLocalPniPortArea(&port);
        ++number;
    }
}

template class LocalPniAdapterOf<NicTechnology>;
template class LocalPniAdapterOf<FcTechnology>;

}  // namespace em_pni
