// What a module of a record is, in every format version.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "frudata/layout.h"
#include "frudata/record_cursor.h"
#include "platform/pci_address.h"

namespace em_pni {

// A fact that the record does not hold keeps the value given here.
struct ModuleFacts {
    std::uint8_t index = 0;      // position in the record
    std::uint8_t moduleId = 0;   // slot of the module; 0 = onboard
    std::size_t headerSize = 0;  // bytes, as far as they are inside the image
    ModuleTechnology technology = ModuleTechnology::none;
    ModuleType type = ModuleType::unknown;
    std::optional<PciAddress> pciAddress;  // of the first function
};

// The facts of the module that the cursor has just entered.
ModuleFacts moduleFacts(const CRecordCursor& atModule) noexcept;

// The technology code of the module. In format version 10 it follows from the first function.
ModuleTechnology moduleTechnology(const CRecordCursor& atModule) noexcept;

}  // namespace em_pni
