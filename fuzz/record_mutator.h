// Repairs the record in a fuzz input, so that a mutation gets past the checksums.
#pragma once

#include <algorithm>

#include "fuzz/record_shape.h"

namespace em_pni::fuzz {

// Each target with records in its inputs defines this. Returns the offset of the image in an input.
// The offset is not smaller than the size of the input when the input has no image.
std::size_t imageOffset(std::span<const std::uint8_t> input);

inline void mendInput(std::span<std::uint8_t> input) {
    const std::size_t offset = imageOffset(input);
    if (offset < input.size()) {
        const auto place = input.subspan(offset);
        Bytes image(place.begin(), place.end());
        mendRecord(image);
        std::copy(image.begin(), image.end(), place.begin());
    }
}

}  // namespace em_pni::fuzz
