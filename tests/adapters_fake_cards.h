// Functions of cards that exist only in a test.
#pragma once

#include <string>

#include "adapters/local_pni_adapter_handle.h"
#include "tests/devscan_fake_machine.h"

namespace em_pni {

inline AdapterFacts nicFacts(const PciAddress& address, std::uint32_t slot = 3) {
    AdapterFacts facts;
    facts.address = address;
    facts.ids = {0x8086, 0x1521, 0x15D9, 0x0001};
    facts.classCode = 0x0200;
    facts.headerType = 0x80;
    facts.permanentMac = MacAddress{2, 0, 0, 0, 1, address.function};
    facts.activeMac = MacAddress{2, 0, 0, 0, 2, address.function};
    facts.slot = slot;
    return facts;
}

inline AdapterFacts fcFacts(const PciAddress& address) {
    AdapterFacts facts;
    facts.address = address;
    facts.ids = {0x10DF, 0xF100, 0x10DF, 0xF101};
    facts.classCode = 0x0C04;
    facts.nodeName = WorldWideName{0x20, 0, 0, 0x90, 0xFA, 0x94, 0x27, 0x79};
    facts.portName = WorldWideName{0x10, 0, 0, 0x90, 0xFA, 0x94, 0x27, 0x79};
    facts.slot = 0;
    return facts;
}

inline DeviceToAdaptersMap deviceOf(CFakeMachine& machine, const std::vector<AdapterFacts>& all) {
    const PciAddress& address = all.front().address;
    DeviceToAdaptersMap device({address.segment, address.bus, address.device});
    for (const AdapterFacts& facts : all) {
        device.Insert(CSystemAdapter(facts, machine.Machine()));
    }
    return device;
}

// A function whose own part has any size and whose label any text, and that can be cloned `clones`
// times.
class COddFunction final : public LocalPniPortFunctionAreaOf<FcTechnology> {
  public:
    COddFunction(const CSystemAdapter& adapter, std::size_t size, std::string label, int* clones)
        : LocalPniPortFunctionAreaOf(0, adapter, true),
          size_(size),
          label_(std::move(label)),
          clones_(clones) {}
    [[nodiscard]] std::unique_ptr<LocalPniPortFunctionArea> Clone() const override {
        return (*clones_)-- > 0 ? std::make_unique<COddFunction>(*this) : nullptr;
    }
    [[nodiscard]] PhysicalAddress GetPhysicalAddress() const override { return {}; }
    [[nodiscard]] std::string GetFunctionLabel() const override { return label_; }
    [[nodiscard]] std::uint16_t GetSpeed() const override { return 0; }
    [[nodiscard]] std::vector<std::uint8_t> ToPniFruDataPortFnSpecific() const override {
        return std::vector<std::uint8_t>(size_);
    }

  private:
    std::size_t size_;
    std::string label_;
    int* clones_;
};

// The text of the exception that ends `action`; empty when none does.
template <class Action>
std::string textOfException(Action action) {
    try {
        action();
    } catch (const std::exception& exception) {
        return exception.what();
    }
    return "";
}

}  // namespace em_pni
