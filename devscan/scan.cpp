#include "devscan/scan.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "devscan/fc_hosts.h"
#include "devscan/net_interfaces.h"
#include "devscan/pci_list.h"
#include "devscan/slot_facts.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

// Expects `functions` in order of address, so that functions of one device are neighbours.
std::vector<PciFunction> adaptersAmong(std::vector<PciFunction> functions) {
    std::vector<PciFunction> adapters;
    for (auto first = functions.begin(); first != functions.end();) {
        const auto end = std::find_if(first, functions.end(), [&](const PciFunction& function) {
            return !function.address.SameDevice(first->address);
        });
        if (std::any_of(first, end, isNetworkOrFc)) {
            std::copy_if(std::move_iterator(first), std::move_iterator(end),
                         std::back_inserter(adapters), [](const PciFunction& function) {
                             return isStorage(function) || isNetworkOrFc(function);
                         });
        }
        first = end;
    }
    return adapters;
}

const std::vector<ClassDevice>& devicesOf(const ClassDevices& devices, const PciAddress& address) {
    static const std::vector<ClassDevice> none;
    const auto found = devices.find(address);
    return found == devices.end() ? none : found->second;
}

AdapterFacts factsOfList(PciFunction&& function, const CSlotResolver& slots) {
    AdapterFacts facts;
    SlotAnswer slot = slots.Resolve(function);
    if (slot.number == unknownSlot && (function.slot == 0 || isUsableSlot(function.slot))) {
        slot = {function.slot, SlotSource::list, ""};
    }
    facts.slot = slot.number;
    facts.slotSource = slot.source;
    facts.slotDesignation = std::move(slot.designation);
    facts.address = function.address;
    facts.ids = function.ids;
    facts.classCode = function.classCode;
    facts.headerType = function.headerType;
    facts.driver = std::move(function.driver);
    facts.interfaces = std::move(function.interfaces);
    return facts;
}

// A wrong slot would be worse than none: the next scan reads what is missing.
std::nullopt_t slotsNotRead() {
    PNI_TRACE(1, "\nCSystemAdapter      : ERROR! The slots of PCI functions cannot be read now.");
    return std::nullopt;
}

}  // namespace

std::optional<std::vector<CSystemAdapter>> ScanSystemAdapters(CMachine& machine) {
    auto functions = listPciFunctions(machine);
    if (!functions) {
        PNI_TRACE(1, "\nCSystemAdapter      : ERROR! No list of PCI functions can be read.");
        return std::nullopt;
    }
    std::vector<CSystemAdapter> adapters;
    if (std::none_of(functions->begin(), functions->end(), isNetworkOrFc)) {
        return adapters;
    }
    const SlotTables* const tables = machine.Slots();
    if (tables == nullptr) {
        return slotsNotRead();
    }
    const CFileTree& files = machine.Files();
    CSlotFacts places(files);
    const CSlotResolver slots(*tables, *functions, places);
    auto found = adaptersAmong(std::move(*functions));
    const ClassDevices interfaces = listNetInterfaces(files, machine.Interfaces());
    const ClassDevices fcHosts = listFcHosts(files);
    adapters.reserve(found.size());
    for (PciFunction& function : found) {
        AdapterFacts facts = factsOfList(std::move(function), slots);
        addInterfaceFacts(files, machine.Interfaces(), devicesOf(interfaces, facts.address), facts);
        addFcHostFacts(files, devicesOf(fcHosts, facts.address), facts);
        adapters.emplace_back(std::move(facts), machine);
    }
    if (places.AreIncomplete()) {
        return slotsNotRead();
    }
    return adapters;
}

}  // namespace em_pni
