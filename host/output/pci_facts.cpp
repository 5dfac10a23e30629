#include "host/output/pci_facts.h"

#include "platform/number.h"

namespace em_pni {

namespace {

// Empty for 0, which no vendor and no device has.
std::string knownIdText(std::uint16_t id) {
    return id == 0 ? std::string() : lowerHex(id, 4);
}

}  // namespace

std::string slotText(std::uint32_t slot) {
    if (slot == unknownSlot) {
        return "slot unknown";
    }
    return slot == 0 ? "onboard" : "slot " + std::to_string(slot);
}

void writePciIds(CJsonMembers& members, const PciIds& ids, const AdapterNames& names) {
    members.Text("VendorId", knownIdText(ids.vendor));
    members.Text("Vendor", names.vendor);
    members.Text("DeviceId", knownIdText(ids.device));
    members.Text("Device", names.device);
    members.Text("SubVendorId", knownIdText(ids.subVendor));
    members.Text("SubVendor", names.subVendor);
    members.Text("SubDeviceId", knownIdText(ids.subDevice));
}

}  // namespace em_pni
