#include "fuzz/record_mutator.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

// libFuzzer calls this for every new input. One input in eight stays damaged.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
    size = LLVMFuzzerMutate(data, size, maxSize);
    if (seed % 8 != 0) {
        em_pni::fuzz::mendInput({data, size});
    }
    return size;
}
