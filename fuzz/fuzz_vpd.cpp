// The input is the vital product data of a PCI device.
#include "fuzz/fuzz_input.h"
#include "host/machine/pci_vpd.h"
#include "platform/text.h"

using namespace em_pni;
using namespace em_pni::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const PciVpd found = parsePciVpd(CByteView(data, size));
    for (const std::string& text : {found.partNumber, found.serialNumber}) {
        require(text.size() <= size, "a text comes from the input");
        require(text == printableText(text), "a text is printable");
    }
    return 0;
}
