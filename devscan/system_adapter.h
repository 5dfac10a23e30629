// One PCI function of this machine, as the adapter model uses it.
#pragma once

#include "devscan/adapter_facts.h"
#include "devscan/machine.h"

namespace em_pni {

// A value: the facts stay as they were when it was made. The machine is only asked for what the
// last two operations answer; it must outlive all copies.
class CSystemAdapter {
  public:
    CSystemAdapter(AdapterFacts facts, CMachine& machine)
        : facts_(std::move(facts)), machine_(&machine) {}

    [[nodiscard]] const AdapterFacts& Facts() const noexcept { return facts_; }
    [[nodiscard]] const PciAddress& Address() const noexcept { return facts_.address; }
    [[nodiscard]] const PciIds& Ids() const noexcept { return facts_.ids; }
    [[nodiscard]] std::uint16_t ClassCode() const noexcept { return facts_.classCode; }

    // The name of the base class: "Net", "Storage", "SerialBus", ...; empty for unknown ones.
    [[nodiscard]] const char* ClassName() const noexcept;
    // Whether it, or a port of it, is InfiniBand at the moment.
    [[nodiscard]] bool IsInfinibandAdapter() const;
    // Looks names up, and may run lspci for that: for traces and dumps.
    [[nodiscard]] AdapterNames Names() const { return machine_->Names().Find(facts_.ids); }

  private:
    [[nodiscard]] bool DetectInfiniband() const;

    AdapterFacts facts_;
    CMachine* machine_;
};

}  // namespace em_pni
