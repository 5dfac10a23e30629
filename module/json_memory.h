// Makes RapidJSON throw std::bad_alloc when there is no memory. RapidJSON itself would write
// through a null pointer.
//
// RapidJSON takes an allocator as a template parameter of GenericDocument. That is not enough here:
//
// - The documents of CKrcpMessage are part of the interface with the host. Their type is
//   rapidjson::Document, whose values use a MemoryPoolAllocator<CrtAllocator>. The host creates the
//   documents and the module adds members to them. Another allocator would be another type.
// - The values of an answer must have the same type as the document that they are added to.
// - A throwing allocator could cover the stacks of readers, writers and documents. But every use
//   would have to name it, and the compiler does not report one that does not.
//
// So this header specialises the two functions that allocate, for RapidJSON's default allocator.
// Every file of a program must see a specialisation before the first use. Therefore CMake includes
// this header first in the targets that use pni_krcp, and in no other target.
#pragma once

#include <cstddef>
#include <new>
#include <rapidjson/allocators.h>
#include <rapidjson/internal/stack.h>

namespace rapidjson {

// Allocates a chunk for the values of a document.
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

// Allocates the stack of a reader, a writer or a document, and the text of a string buffer.
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
