// The input is text from the kernel or tools about PCI functions. Each parser reads it. Then it is
// the output of every command during a scan of a machine without files.
#include <algorithm>

#include "devscan/hardware_address.h"
#include "devscan/pci_list.h"
#include "devscan/pci_text.h"
#include "devscan/scan.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/no_interfaces.h"
#include "platform/text.h"

using namespace em_pni;
using namespace em_pni::fuzz;

namespace {

class CSameAnswer final : public CCommandRunner {
  public:
    explicit CSameAnswer(std::string_view text) : text_(text) {}
    std::optional<std::string> Run(const std::vector<std::string>& /*command*/) override {
        return text_;
    }

  private:
    std::string text_;
};

void checkFunctions(const std::vector<PciFunction>& functions, std::string_view text) {
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    require(functions.size() <= lines, "a line has one function at most");
    for (const PciFunction& function : functions) {
        const PciAddress& address = function.address;
        require(address.device <= 31 && address.function <= 7, "addresses are in range");
        require(parsePciAddress(pciAddressText(address)) == address, "address texts are exact");
    }
}

void checkLine(std::string_view line) {
    (void)parseModalias(line);
    (void)parseMacAddress(line);
    (void)parseWorldWideName(line);
    (void)deviceNameOfLspciLine(line);
    const auto address = pciAddressOfPath(line);
    const auto bridges = pciBridgesOfPath(line);
    require(bridges.size() <= line.size() / 8, "each bridge stands in the path");
    require(!parsePciAddress(line) || address == parsePciAddress(line), "an address is a path");
    const std::string printable = printableText(line);
    require(printableText(printable) == printable, "printable text stays the same");
}

// Checks that the list has each address once, in order.
void checkScan(std::string_view text) {
    CMachine machine("/nowhere", std::make_unique<CSameAnswer>(text),
                     std::make_unique<CNoInterfaces>());
    const auto functions = listPciFunctions(machine);
    const auto adapters = ScanSystemAdapters(machine);
    require(adapters.has_value() == functions.has_value(), "a scan succeeds when there is a list");
    if (functions) {
        const auto unordered = std::adjacent_find(
            functions->begin(), functions->end(),
            [](const auto& a, const auto& b) { return !(a.address < b.address); });
        require(unordered == functions->end(), "functions are in order and each occurs once");
        require(adapters->size() <= functions->size(),
                "there are not more adapters than functions");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    checkFunctions(parseProcPciDevices(text), text);
    checkFunctions(parseLspciRecords(text), text);
    checkFunctions(parseLocalcliRecords(text), text);
    std::string_view rest = text;
    checkLine(takeUntil(rest, '\n'));
    checkScan(text);
    return 0;
}
