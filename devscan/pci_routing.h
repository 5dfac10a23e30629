// Parser of the PCI interrupt routing table ("$PIR"), which older firmware stores below 1 MiB.
#pragma once

#include "devscan/slot_tables.h"
#include "platform/bytes.h"

namespace em_pni {

// Adds the entries of the first table with a right checksum on a 16-byte boundary of the area. The
// table begins with "$PIR", version (2 bytes) and its size in bytes (2 bytes, little-endian). From
// 0x20 on it has entries of 16 bytes: bus at 0, devfn at 1, slot at 0x0E (0 = onboard).
void addPciRouting(CByteView area, SlotTables& tables);

}  // namespace em_pni
