// Plays the management controller: answers requests for the FRU data from an image file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "em_pni/krcp_message.h"
#include "host/machine/fru_image.h"
#include "platform/recursive_lock.h"

namespace em_pni {

// Told of everything the controller does, in the order of doing, from whichever thread asked for
// it. Must not call into the module, which is waiting for the answer.
class CIFruListener {
  public:
    virtual void OnRead(std::size_t bytes) = 0;
    virtual void OnWritten(std::size_t bytes) = 0;
    virtual void OnReadFailed(const std::string& reason) = 0;
    virtual void OnWriteFailed(const std::string& reason) = 0;

  protected:
    ~CIFruListener() = default;
};

class CFruController {
  public:
    enum class Access { readOnly, readWrite };

    // Both must outlive the controller. With readOnly a write is answered OBJ_WRITE_PROTECT, and
    // the listener hears nothing of it. A record of more than `capacity` bytes cannot be written.
    CFruController(const CFruImage& image, CIFruListener& listener, Access access,
                   std::size_t capacity = CFruImage::maxSize)
        : image_(image), listener_(listener), access_(access), capacity_(capacity) {}

    // Writes the data of the answer and returns its status; nothing for a command that is not about
    // the FRU data. Any thread may ask.
    std::optional<std::uint32_t> Answer(CKrcpMessage& message);

  private:
    // Each returns the status of its answer.
    std::uint32_t ReadFru(CKrcpMessage& message) PNI_REQUIRES(lock_);
    std::uint32_t WriteFru(const CKrcpMessage& message) PNI_REQUIRES(lock_);

    CRecursiveLock lock_;  // a read never overlaps a write, and the listener hears them in order
    const CFruImage& image_ PNI_GUARDED_BY(lock_);
    CIFruListener& listener_ PNI_GUARDED_BY(lock_);
    const Access access_;
    const std::size_t capacity_;  // in bytes
};

}  // namespace em_pni
