#include "query/function_members.h"

#include "frudata/layout.h"
#include "platform/pci_address.h"
#include "platform/trace.h"
#include "query/value_names.h"

namespace em_pni {
namespace {

using Layout = layout::PNI_PORT_FUNCTION;

// A speed is a magnitude in bits 0-13 and a unit in bits 14-15. A unit without a word leaves
// nothing to split into number and unit.
void addSpeed(CAnswerWriter& answer, const CPniPortFunction& function) {
    if (!answer.Selects(Member::Speed) && !answer.Selects(Member::SpeedUnit)) {
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
    answer.Add(Member::Speed, magnitude);
    answer.AddName(Member::SpeedUnit, unit);
}

// Two 16-bit ids in one field, the vendor in the high half.
void addIds(CAnswerWriter& answer, Member vendor, Member device, std::optional<std::uint32_t> ids) {
    if (ids) {
        answer.Add(vendor, *ids >> 16);
        answer.Add(device, *ids & 0xFFFFU);
    }
}

void addPciAddress(CAnswerWriter& answer, std::optional<std::uint32_t> packed) {
    if (packed) {
        const PciAddress address = PciAddress::FromPacked(*packed);
        answer.Add(Member::PciSegment, address.segment);
        answer.Add(Member::PciBus, address.bus);
        answer.Add(Member::PciDevice, address.device);
        answer.Add(Member::PciFunction, address.function);
    }
}

void addBootFlags(CAnswerWriter& answer, std::optional<std::uint8_t> flags) {
    if (flags) {
        answer.AddFlag(Member::BootStatus, (*flags & Layout::bootStatusBit) != 0);
        answer.AddFlag(Member::UefiSupport, (*flags & Layout::uefiSupportBit) != 0);
        answer.AddFlag(Member::RemoteDeploySupport, (*flags & Layout::remoteDeploySupportBit) != 0);
    }
}

}  // namespace

void addFunctionMembers(CAnswerWriter& answer, const CPniPortFunction& function) {
    answer.AddAlways(memberName(Member::PhyFunctionId), function.FunctionId());
    answer.Add(Member::BootOptionId, function.U8(Layout::bootOptionId));
    if (answer.Selects(Member::BootName)) {
        if (const auto name = function.Bytes(Layout::bootName, Layout::bootNameSize)) {
            answer.AddText(Member::BootName, fieldText(*name));
        }
    }
    if (answer.Selects(Member::TechnologyType)) {
        answer.AddName(Member::TechnologyType,
                       functionTechnologyName(static_cast<std::uint8_t>(function.Technology())));
    }
    answer.Add(Member::Bandwidth, function.U8(Layout::bandwidth));
    answer.Add(Member::RateLimit, function.U8(Layout::rateLimit));
    addSpeed(answer, function);
    answer.Add(Member::VlanId, function.U16(Layout::vlanId));
    addIds(answer, Member::VendorId, Member::DeviceId, function.U32(Layout::vendorDeviceId));
    addIds(answer, Member::SubVendorId, Member::SubDeviceId,
           function.U32(Layout::subVendorDeviceId));
    addPciAddress(answer, function.U32(Layout::pciAddress));
    answer.AddFlag(Member::Enabled, function.Enabled());
    addBootFlags(answer, function.U8(Layout::bootFlags));
    addAddressMembers(answer, function);
}

}  // namespace em_pni
