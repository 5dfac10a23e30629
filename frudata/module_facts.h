// What a module of a record is, whatever the format version of the record.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "frudata/record_cursor.h"
#include "platform/pci_address.h"

namespace em_pni {

// Technology of a whole module.
enum class ModuleTechnology : std::uint8_t {
    cna = 0,
    fc = 1,
    ib = 2,
    eth = 3,
    sas = 4,
    none = 255
};

// Where a module sits.
enum class ModuleType : std::uint8_t { onboard = 0, mezzanine = 1, pciAddIn = 2, unknown = 255 };

struct ModuleFacts {
    std::uint8_t index = 0;      // position in the record
    std::uint8_t moduleId = 0;   // the slot it sits in, 0 = onboard
    std::size_t headerSize = 0;  // bytes, as far as they are inside the image
    ModuleTechnology technology = ModuleTechnology::none;
    ModuleType type = ModuleType::unknown;
    std::optional<PciAddress> pciAddress;  // of the first function
};

// Of the module that the cursor has just entered; what its header and functions do not hold stays
// as above.
ModuleFacts moduleFacts(const CRecordCursor& atModule) noexcept;
// The module's own code, or in a record without codes what its first function makes it.
ModuleTechnology moduleTechnology(const CRecordCursor& atModule) noexcept;

}  // namespace em_pni
