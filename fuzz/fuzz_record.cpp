// Any bytes as a FRU image.
#include <cstdint>
#include <stdexcept>
#include <vector>

#include "frudata/pni_fru.h"
#include "frudata/pni_fru_data.h"
#include "query/pni_data.h"

using namespace em_pni;

namespace {

// Whatever the image says, a change of addresses leaves a valid record valid.
void changeAddresses(CPniFruData record, bool wasValid) {
    const auto macs = record.GetActiveMacAddresses();
    record.ClearIpAddresses();
    for (const AddressBytes& mac : macs) {
        record.AssignIpv4Address(mac, AddressBytes(4, 1));
        record.AssignIpv6Address(mac, AddressBytes(16, 2), 0);
    }
    record.AssignMacAddresses(std::vector<AddressBytes>(2, AddressBytes(8, 3)), 0);
    record.AssignWwnAddresses(
        std::vector<PhysicalAddress>(
            2, {.kind = PhysicalAddress::Kind::wwn, .mac = {}, .wwpn = 1, .wwnn = 2}),
        0);
    if (wasValid && !record.IsValid()) {
        __builtin_trap();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    rapidjson::Document answer;
    (void)CPNI_Data({data, size}, nullptr).PniGetAllData(answer);
    const std::uint8_t count = pni_getModuleCount(data, size);
    pni_findPniModuleArea(data, size, count, false);

    CPniFruData record(std::vector<std::uint8_t>(data, data + size));
    const bool wasValid = record.IsValid();
    changeAddresses(record, wasValid);
    try {
        record.UpdateInternalUseAreaChecksum();
        record.UpdateEndOfListBit();
        record.UpdateOemPniRecordChecksum();
        if (wasValid && !record.IsValid()) {
            __builtin_trap();  // repairing what is whole must leave it whole
        }
        record.CropToValidSize();
        (void)record.GetModuleSize(0);
    } catch (const std::runtime_error&) {
        // Not a record.
    }
    return 0;
}
