// Parser of the vital product data of a PCI device (PCI Local Bus 3.0, appendix I).
#pragma once

#include <string>

#include "platform/bytes.h"

namespace em_pni {

// Printable ASCII. Empty = the device does not tell it.
struct PciVpd {
    std::string partNumber;
    std::string serialNumber;
};

// `data` is a list of resources. Reads the keywords PN and SN of the read-only resource. Stops at
// the first resource or keyword that is not wholly inside.
PciVpd parsePciVpd(CByteView data);

}  // namespace em_pni
