// Parser of the SMBIOS tables that place PCI devices (DMTF DSP0134). Integers are little-endian.
#pragma once

#include <cstdint>
#include <optional>

#include "devscan/slot_tables.h"
#include "platform/bytes.h"

namespace em_pni {

struct SmbiosTablePlace {
    std::uint64_t address = 0;  // physical
    std::uint32_t size = 0;     // bytes; the 64-bit entry point states only an upper bound
};

// Finds the first entry point, "_SM3_" or "_SM_", on a 16-byte boundary of the area. Skips an entry
// point with a wrong checksum.
std::optional<SmbiosTablePlace> findSmbiosEntryPoint(CByteView area) noexcept;

// Adds the slots (type 9) with their peers and the onboard devices (type 41) to `tables`. `table`
// is the table of structures. Stops at the first structure that is not wholly inside.
void addSmbiosPlaces(CByteView table, SlotTables& tables);

}  // namespace em_pni
