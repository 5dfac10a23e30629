#include "fuzz/record_mutator.h"

#include <algorithm>

#include "fuzz/record_shape.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

// Called by libFuzzer for every new input. One in eight keeps its damage.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
    size = LLVMFuzzerMutate(data, size, maxSize);
    const std::size_t offset = em_pni::fuzz::imageOffset({data, size});
    if (seed % 8 != 0 && offset < size) {
        em_pni::fuzz::Bytes image(data + offset, data + size);
        em_pni::fuzz::mendRecord(image);
        std::copy(image.begin(), image.end(), data + offset);
    }
    return size;
}
