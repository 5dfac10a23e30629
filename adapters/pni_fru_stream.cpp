// The bytes of a whole module: each area asks its virtual operations for the values.
#include <stdexcept>

#include "adapters/local_pni_adapter.h"
#include "frudata/layout.h"
#include "platform/bytes.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

using Module = layout::PNI_MODULE_AREA;
using Port = layout::PNI_PORT_AREA;
using Function = layout::PNI_PORT_FUNCTION;

std::uint8_t flags(std::uint32_t id, std::uint8_t idMask, bool enabled, bool last) noexcept {
    return static_cast<std::uint8_t>((id & idMask) | (enabled ? layout::enableBit : 0U) |
                                     (last ? layout::endOfListBit : 0U));
}

// The trace names the module area for the texts of all areas.
void setText(CByteEditor area, std::size_t offset, std::size_t fieldSize, const std::string& text,
             const char* kind) {
    if (!area.PutText(offset, fieldSize, text)) {
        PNI_TRACE(2,
                  "\nEM_PNI NIC_LocalPniModuleArea::ToPniFruDataModule() : WARNING! Could not set "
                  "%s to '%s'!",
                  kind, text.c_str());
    }
}

}  // namespace

std::vector<std::uint8_t> LocalPniModuleArea::ToPniFruDataModule() const {
    std::vector<std::uint8_t> bytes(Module::size);
    CByteEditor area(bytes);
    std::uint32_t slot = 0;  // stays when it is not known
    GetAdapterSlotNo(slot);
    area.PutU8(Module::flags, flags(slot, layout::moduleIdMask, IsEnabled(), false));
    area.PutU8(Module::recordLen, Module::size);
    area.PutU8(Module::portCount, static_cast<std::uint8_t>(GetPortCount()));
    setText(area, Module::name, Module::nameSize, GetModuleName(), "module name");
    area.PutU8(Module::moduleTypeCode, static_cast<std::uint8_t>(GetModuleTypeCode()));
    area.PutU8(Module::moduleType, static_cast<std::uint8_t>(GetModuleType()));
    setText(area, Module::firmwareVersion, Module::firmwareVersionSize, GetFirmwareVersion(),
            "firmware version");
    return bytes;
}

std::vector<std::uint8_t> LocalPniPortArea::ToPniFruDataPort() const {
    PNI_TRACE(5, "\nEM_PNI NIC_LocalPniPortArea::ToPniFruDataPort() : Start.");
    std::vector<std::uint8_t> bytes(Port::size);
    CByteEditor area(bytes);
    area.PutU8(Port::flags, flags(GetPortNumber(), layout::portIdMask, IsEnabled(), IsLast()));
    area.PutU8(Port::recordLen, Port::size);
    area.PutU8(Port::pfCount, static_cast<std::uint8_t>(functionAreas_.size()));
    area.PutU8(Port::wolBehaviour, GetWolBehaviour());
    PNI_TRACE(5, "\nEM_PNI NIC_LocalPniPortArea::ToPniFruDataPort() : Done.");
    return bytes;
}

std::vector<std::uint8_t> LocalPniAdapter::ToPniFruDataPortFnCommon(
    const LocalPniPortFunctionArea& function, std::size_t specificSize) {
    const std::size_t size = Function::commonSize + specificSize;
    if (size % Function::lengthUnit != 0) {
        throw std::runtime_error(
            "ToPniFruDataPortFnCommon() : Total length should be multiple of 4 (Spec PortFn size "
            "not aligned).");
    }
    std::vector<std::uint8_t> bytes(Function::commonSize);
    CByteEditor area(bytes);
    area.PutU8(Function::flags, flags(function.GetFunctionNumber(), layout::functionIdMask,
                                      function.IsEnabled(), function.IsLast()));
    area.PutU8(Function::functionLength, static_cast<std::uint8_t>(size / Function::lengthUnit));
    area.PutU8(Function::addressOffset, Function::commonSize);
    area.PutU8(Function::bootOptionId, function.GetFunctionReserved());
    setText(area, Function::bootName, Function::bootNameSize,
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

}  // namespace em_pni
