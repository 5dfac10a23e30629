#include "query/function_members.h"

#include "frudata/layout.h"
#include "platform/trace.h"
#include "query/value_names.h"

namespace em_pni {
namespace {

using Layout = layout::PNI_PORT_FUNCTION;

// A speed is a magnitude in bits 0-13 and a unit in bits 14-15. A unit without a word leaves
// nothing to split into number and unit.
void addSpeed(CMemberObject& object, const CPniPortFunction& function) {
    if (!object.Selects(Member::Speed) && !object.Selects(Member::SpeedUnit)) {
        return;
    }
    const auto code = function.U16(Layout::speed);
    if (!code) {
        return;
    }
    const char* const unit = speedUnitName(static_cast<std::uint8_t>(*code >> 14));
    if (unit == nullptr) {
        PNI_TRACE(5,
                  "CPNI_Data::GetPortFnSpeedAndUnit  Error! Failed to split, less than 2 parts of "
                  "string");
        return;
    }
    const std::uint32_t magnitude = *code & 0x3FFFU;
    PNI_TRACE(5, "CPNI_Data::GetPortFnSpeedAndUnit  Result: %d", static_cast<int>(magnitude));
    object.Add(Member::Speed, magnitude);
    object.AddName(Member::SpeedUnit, unit);
}

// Two 16-bit ids in one field, the vendor in the high half.
void addIds(CMemberObject& object, Member vendor, Member device, std::optional<std::uint32_t> ids) {
    if (ids) {
        object.Add(vendor, *ids >> 16);
        object.Add(device, *ids & 0xFFFFU);
    }
}

void addPciAddress(CMemberObject& object, std::optional<std::uint32_t> address) {
    if (address) {
        object.Add(Member::PciSegment, *address >> 16);
        object.Add(Member::PciBus, *address >> 8 & 0xFFU);
        object.Add(Member::PciDevice, *address >> 3 & 0x1FU);
        object.Add(Member::PciFunction, *address & 0x07U);
    }
}

void addBootFlags(CMemberObject& object, std::optional<std::uint8_t> flags) {
    if (flags) {
        object.AddFlag(Member::BootStatus, (*flags & Layout::bootStatusBit) != 0);
        object.AddFlag(Member::UefiSupport, (*flags & Layout::uefiSupportBit) != 0);
        object.AddFlag(Member::RemoteDeploySupport, (*flags & Layout::remoteDeploySupportBit) != 0);
    }
}

}  // namespace

void addFunctionMembers(CMemberObject& object, const CPniPortFunction& function) {
    object.AddAlways(Member::PhyFunctionId, function.FunctionId());
    object.Add(Member::BootOptionId, function.U8(Layout::bootOptionId));
    if (const auto name = function.Bytes(Layout::bootName, Layout::bootNameSize)) {
        object.AddText(Member::BootName, fieldText(*name));
    }
    if (object.Selects(Member::TechnologyType)) {
        object.AddName(Member::TechnologyType,
                       functionTechnologyName(static_cast<std::uint8_t>(function.Technology())));
    }
    object.Add(Member::Bandwidth, function.U8(Layout::bandwidth));
    object.Add(Member::RateLimit, function.U8(Layout::rateLimit));
    addSpeed(object, function);
    object.Add(Member::VlanId, function.U16(Layout::vlanId));
    addIds(object, Member::VendorId, Member::DeviceId, function.U32(Layout::vendorDeviceId));
    addIds(object, Member::SubVendorId, Member::SubDeviceId,
           function.U32(Layout::subVendorDeviceId));
    addPciAddress(object, function.U32(Layout::pciAddress));
    object.AddFlag(Member::Enabled, function.Enabled());
    addBootFlags(object, function.U8(Layout::bootFlags));
    addAddressMembers(object, function);
}

}  // namespace em_pni
