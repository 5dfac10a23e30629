// The PCI interrupt routing table ("$PIR") that older firmware leaves below 1 MiB.
#pragma once

#include "devscan/slot_tables.h"
#include "platform/bytes.h"

namespace em_pni {

// Adds the entries of the first table, on a 16-byte boundary of the area, whose checksum holds:
// "$PIR", version, size of the table (16 bit, at 6); from 0x20 on entries of 16 bytes: bus, devfn,
// ..., slot (at 0x0E).
void addPciRouting(CByteView area, SlotTables& tables);

}  // namespace em_pni
