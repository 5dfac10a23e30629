#include "devscan/slot_facts.h"

#include <cerrno>
#include <utility>

#include "devscan/kernel_slots.h"
#include "platform/number.h"

namespace em_pni {

std::optional<std::string> CSlotFacts::Read(const PciAddress& function, const char* attribute) {
    auto text = files_.ReadAttribute(
        joinedPath({"sys/bus/pci/devices", pciAddressText(function), attribute}));
    incomplete_ |= !text && isOutOfResources(errno);
    return text;
}

std::optional<std::uint32_t> CSlotFacts::ReadNumber(const PciAddress& function,
                                                    const char* attribute) {
    const auto text = Read(function, attribute);
    const auto number = text ? parseDecimal(*text, unknownSlot - 1) : std::nullopt;
    return number ? std::optional(static_cast<std::uint32_t>(*number)) : std::nullopt;
}

bool CSlotFacts::IsAri(const PciAddress& function) {
    return Read(function, "ari_enabled") == "1";
}

bool CSlotFacts::HasOnboardIndex(const PciAddress& function) {
    return ReadNumber(function, "acpi_index") || ReadNumber(function, "index");
}

std::uint32_t CSlotFacts::AcpiNumber(const PciAddress& function) {
    const auto [entry, isNew] = acpiNumbers_.try_emplace(function, unknownSlot);
    if (isNew) {
        entry->second = ReadNumber(function, "firmware_node/sun").value_or(unknownSlot);
    }
    return entry->second;
}

const std::vector<KernelSlot>& CSlotFacts::KernelSlots() {
    if (!kernelSlots_) {
        auto slots = readKernelSlots(files_);
        incomplete_ |= !slots;
        kernelSlots_ = std::move(slots).value_or(std::vector<KernelSlot>());
    }
    return *kernelSlots_;
}

}  // namespace em_pni
