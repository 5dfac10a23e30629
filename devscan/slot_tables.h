// The slot number of a PCI device: what firmware and kernel say about places, and the rule that
// chooses among them.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "devscan/pci_function.h"

namespace em_pni {

// One SMBIOS slot structure (type 9).
struct SmbiosSlot {
    std::uint16_t id = 0;
    bool inUse = false;
    std::string designation;            // printable ASCII, may be empty
    std::vector<PciAddress> addresses;  // its own and those of its peers; only usable ones
};

// An entry of the PCI interrupt routing table; segment 0.
struct RoutedDevice {
    std::uint8_t bus = 0;
    std::uint8_t device = 0;
    std::uint8_t slot = 0;  // 0 = onboard
};

// The tables of the firmware. They do not change while the machine runs.
struct SlotTables {
    std::vector<SmbiosSlot> slots;
    std::vector<PciAddress> onboard;  // SMBIOS type 41: enabled, of type Ethernet
    std::vector<RoutedDevice> routing;
};

// A slot of the kernel: /sys/bus/pci/slots/NAME/address.
struct KernelSlot {
    std::uint32_t number = 0;
    PciAddress place;         // its function says nothing
    bool isWholeBus = false;  // then its device says nothing either
};

// What kernel and firmware say about single functions. The rule asks only what it needs.
class CISlotFacts {
  public:
    // Whether function numbers continue in the device number (alternative routing).
    virtual bool IsAri(const PciAddress& function) = 0;
    // Whether the function has firmware's onboard mark: acpi_index, or else index.
    virtual bool HasOnboardIndex(const PciAddress& function) = 0;
    // _SUN of the firmware node of a function or bridge. unknownSlot = there is none.
    virtual std::uint32_t AcpiNumber(const PciAddress& function) = 0;
    virtual const std::vector<KernelSlot>& KernelSlots() = 0;

  protected:
    ~CISlotFacts() = default;
};

// Which part of the rule decided.
enum class SlotSource : std::uint8_t {
    none,           // nothing names the place
    smbiosOnboard,  // type 41
    smbiosSlot,     // type 9 names the card
    routingTable,   // $PIR names the card
    onboardIndex,   // acpi_index or index of the card
    acpiNumber,     // _SUN of the card
    bridge,         // type 9, _SUN or $PIR names a bridge above the card
    kernelSlot,
    rootBus,  // on a root bus and named by nothing
    list,     // the list of PCI functions states the slot itself (localcli)
};

// "smbios-onboard", "smbios-slot", ...; empty for none.
const char* nameOf(SlotSource source) noexcept;

struct SlotAnswer {
    std::uint32_t number = unknownSlot;  // 0 = onboard
    SlotSource source = SlotSource::none;
    std::string designation;  // of the SMBIOS structure that decided, else empty
};

// Answers for any number of functions of one scan.
class CSlotResolver {
  public:
    // `functions` are all PCI functions of the machine, in order of address. `tables` and `facts`
    // must outlive this object.
    CSlotResolver(const SlotTables& tables, const std::vector<PciFunction>& functions,
                  CISlotFacts& facts);

    [[nodiscard]] SlotAnswer Resolve(const PciFunction& function) const;

  private:
    // What a slot structure says about one address.
    struct Place {
        const SmbiosSlot* slot;
        std::uint32_t number;
    };
    // How much of two addresses is compared.
    enum class Match { function, device, bus };

    static bool Matches(const PciAddress& left, const PciAddress& right, Match match) noexcept;
    void AddPlaces();
    [[nodiscard]] bool IsShifted() const;
    [[nodiscard]] PciAddress WithSegment(PciAddress address) const;
    [[nodiscard]] bool IsOnboard(const PciAddress& address) const;
    [[nodiscard]] SlotAnswer FindSlot(const PciAddress& address,
                                      std::initializer_list<Match> narrowFirst,
                                      SlotSource source) const;
    [[nodiscard]] SlotAnswer FindCard(const PciAddress& address) const;
    [[nodiscard]] SlotAnswer FindBridge(const PciAddress& bridge, std::uint8_t secondaryBus) const;
    [[nodiscard]] std::optional<std::uint32_t> Routed(const PciAddress& address) const;
    [[nodiscard]] SlotAnswer FindKernelSlot(const PciFunction& function) const;
    [[nodiscard]] std::uint32_t KernelSlotAt(const PciAddress& address, Match match) const;
    [[nodiscard]] bool IsOnlyBridge(const PciAddress& bridge) const;

    const SlotTables& tables_;
    CISlotFacts& facts_;
    std::multimap<PciAddress, Place> places_;  // only those of structures with a number
    std::vector<PciAddress> onboard_;
    std::vector<PciAddress> functions_;  // of the machine, in order
    std::vector<PciAddress> bridges_;    // those of `functions_` that are bridges
    std::set<std::uint16_t> segments_;   // of `functions_`
};

// Whether a record can hold the number: it keeps the low six bits, where 0 means onboard.
bool isUsableSlot(std::uint32_t number) noexcept;

// The number printed in a slot's designation: "Slot 4", "PCIe 4", "PCI-E 4". Returns no value when
// there is none, and for a number that counts within a riser, processor or chassis.
std::optional<std::uint32_t> printedSlotNumber(std::string_view designation) noexcept;

}  // namespace em_pni
