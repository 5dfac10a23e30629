// Damage that a checksum does not stop.
#pragma once

#include <algorithm>

#include "fuzz/record_shape.h"

namespace em_pni::fuzz {

// Given by each target whose inputs hold records: where in an input the image begins; the input's
// size or more when there is none.
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
