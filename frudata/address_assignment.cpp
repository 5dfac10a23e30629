#include "frudata/address_assignment.h"

#include <algorithm>
#include <functional>

#include "frudata/address_targets.h"
#include "frudata/address_text.h"
#include "frudata/layout.h"
#include "frudata/record_checksum.h"
#include "frudata/worldwide_name.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

using NicAddresses = layout::NIC_ADDRESSES;
using FcAddresses = layout::FC_ADDRESSES;

// The functions of one technology in one module, each with an entry in a list of `count` per port.
template <class Fits>
std::vector<AddressTarget> findModuleTargets(const char* operation, CByteView image,
                                             std::uint8_t moduleIndex,
                                             FunctionTechnology technology, std::size_t count,
                                             Fits fits) {
    std::uint32_t code = PNI_SUCCESS;
    auto targets = findAddressTargets(
        image,
        [&](const CRecordCursor& cursor) {
            return cursor.Module().position == moduleIndex && cursor.Port().position < count &&
                   cursor.Function().Technology() == technology;
        },
        code);
    // All of them or none: the room is checked before the first byte is written.
    if (code == PNI_SUCCESS && !std::all_of(targets.begin(), targets.end(), fits)) {
        code = PNI_INSUFFICENT_DATA_ERR;
    }
    if (!traceAssignment(operation, code)) {
        targets.clear();
    }
    return targets;
}

}  // namespace

bool SetMACAddress(std::vector<std::uint8_t>& image, std::span<const MacAddress> macs,
                   std::uint8_t moduleIndex) {
    if (!std::all_of(macs.begin(), macs.end(), std::mem_fn(&MacAddress::IsUsable))) {
        return false;
    }
    CByteEditor editor(image);
    const auto targets = findModuleTargets(
        "SetMACAddress", editor.View(), moduleIndex, FunctionTechnology::nic, macs.size(),
        [&macs](const AddressTarget& target) {
            return target.function.HasSeparateAddresses() &&
                   target.function.AddressBytes(NicAddresses::activeMac, macs[target.port].size())
                       .has_value();
        });
    for (const AddressTarget& target : targets) {
        const MacAddress& mac = macs[target.port];
        // A MAC of eight bytes runs into the second copy, which then stands over its end.
        editor.Put(target.addresses + NicAddresses::manufactureMac, mac);
        editor.Put(target.addresses + NicAddresses::activeMac, mac);
        PNI_TRACE(
            4,
            "\nCPniFruData         : Replace MAC address on adapter slot: %d, port: %d with new "
            "MAC address %s",
            target.moduleId, target.port, macText(mac).c_str());
    }
    return !targets.empty() && mendRecordChecksum(editor);
}

bool SetWWNAddress(std::vector<std::uint8_t>& image, std::span<const PhysicalAddress> names,
                   std::uint8_t moduleIndex) {
    CByteEditor editor(image);
    const auto targets = findModuleTargets(
        "SetWWNAddress", editor.View(), moduleIndex, FunctionTechnology::fc, names.size(),
        [](const AddressTarget& target) {
            return target.function.HasSeparateAddresses() &&
                   target.function.AddressBytes(0, FcAddresses::optionRom).has_value();
        });
    for (const AddressTarget& target : targets) {
        const PhysicalAddress& name = names[target.port];
        const auto node = HexToAscii(name.wwnn);
        const auto port = HexToAscii(name.wwpn);
        editor.Put(target.addresses + FcAddresses::manufactureWwnn, node);
        editor.Put(target.addresses + FcAddresses::activeWwnn, node);
        editor.Put(target.addresses + FcAddresses::manufactureWwpn, port);
        editor.Put(target.addresses + FcAddresses::activeWwpn, port);
        PNI_TRACE(4,
                  "\nCPniFruData         : Replace WWPN address on adapter slot: %d, port: %d with "
                  "new WWPN address %s",
                  target.moduleId, target.port, worldwideNameText(name.wwpn).c_str());
    }
    return !targets.empty() && mendRecordChecksum(editor);
}

}  // namespace em_pni
