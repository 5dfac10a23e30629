#include "frudata/address_text.h"
#include "frudata/layout.h"
#include "platform/trace.h"
#include "query/function_members.h"

namespace em_pni {
namespace {

using Bytes = std::span<const std::uint8_t>;

void addMac(CMemberObject& object, Member member, const CPniPortFunction& function,
            std::size_t offset) {
    if (!object.Selects(member)) {
        return;
    }
    if (const auto mac = function.AddressBytes(offset, layout::macSize)) {
        PNI_TRACE(5, "CPNI_Data::GetPortFnMACs  PNI %s Mac retrieved.",
                  member == Member::ActiveMAC ? "Active" : "Manufacture");
        object.AddText(member, macText(*mac));
    }
}

// A name of eight bytes, stored as hexadecimal characters; left out when the text is none.
void addHexName(CMemberObject& object, Member member, const CPniPortFunction& function,
                std::size_t offset, const char* separator) {
    if (!object.Selects(member)) {
        return;
    }
    const auto text = function.AddressBytes(offset, layout::worldwideNameSize);
    if (const auto bytes = text ? bytesOfHex(*text) : std::nullopt) {
        object.AddText(member, hexPairs(*bytes, separator));
    }
}

void addTextField(CMemberObject& object, Member member, const CPniPortFunction& function,
                  std::size_t offset, std::size_t size) {
    if (!object.Selects(member)) {
        return;
    }
    if (const auto field = function.AddressBytes(offset, size)) {
        object.AddText(member, fieldText(*field));
    }
}

void addMacs(CMemberObject& object, const CPniPortFunction& function, std::size_t manufacture,
             std::size_t active) {
    addMac(object, Member::ManufactureMAC, function, manufacture);
    addMac(object, Member::ActiveMAC, function, active);
}

void addWorldwideNames(CMemberObject& object, const CPniPortFunction& function) {
    using Names = layout::FC_ADDRESSES;
    addHexName(object, Member::ManufactureWWNN, function, Names::manufactureWwnn, ":");
    addHexName(object, Member::ManufactureWWPN, function, Names::manufactureWwpn, ":");
    addHexName(object, Member::ActiveWWNN, function, Names::activeWwnn, ":");
    addHexName(object, Member::ActiveWWPN, function, Names::activeWwpn, ":");
}

void addOptionRom(CMemberObject& object, const CPniPortFunction& function, std::size_t offset) {
    addTextField(object, Member::OPROMversion, function, offset, layout::optionRomSize);
}

// One list of addresses, written whole or, when its count does not fit into the function, not at
// all. An empty list is an empty array.
void addIpList(CMemberObject& object, Member member, const CPniPortFunction& function,
               std::size_t offset, std::size_t count, std::size_t addressSize) {
    const bool isV4 = addressSize == layout::ipv4Size;
    const auto list = function.AddressBytes(offset, count * addressSize);
    if (!list) {
        PNI_TRACE(5, "CPNI_Data::GetPortFnNicIpGroup  Error! IP params are incorrect");
        return;
    }
    if (!isV4) {
        if (count == 0) {
            PNI_TRACE(5, "CPNI_Data::GetAndCheckIpGroupParams  0 IPv6 addresses found");
        }
        PNI_TRACE(5, "CPNI_Data::GetAndCheckIpGroupParams  IPv6 params validated successfully");
    }
    if (!object.Selects(member)) {
        return;
    }
    auto& allocator = object.GetAllocator();
    rapidjson::Value addresses(rapidjson::kArrayType);
    for (std::size_t i = 0; i < count; ++i) {
        const Bytes address = list->subspan(i * addressSize, addressSize);
        const std::string text = isV4 ? ipv4Text(address) : ipv6Text(address);
        PNI_TRACE(5, "CPNI_Data::GetPortFnNicIp  %s read: %s", isV4 ? "IPV4" : "IPV6", "SUCCESS");
        rapidjson::Value entry(rapidjson::kObjectType);
        entry.AddMember(
            "Address",
            rapidjson::Value(text.data(), static_cast<rapidjson::SizeType>(text.size()), allocator),
            allocator);
        addresses.PushBack(entry, allocator);
    }
    object.AddValue(member, std::move(addresses));
}

void addIpAddresses(CMemberObject& object, const CPniPortFunction& function) {
    using Addresses = layout::NIC_ADDRESSES;
    const auto counters = function.AddressBytes(Addresses::ipCounters, 1);
    if (!counters) {
        PNI_TRACE(5, "CPNI_Data::GetPortFnNicIpGroup  Error! IP params are incorrect");
        return;
    }
    const std::size_t v4 = counters->front() & 0x0FU;
    const std::size_t v6 = counters->front() >> 4U;
    addIpList(object, Member::Ipv4Addresses, function, Addresses::ipAddresses, v4,
              layout::ipv4Size);
    addIpList(object, Member::Ipv6Addresses, function,
              Addresses::ipAddresses + v4 * layout::ipv4Size, v6, layout::ipv6Size);
}

}  // namespace

void addAddressMembers(CMemberObject& object, const CPniPortFunction& function) {
    switch (function.Technology()) {
        case FunctionTechnology::nic:
            addMacs(object, function, layout::NIC_ADDRESSES::manufactureMac,
                    layout::NIC_ADDRESSES::activeMac);
            addOptionRom(object, function, layout::NIC_ADDRESSES::optionRom);
            addIpAddresses(object, function);
            break;
        case FunctionTechnology::fc:
            addWorldwideNames(object, function);
            addOptionRom(object, function, layout::FC_ADDRESSES::optionRom);
            break;
        case FunctionTechnology::fcoe:
            addWorldwideNames(object, function);
            addMacs(object, function, layout::FCOE_ADDRESSES::manufactureMac,
                    layout::FCOE_ADDRESSES::activeMac);
            addOptionRom(object, function, layout::FCOE_ADDRESSES::optionRom);
            break;
        case FunctionTechnology::iscsi:
            addMacs(object, function, layout::ISCSI_ADDRESSES::manufactureMac,
                    layout::ISCSI_ADDRESSES::activeMac);
            addTextField(object, Member::InitiatorName, function,
                         layout::ISCSI_ADDRESSES::initiatorName,
                         layout::ISCSI_ADDRESSES::initiatorNameSize);
            addOptionRom(object, function, layout::ISCSI_ADDRESSES::optionRom);
            break;
        case FunctionTechnology::ib:
            addHexName(object, Member::ManufactureGUID, function,
                       layout::IB_ADDRESSES::manufactureGuid, "");
            addHexName(object, Member::ActiveGUID, function, layout::IB_ADDRESSES::activeGuid, "");
            addOptionRom(object, function, layout::IB_ADDRESSES::optionRom);
            break;
        case FunctionTechnology::sas:
        case FunctionTechnology::roce:
        case FunctionTechnology::unknown:
            break;
    }
}

}  // namespace em_pni
