#include "pni/physical_check.h"

#include <optional>

#include "platform/trace.h"

namespace em_pni {
namespace {

constexpr std::uint8_t slotMask = 0x3F;  // as much of a slot number as a record holds

using Addresses = std::vector<PhysicalAddress>;

// What differs between the two kinds of adapters.
struct CheckKind {
    const char* mismatch;  // in the trace
    const char* word;
    bool (*isKnown)(const PhysicalAddress& local);
    bool (*isEqual)(const PhysicalAddress& local, const PhysicalAddress& stored);
    bool (*assign)(CPniFruData& record, const Addresses& table, std::uint8_t module);
};

bool assignMacs(CPniFruData& record, const Addresses& table, std::uint8_t module) {
    std::vector<MacAddress> macs;
    for (const PhysicalAddress& address : table) {
        macs.push_back(address.mac);
    }
    return record.AssignMacAddresses(macs, module);
}

constexpr CheckKind macKind = {
    .mismatch = "MAC",
    .word = "MAC",
    .isKnown = [](const PhysicalAddress& local) { return !local.mac.IsEmpty(); },
    .isEqual = [](const PhysicalAddress& local,
                  const PhysicalAddress& stored) { return local.mac == stored.mac; },
    .assign = &assignMacs,
};

constexpr CheckKind wwnKind = {
    .mismatch = "WWPN",
    .word = "WWN",
    .isKnown = [](const PhysicalAddress& local) { return local.wwpn != 0; },
    .isEqual = [](const PhysicalAddress& local,
                  const PhysicalAddress& stored) { return local.wwpn == stored.wwpn; },
    .assign = [](CPniFruData& record, const Addresses& table,
                 std::uint8_t module) { return record.AssignWwnAddresses(table, module); },
};

std::optional<std::uint32_t> slotOf(const LocalPniAdapter& adapter) {
    std::uint32_t slot = 0;
    return adapter.GetLocalPniModuleArea().GetAdapterSlotNo(slot) ? std::optional(slot)
                                                                  : std::nullopt;
}

// The two address lists of a module and its adapter; nothing when they cannot be compared.
std::optional<std::pair<Addresses, Addresses>> comparableLists(const CPniFruData& copy,
                                                               const LocalPniAdapter& adapter,
                                                               std::uint8_t module) {
    if (!copy.HasCodes()) {
        return std::nullopt;
    }
    if (!ComparePciLocation(copy, adapter, module, 0, 0)) {
        PNI_TRACE(
            2, "\nEM_PNI              : CheckPhysicalAddrs : PCI location does not match - SKIP.");
        return std::nullopt;
    }
    Addresses stored = copy.GetModulePhysicalAddresses(module);
    Addresses local = adapter.GetFuncPhysicalAddress();
    if (stored.empty() || local.empty()) {
        PNI_TRACE(2,
                  "\nEM_PNI              : CheckPhysicalAddrs : WARNING! Local or PNI adapter "
                  "addresses not found - SKIP !!");
        return std::nullopt;
    }
    PNI_TRACE(
        5,
        "\nEM_PNI              : CheckPhysicalAddrs : Local addresses found: %d; PNI addresses "
        "found: %d",
        static_cast<int>(local.size()), static_cast<int>(stored.size()));
    if (stored.size() != local.size()) {
        PNI_TRACE(
            2,
            "\nEM_PNI              : CheckPhysicalAddrs : Number of ports on the adapter does "
            "not match - SKIP.");
        return std::nullopt;
    }
    return std::pair(std::move(stored), std::move(local));
}

// Assigns the adapter's addresses where they differ; false when none does, so that the module needs
// no further look.
bool correctAddresses(CPniFruData& record, CPniFruData& copy, const CheckKind& kind,
                      const Addresses& stored, const Addresses& local, std::uint8_t module,
                      std::uint32_t slot) {
    Addresses table = stored;
    bool differs = false;
    for (std::size_t i = 0; i < local.size(); ++i) {
        if (kind.isKnown(local[i])) {
            differs |= !kind.isEqual(local[i], stored[i]);
            table[i] = local[i];
        }
    }
    if (!differs) {
        return false;
    }
    PNI_TRACE(
        3, "\nEM_PNI              : CheckPhysicalAddrs : %s address mismatch for adapter slot #%d",
        kind.mismatch, static_cast<int>(slot));
    if (kind.assign(copy, table, module)) {
        record = copy;
    } else {
        PNI_TRACE(3, "\nEM_PNI              : CheckPhysicalAddrs : Failed to assign %s addresses!",
                  kind.word);
    }
    return true;
}

// False when the module is done.
bool checkModule(CPniFruData& record, CPniFruData& copy, const LocalPniAdapter& adapter,
                 std::uint8_t module, std::uint8_t moduleSlot) {
    if (!adapter.IsValid()) {
        PNI_TRACE(2, "\nEM_PNI              : CheckPhysicalAddrs : WARNING! Adapter not valid.");
        return true;
    }
    const auto slot = slotOf(adapter);
    if (!slot || (*slot & slotMask) != moduleSlot) {
        return true;
    }
    const auto lists = comparableLists(copy, adapter, module);
    if (!lists) {
        return true;
    }
    const auto& [stored, local] = *lists;
    const CheckKind& kind = local.front().kind == PhysicalAddress::Kind::mac ? macKind : wwnKind;
    return correctAddresses(record, copy, kind, stored, local, module, *slot);
}

}  // namespace

void CheckPhysicalAddrs(CPniFruData& record, const AdapterSource& collectAdapters) {
    // The arrows point this way round in every release.
    PNI_TRACE(3, "\nEM_PNI              : <-- CheckPhysicalAddrs()");
    CPniFruData copy = record;
    const std::vector<std::uint8_t> slots = copy.GetModuleIds();
    const std::vector<LocalPniAdapterHandle> adapters = collectAdapters();
    for (std::size_t module = 0; module < slots.size(); ++module) {
        for (const LocalPniAdapterHandle& handle : adapters) {
            if (!checkModule(record, copy, handle.Get(), static_cast<std::uint8_t>(module),
                             slots[module])) {
                break;
            }
        }
    }
    PNI_TRACE(3, "\nEM_PNI              : --> CheckPhysicalAddrs()");
}

bool ComparePciLocation(const CPniFruData& record, const LocalPniAdapter& adapter,
                        std::uint8_t module, std::uint8_t port, std::uint8_t function) {
    const auto stored = record.GetPciLocation(module, port, function);
    if (stored) {
        const PciAddress pni = PciAddress::FromPacked(*stored);
        PNI_TRACE(
            4,
            "\nEM_PNI              : ComparePciLocation : PNI location - Bus [%d], Dev [%d], Fn "
            "[%d]",
            pni.bus, pni.device, pni.function);
    }
    const auto& ports = adapter.GetLocalPniPortAreaList();
    const LocalPniPortFunctionArea& area =
        *ports.at(port)->GetLocalPniPortFunctionAreaList().at(function);
    // Without the segment, as the record's 16 bits.
    const auto local = PciAddress::FromPacked(static_cast<std::uint16_t>(area.GetPciPFA()));
    PNI_TRACE(
        4, "\nEM_PNI              : ComparePciLocation : OS location - Bus [%d], Dev [%d], Fn [%d]",
        local.bus, local.device, local.function);
    return stored && PciAddress::FromPacked(*stored) == local;
}

}  // namespace em_pni
