#include "adapters/local_pni_adapter.h"

#include <algorithm>
#include <stdexcept>

#include "adapters/area_clone.h"
#include "adapters/area_fields.h"

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

std::vector<std::uint8_t> LocalPniAdapter::ToPniFruDataPortFnCommon(
    const LocalPniPortFunctionArea& function, std::size_t specificSize) {
    using Function = layout::PNI_PORT_FUNCTION;
    const std::size_t size = Function::commonSize + specificSize;
    if (size % Function::lengthUnit != 0) {
        throw std::runtime_error(
            "ToPniFruDataPortFnCommon() : Total length should be multiple of 4 (Spec PortFn size "
            "not aligned).");
    }
    std::vector<std::uint8_t> bytes(Function::commonSize);
    CByteEditor area(bytes);
    area.PutU8(Function::flags, areaFlags(function.GetFunctionNumber(), layout::functionIdMask,
                                          function.IsEnabled(), function.IsLast()));
    area.PutU8(Function::functionLength, static_cast<std::uint8_t>(size / Function::lengthUnit));
    area.PutU8(Function::addressOffset, Function::commonSize);
    area.PutU8(Function::bootOptionId, function.GetFunctionReserved());
    putAreaText(area, Function::bootName, Function::bootNameSize,
                function.GetFunctionLabel().substr(0, Function::bootNameSize - 1), "boot name");
    area.PutU8(Function::technologyType, static_cast<std::uint8_t>(function.GetTechnology()));
    area.PutU16(Function::speed, function.GetSpeed());
    area.PutU16(Function::vlanId, function.GetVlanId());
    area.PutU8(Function::bandwidth, function.GetBandwidth());
    area.PutU8(Function::rateLimit, function.GetRateLimit());
    area.PutU8(Function::bootFlags, function.GetBootFlags());
    area.PutU32(Function::vendorDeviceId, function.GetVendorDeviceId());
    area.PutU32(Function::pciAddress, function.GetPciPFA());
    area.PutU32(Function::subVendorDeviceId, function.GetSubVendorDeviceId());
    return bytes;
}

void LocalPniAdapter::AppendToDataStream(std::vector<std::uint8_t>& stream,
                                         std::span<const std::uint8_t> area, const char* areaName) {
    PNI_TRACE(4, "\nEM_PNI LocalPniAdapter::AppendToDataStream() : Appending %s Area (length = %u)",
              areaName, static_cast<unsigned>(area.size()));
    stream.insert(stream.end(), area.begin(), area.end());
    PNI_TRACE(4, "\nEM_PNI LocalPniAdapter::AppendToDataStream() : Serialized size: %u",
              static_cast<unsigned>(stream.size()));
}

void LocalPniAdapter::AppendPortFunction(std::vector<std::uint8_t>& stream,
                                         const LocalPniPortFunctionArea& function) {
    const auto specific = function.ToPniFruDataPortFnSpecific();
    if (specific.empty()) {
        throw std::runtime_error(
            "LocalPniAdapter::ToPniFruDataStreamModule() : Collected CPniPortFnSpecificData size "
            "is 0!");
    }
    const auto common = ToPniFruDataPortFnCommon(function, specific.size());
    AppendToDataStream(stream, common, "COMMON FUNC");
    AppendToDataStream(stream, specific, "PORT SPECIFIC FU");
}

void LocalPniAdapter::AppendPort(std::vector<std::uint8_t>& stream, const LocalPniPortArea& port) {
    AppendToDataStream(stream, port.ToPniFruDataPort(), "PORT");
    unsigned index = 0;
    for (const auto& function : port.GetLocalPniPortFunctionAreaList()) {
        PNI_TRACE(4,
                  "\nEM_PNI LocalPniAdapter::ToPniFruDataStreamModule() : Processing Port Function "
                  "#%u...",
                  index);
        AppendPortFunction(stream, *function);
        PNI_TRACE(4, "\nEM_PNI LocalPniAdapter::ToPniFruDataStreamModule() : Port Function #%u OK.",
                  index);
        ++index;
    }
}

std::vector<std::uint8_t> LocalPniAdapter::ToPniFruDataStreamModule() const {
    const LocalPniModuleArea& module = GetLocalPniModuleArea();
    const PortAreaList& ports = GetLocalPniPortAreaList();
    std::vector<std::uint8_t> stream;
    AppendToDataStream(stream, module.ToPniFruDataModule(), "MODULE");
    unsigned index = 0;
    for (const auto& port : ports) {
        PNI_TRACE(4, "\nEM_PNI LocalPniAdapter::ToPniFruDataStreamModule() : Processing port #%u",
                  index);
        AppendPort(stream, *port);
        PNI_TRACE(4, "\nEM_PNI LocalPniAdapter::ToPniFruDataStreamModule() : Port #%u OK.", index);
        ++index;
    }
    return stream;
}

template <class Technology>
LocalPniAdapterOf<Technology>::LocalPniAdapterOf(
    DeviceToAdaptersMap device, CKrcpConnection* connection, std::int32_t cabinet,
    const std::shared_ptr<SharedHostInterfaces>& shared)
    : device_(std::make_shared<const DeviceToAdaptersMap>(std::move(device))),
      context_(Technology::connect(connection, cabinet, shared)) {
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniAdapter::Ctor() : Created. Device has %llu ports.",
              Technology::prefix, static_cast<unsigned long long>(device_->Functions().size()));
}

template <class Technology>
LocalPniAdapterOf<Technology>::~LocalPniAdapterOf() {
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniAdapter::Dtor() : Start.", Technology::prefix);
    CleanupAll();
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniAdapter::Dtor() : Done.", Technology::prefix);
}

template <class Technology>
std::unique_ptr<LocalPniAdapter> LocalPniAdapterOf<Technology>::Clone() const {
    return std::make_unique<LocalPniAdapterOf>(*this);
}

template <class Technology>
void LocalPniAdapterOf<Technology>::Collect() {
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniAdapter::Collect() : Start.", Technology::prefix);
    PNI_TRACE(5, "\nEM_PNI %s_LocalPniAdapter::Collect() : System network device dump:\n%s",
              Technology::prefix, device_->GetStrDump().c_str());
    Technology::refresh(context_);
    CleanupAll();
    const LocalPniModuleAreaOf<Technology> module(device_);
    SetLocalPniModuleArea(&module);
    const auto& functions = device_->Functions();
    std::uint32_t number = 0;
    for (const auto& [pciFunction, adapter] : functions) {
        LocalPniPortAreaOf<Technology> port(number, number + 1 == functions.size());
        const typename Technology::PortFunctionArea function(0, adapter, true, context_);
        port.AddLocalPniPortFunctionArea(&function);
        AddLocalPniPortArea(&port);
        ++number;
    }
}

template class LocalPniAdapterOf<NicTechnology>;
template class LocalPniAdapterOf<FcTechnology>;

}  // namespace em_pni
