// The system management BIOS tables (DMTF DSP0134), as far as they place PCI devices.
#pragma once

#include <cstdint>
#include <optional>

#include "devscan/slot_tables.h"
#include "platform/bytes.h"

namespace em_pni {

struct SmbiosTablePlace {
    std::uint64_t address = 0;  // physical
    std::uint32_t size = 0;     // bytes, an upper bound in the 64 bit form
};

// Finds an entry point, "_SM3_" or "_SM_", on a 16-byte boundary of the area. An entry whose
// checksum does not hold is none.
std::optional<SmbiosTablePlace> findSmbiosEntryPoint(CByteView area) noexcept;

// Adds slots (type 9, with their peers) and onboard devices (type 41) of the structure table to
// `tables`. Stops at the first structure that is not wholly inside.
void addSmbiosPlaces(CByteView table, SlotTables& tables);

}  // namespace em_pni
