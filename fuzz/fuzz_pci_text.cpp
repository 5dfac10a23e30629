// Any text as the output of kernel and tools about PCI functions: by each parser, and as the answer
// of every command during a scan of a machine that has no files.
#include <algorithm>

#include "devscan/adapter_names.h"
#include "devscan/hardware_address.h"
#include "devscan/pci_list.h"
#include "devscan/pci_text.h"
#include "devscan/scan.h"
#include "fuzz/fuzz_input.h"
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

class CNoInterfaces final : public CInterfaceControl {
  public:
    int Ioctl(unsigned long /*request*/, ifreq& /*data*/) override { return ENODEV; }
};

void checkFunctions(const std::vector<PciFunction>& functions, std::string_view text) {
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    require(functions.size() <= lines, "a line tells of one function at most");
    for (const PciFunction& function : functions) {
        const PciAddress& address = function.address;
        require(address.device <= 31 && address.function <= 7, "a listed function has a place");
        require(parsePciAddress(pciAddressText(address)) == address, "whose text says the same");
    }
}

void checkLine(std::string_view line) {
    (void)parseModalias(line);
    (void)parseMacAddress(line);
    (void)parseWorldWideName(line);
    (void)deviceNameOfLspciLine(line);
    const auto address = pciAddressOfPath(line);
    const auto bridges = pciBridgesOfPath(line);
    require(bridges.size() <= line.size() / 8, "a bridge takes its text");
    require(!parsePciAddress(line) || address == parsePciAddress(line), "an address is a path");
    const std::string printable = printableText(line);
    require(printableText(printable) == printable, "what is printable stays");
}

// In the order of their addresses, each once.
void checkScan(std::string_view text) {
    CMachine machine("/nowhere", std::make_unique<CSameAnswer>(text),
                     std::make_unique<CNoInterfaces>());
    const auto functions = listPciFunctions(machine);
    const auto adapters = ScanSystemAdapters(machine);
    require(adapters.has_value() == functions.has_value(), "a list makes a scan");
    if (functions) {
        const auto unordered = std::adjacent_find(
            functions->begin(), functions->end(),
            [](const auto& a, const auto& b) { return !(a.address < b.address); });
        require(unordered == functions->end(), "functions are in order, each once");
        require(adapters->size() <= functions->size(), "an adapter is a function");
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
