#include "query/function_members.h"

#include "frudata/address_text.h"
#include "frudata/layout.h"
#include "platform/pci_address.h"
#include "platform/trace.h"
#include "query/value_names.h"

namespace em_pni {
namespace {

using Layout = layout::PNI_PORT_FUNCTION;

// A speed has its magnitude in bits 0-13 and its unit in bits 14-15. A unit without a name has no
// members.
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

// Two 16-bit ids in one field: the vendor in bits 16-31.
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

using Bytes = std::span<const std::uint8_t>;

void addMac(CAnswerWriter& answer, Member member, const CPniPortFunction& function,
            std::size_t offset) {
    if (!answer.Selects(member)) {
        return;
    }
    if (const auto mac = function.AddressBytes(offset, layout::macSize)) {
        PNI_TRACE(5, "CPNI_Data::GetPortFnMACs  PNI %s Mac retrieved.",
                  member == Member::ActiveMAC ? "Active" : "Manufacture");
        answer.AddText(member, macText(*mac));
    }
}

// A name of eight bytes, stored as hexadecimal characters. Adds nothing when a character is not
// hexadecimal.
void addHexName(CAnswerWriter& answer, Member member, const CPniPortFunction& function,
                std::size_t offset, const char* separator) {
    if (!answer.Selects(member)) {
        return;
    }
    const auto text = function.AddressBytes(offset, layout::worldwideNameSize);
    if (const auto bytes = text ? bytesOfHex(*text) : std::nullopt) {
        answer.AddText(member, hexPairs(*bytes, separator));
    }
}

void addTextField(CAnswerWriter& answer, Member member, const CPniPortFunction& function,
                  std::size_t offset, std::size_t size) {
    if (!answer.Selects(member)) {
        return;
    }
    if (const auto field = function.AddressBytes(offset, size)) {
        answer.AddText(member, fieldText(*field));
    }
}

void addMacs(CAnswerWriter& answer, const CPniPortFunction& function, std::size_t manufacture,
             std::size_t active) {
    addMac(answer, Member::ManufactureMAC, function, manufacture);
    addMac(answer, Member::ActiveMAC, function, active);
}

void addWorldwideNames(CAnswerWriter& answer, const CPniPortFunction& function) {
    using Names = layout::FC_ADDRESSES;
    addHexName(answer, Member::ManufactureWWNN, function, Names::manufactureWwnn, ":");
    addHexName(answer, Member::ManufactureWWPN, function, Names::manufactureWwpn, ":");
    addHexName(answer, Member::ActiveWWNN, function, Names::activeWwnn, ":");
    addHexName(answer, Member::ActiveWWPN, function, Names::activeWwpn, ":");
}

void addOptionRom(CAnswerWriter& answer, const CPniPortFunction& function, std::size_t offset) {
    addTextField(answer, Member::OPROMversion, function, offset, layout::optionRomSize);
}

// A list of addresses that lies inside the function. An empty list is an empty array.
void addIpList(CAnswerWriter& answer, Member member, const CPniPortFunction& function,
               std::size_t offset, std::size_t count, std::size_t addressSize) {
    const auto list = function.AddressBytes(offset, count * addressSize);
    if (!list || !answer.Selects(member)) {
        return;
    }
    const bool isV4 = addressSize == layout::ipv4Size;
    answer.StartArray(memberName(member));
    for (std::size_t i = 0; i < count; ++i) {
        const Bytes address = list->subspan(i * addressSize, addressSize);
        PNI_TRACE(5, "CPNI_Data::GetPortFnNicIp  %s read: %s", isV4 ? "IPV4" : "IPV6", "SUCCESS");
        answer.StartObject();
        answer.AddAlways(memberName(Member::Address), isV4 ? ipv4Text(address) : ipv6Text(address));
        answer.EndObject();
    }
    answer.EndArray();
}

// Adds no list when one of the two does not fit into the function.
void addIpAddresses(CAnswerWriter& answer, const CPniPortFunction& function) {
    const auto lists = ipListsOf(function);
    if (!lists) {
        PNI_TRACE(5, "CPNI_Data::GetPortFnNicIpGroup  Error! IP params are incorrect");
        return;
    }
    addIpList(answer, Member::Ipv4Addresses, function, IpLists::Ipv4Begin(), lists->ipv4,
              layout::ipv4Size);
    if (lists->ipv6 == 0) {
        PNI_TRACE(5, "CPNI_Data::GetAndCheckIpGroupParams  0 IPv6 addresses found");
    }
    PNI_TRACE(5, "CPNI_Data::GetAndCheckIpGroupParams  IPv6 params validated successfully");
    addIpList(answer, Member::Ipv6Addresses, function, lists->Ipv6Begin(), lists->ipv6,
              layout::ipv6Size);
}

// The members of the address block. They depend on the technology of the function.
void addAddressMembers(CAnswerWriter& answer, const CPniPortFunction& function) {
    switch (function.Technology()) {
        case FunctionTechnology::nic:
            addMacs(answer, function, layout::NIC_ADDRESSES::manufactureMac,
                    layout::NIC_ADDRESSES::activeMac);
            addOptionRom(answer, function, layout::NIC_ADDRESSES::optionRom);
            addIpAddresses(answer, function);
            break;
        case FunctionTechnology::fc:
            if (hasWorldwideNames(function)) {
                addWorldwideNames(answer, function);
            }
            addOptionRom(answer, function, layout::FC_ADDRESSES::optionRom);
            break;
        case FunctionTechnology::fcoe:
            addWorldwideNames(answer, function);
            addMacs(answer, function, layout::FCOE_ADDRESSES::manufactureMac,
                    layout::FCOE_ADDRESSES::activeMac);
            addOptionRom(answer, function, layout::FCOE_ADDRESSES::optionRom);
            break;
        case FunctionTechnology::iscsi:
            addMacs(answer, function, layout::ISCSI_ADDRESSES::manufactureMac,
                    layout::ISCSI_ADDRESSES::activeMac);
            addTextField(answer, Member::InitiatorName, function,
                         layout::ISCSI_ADDRESSES::initiatorName,
                         layout::ISCSI_ADDRESSES::initiatorNameSize);
            addOptionRom(answer, function, layout::ISCSI_ADDRESSES::optionRom);
            break;
        case FunctionTechnology::ib:
            addHexName(answer, Member::ManufactureGUID, function,
                       layout::IB_ADDRESSES::manufactureGuid, "");
            addHexName(answer, Member::ActiveGUID, function, layout::IB_ADDRESSES::activeGuid, "");
            addOptionRom(answer, function, layout::IB_ADDRESSES::optionRom);
            break;
        case FunctionTechnology::sas:
        case FunctionTechnology::roce:
        case FunctionTechnology::unknown:
            break;
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
