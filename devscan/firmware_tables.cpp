#include "devscan/firmware_tables.h"

#include <algorithm>
#include <cerrno>

#include "devscan/pci_routing.h"
#include "devscan/smbios.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

constexpr const char* memoryPath = "dev/mem";
constexpr std::size_t biosAreaStart = 0xF0000;  // physical
constexpr std::size_t biosAreaSize = 0x10000;
constexpr std::size_t maxSmbiosTable = std::size_t{1} << 20U;

std::optional<std::string> smbiosFromMemory(const CFileTree& files, const std::string& biosArea) {
    const auto place = findSmbiosEntryPoint(CByteView(biosArea));
    if (!place) {
        return std::nullopt;
    }
    return files.ReadRange(memoryPath, place->address,
                           std::min<std::size_t>(place->size, maxSmbiosTable));
}

}  // namespace

std::optional<SlotTables> readSlotTables(const CFileTree& files) {
    const auto biosArea = files.ReadRange(memoryPath, biosAreaStart, biosAreaSize);
    if (!biosArea && isOutOfResources(errno)) {
        return std::nullopt;
    }
    auto smbios = files.ReadFile("sys/firmware/dmi/tables/DMI", maxSmbiosTable);
    if (!smbios && isOutOfResources(errno)) {
        return std::nullopt;
    }
    if (!smbios && biosArea) {
        smbios = smbiosFromMemory(files, *biosArea);
    }
    SlotTables tables;
    if (smbios) {
        addSmbiosPlaces(CByteView(*smbios), tables);
    }
    if (biosArea) {
        addPciRouting(CByteView(*biosArea), tables);
    }
    PNI_TRACE(5,
              "\nCSystemAdapter      : firmware tables: %zu slot addresses, %zu onboard devices, "
              "%zu routed devices",
              tables.slots.size(), tables.onboard.size(), tables.routing.size());
    return tables;
}

}  // namespace em_pni
