// Builds a new FRU image with a record of given modules.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "frudata/pni_fru_data.h"

namespace em_pni {

struct ModuleStream {
    std::vector<std::uint8_t> bytes;  // the module area of the record
    std::uint32_t slot = 0;           // 0 = onboard; unknownSlot = keep the id
};

struct ImageFormat {
    std::uint8_t version = 12;  // format version of the record: 11 or 12
    std::optional<std::size_t>
        size;  // of the image, padded with zeros; no value = as the record needs
};

// Returns a valid image. Throws a CHostError when there is no module, when the modules do not fit
// in the format, or when the size is too small. Onboard modules come first and have id 0. The
// others follow in the order of their slots. The id of each is the low six bits of its slot, or the
// next free id when another module has that one.
// `complete`, when given, may change the record before it is padded to the size.
std::vector<std::uint8_t> buildImage(std::vector<ModuleStream> modules, const ImageFormat& format,
                                     const std::function<void(CPniFruData&)>& complete = {});

}  // namespace em_pni
