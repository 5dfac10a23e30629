// What sysfs says about the places of single PCI functions.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "devscan/file_tree.h"
#include "devscan/slot_tables.h"

namespace em_pni {

// For one scan: reads each bridge and the kernel's slots once.
class CSlotFacts final : public CISlotFacts {
  public:
    // `files` must outlive this object.
    explicit CSlotFacts(const CFileTree& files) : files_(files) {}

    bool IsAri(const PciAddress& function) override;
    bool HasOnboardIndex(const PciAddress& function) override;
    std::uint32_t AcpiNumber(const PciAddress& function) override;
    const std::vector<KernelSlot>& KernelSlots() override;

    // Whether a fact could not be read because this process lacks descriptors or memory. Answers
    // of the slot rule may then be wrong.
    [[nodiscard]] bool AreIncomplete() const noexcept { return incomplete_; }

  private:
    std::optional<std::string> Read(const PciAddress& function, const char* attribute);
    std::optional<std::uint32_t> ReadNumber(const PciAddress& function, const char* attribute);

    const CFileTree& files_;
    std::map<PciAddress, std::uint32_t> acpiNumbers_;
    std::optional<std::vector<KernelSlot>> kernelSlots_;
    bool incomplete_ = false;
};

}  // namespace em_pni
