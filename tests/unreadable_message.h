// A message of the other side, made with another RapidJSON. A program that reads or writes its
// document ends with a segmentation fault.
#pragma once

#include <new>
#include <sys/mman.h>
#include <unistd.h>

#include "em_pni/krcp_message.h"

namespace em_pni::test {

class CUnreadableMessage {
  public:
    explicit CUnreadableMessage(const InterfaceTag& tag) {
        if (pages_ == MAP_FAILED || ::mprotect(pages_ + pageSize_, pageSize_, PROT_NONE) != 0) {
            throw std::bad_alloc();
        }
        // The document begins where the second page begins.
        const CKrcpMessage model;
        const auto* const begin = reinterpret_cast<const char*>(&model);
        const auto* const document = reinterpret_cast<const char*>(&model.document);
        message_ = reinterpret_cast<CKrcpMessage*>(pages_ + pageSize_ - (document - begin));
        message_->tag = tag;
    }
    ~CUnreadableMessage() { ::munmap(pages_, 2 * pageSize_); }
    CUnreadableMessage(const CUnreadableMessage&) = delete;
    CUnreadableMessage& operator=(const CUnreadableMessage&) = delete;

    [[nodiscard]] CKrcpMessage& Get() { return *message_; }

    // A tag with a value of 24 bytes.
    static constexpr InterfaceTag OtherTag() {
        InterfaceTag tag = interfaceTag;
        tag.valueSize = 24;
        return tag;
    }
    // The tag of a message that this code has refused.
    static constexpr InterfaceTag RefusalTag() {
        InterfaceTag tag = interfaceTag;
        tag.settings |= InterfaceTag::refusal;
        return tag;
    }

  private:
    const std::size_t pageSize_ = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    char* const pages_ = static_cast<char*>(
        ::mmap(nullptr, 2 * pageSize_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    CKrcpMessage* message_ = nullptr;
};

}  // namespace em_pni::test
