// Mutations that a checksum does not stop.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace em_pni::fuzz {

// Given by each target that is built with record_mutator.cpp: where in its input the image begins;
// the input's size or more when there is none.
std::size_t imageOffset(std::span<const std::uint8_t> input);

}  // namespace em_pni::fuzz
