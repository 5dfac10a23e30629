// The input is firmware memory with entry points, SMBIOS structures and an interrupt routing table.
// It is also the configuration space header of a PCI function.
#include "devscan/pci_routing.h"
#include "devscan/pci_text.h"
#include "devscan/smbios.h"
#include "fuzz/fuzz_input.h"

using namespace em_pni;
using namespace em_pni::fuzz;

namespace {

// No function has facts of its own.
class CNoFacts final : public CISlotFacts {
  public:
    bool IsAri(const PciAddress& /*function*/) override { return false; }
    bool HasOnboardIndex(const PciAddress& /*function*/) override { return false; }
    std::uint32_t AcpiNumber(const PciAddress& /*function*/) override { return unknownSlot; }
    const std::vector<KernelSlot>& KernelSlots() override { return none_; }

  private:
    std::vector<KernelSlot> none_;
};

void checkSlots(SlotTables tables) {
    // Limits the quadratic time of the checks below.
    tables.slots.resize(std::min<std::size_t>(tables.slots.size(), 32));
    tables.onboard.resize(std::min<std::size_t>(tables.onboard.size(), 32));
    tables.routing.resize(std::min<std::size_t>(tables.routing.size(), 32));
    std::vector<PciAddress> addresses = tables.onboard;
    for (const SmbiosSlot& slot : tables.slots) {
        addresses.insert(addresses.end(), slot.addresses.begin(), slot.addresses.end());
        const auto printed = printedSlotNumber(slot.designation);
        require(!printed || *printed <= 9999, "a printed number is short");
    }
    PciFunction function;
    function.address = {0, 0xFE, 0, 0};
    CNoFacts facts;
    const CSlotResolver resolver(tables, {function}, facts);
    for (const PciAddress& address : addresses) {
        require(address.device <= 31 && address.function <= 7, "addresses are in range");
        function.address = address;
        function.bridges.clear();
        const SlotAnswer answer = resolver.Resolve(function);
        require(answer.number == unknownSlot || answer.number == 0 || isUsableSlot(answer.number),
                "a number fits into a record");
        require((answer.number == unknownSlot) == (answer.source == SlotSource::none),
                "an answer has a source");
        function.bridges = {address};
        function.address = {0, 0xFE, 0, 0};
        require(resolver.Resolve(function).source != SlotSource::rootBus, "it is behind a bridge");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CByteView area(std::span(data, size));
    SlotTables tables;
    if (const auto place = findSmbiosEntryPoint(area)) {
        addSmbiosPlaces(area.Part(place->address, place->size), tables);
    }
    addSmbiosPlaces(area, tables);
    addPciRouting(area, tables);
    checkSlots(std::move(tables));
    PciFunction function;
    function.ids.vendor = area.U16(0);
    function.ids.device = area.U16(2);
    require(applyConfigHeader(area, function) == (size >= 64),
            "a header with the same ids is accepted");
    return 0;
}

#ifdef EM_PNI_FUZZ

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

// libFuzzer calls this for every new input. Corrects the checksum of each table that begins on a
// 16-byte boundary.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned /*seed*/) {
    size = LLVMFuzzerMutate(data, size, maxSize);
    const CByteView area(std::span(data, size));
    for (std::size_t offset = 0; area.Has(offset, 16); offset += 16) {
        const std::size_t length = area.HasText(offset, "_SM3_")  ? area.U8(offset + 6)
                                   : area.HasText(offset, "_SM_") ? area.U8(offset + 5)
                                   : area.HasText(offset, "$PIR") ? area.U16(offset + 6)
                                                                  : 0;
        const CByteView table = area.Part(offset, length);
        if (table.Size() > 8) {
            std::uint8_t& last = data[offset + table.Size() - 1];
            last = static_cast<std::uint8_t>(last - table.Sum(0, table.Size()));
        }
    }
    return size;
}

#endif
