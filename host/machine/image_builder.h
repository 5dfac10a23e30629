// Makes a new FRU image with a record of given modules.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace em_pni {

struct ModuleStream {
    std::vector<std::uint8_t> bytes;  // as the record holds them
    std::uint32_t slot = 0;           // 0 = onboard; unknownSlot = none, and the id stays as it is
};

struct ImageFormat {
    std::uint8_t version = 12;        // of the record: 11 or 12
    std::optional<std::size_t> size;  // of the image, filled up with zeros; else what it takes
};

// A valid image; throws a CHostError when there can be none: without modules, with more than the
// format has room for, or with too small a size. Onboard modules come first and have id 0, then the
// others in order of their slots, each with the low six bits of its slot as its id or, when another
// module has that, with the next free one.
std::vector<std::uint8_t> buildImage(std::vector<ModuleStream> modules, const ImageFormat& format);

}  // namespace em_pni
