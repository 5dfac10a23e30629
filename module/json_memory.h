// What RapidJSON does without memory: it throws std::bad_alloc instead of writing through a null
// pointer. Every file that uses pni_krcp is compiled with this header first.
#pragma once

#include <cstddef>
#include <new>
#include <rapidjson/allocators.h>
#include <rapidjson/internal/stack.h>

namespace rapidjson {

// The values of every document come out of these chunks.
template <>
inline bool MemoryPoolAllocator<CrtAllocator>::AddChunk(std::size_t capacity) {
    if (baseAllocator_ == nullptr) {
        ownBaseAllocator_ = baseAllocator_ = new CrtAllocator();
    }
    void* const memory = baseAllocator_->Malloc(RAPIDJSON_ALIGN(sizeof(ChunkHeader)) + capacity);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    chunkHead_ = new (memory) ChunkHeader{capacity, 0, chunkHead_};
    return true;
}

// The stack of readers and writers.
template <>
inline void internal::Stack<CrtAllocator>::Resize(std::size_t newCapacity) {
    const std::size_t size = GetSize();
    void* const memory = allocator_->Realloc(stack_, GetCapacity(), newCapacity);
    if (memory == nullptr && newCapacity > 0) {
        throw std::bad_alloc();
    }
    stack_ = static_cast<char*>(memory);
    stackTop_ = stack_ + size;
    stackEnd_ = stack_ + newCapacity;
}

}  // namespace rapidjson
