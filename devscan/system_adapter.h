// One adapter function of a machine.
#pragma once

#include "devscan/adapter_facts.h"
#include "devscan/machine.h"

namespace em_pni {

// Holds the facts of the scan. Only the last two operations ask the machine again. The machine must
// outlive this object and its copies.
class CSystemAdapter {
  public:
    CSystemAdapter(AdapterFacts facts, CMachine& machine)
        : facts_(std::move(facts)), machine_(&machine) {}

    [[nodiscard]] const AdapterFacts& Facts() const noexcept { return facts_; }
    [[nodiscard]] const PciAddress& Address() const noexcept { return facts_.address; }
    [[nodiscard]] const PciIds& Ids() const noexcept { return facts_.ids; }
    [[nodiscard]] std::uint16_t ClassCode() const noexcept { return facts_.classCode; }

    // The name of the base class: "Net", "Storage", "SerialBus", ... Empty for an unknown class.
    [[nodiscard]] const char* ClassName() const noexcept;
    // Whether the function or one of its ports is InfiniBand now. Reads sysfs.
    [[nodiscard]] bool IsInfinibandAdapter() const;
    // Reads the name file and may run lspci.
    [[nodiscard]] AdapterNames Names() const { return machine_->Names().Find(facts_.ids); }

  private:
    [[nodiscard]] bool DetectInfiniband() const;

    AdapterFacts facts_;
    CMachine* machine_;
};

}  // namespace em_pni
