// The played management controller: answers requests for the FRU data from an image file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "em_pni/krcp_message.h"
#include "host/machine/fru_image.h"
#include "platform/recursive_lock.h"

namespace em_pni {

// Learns what the controller does, in that order, in the thread that sends the request. Must not
// call the module, which waits for the answer.
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

    // Both must outlive the controller. With readOnly, the answer to a write is OBJ_WRITE_PROTECT
    // and the listener is not called. SET_STRING_TOOLONG refuses a record of more than `capacity`
    // bytes, and one that needs the place of another area of the image. A write keeps the bytes of
    // the other areas and never shortens the image.
    CFruController(const CFruImage& image, CIFruListener& listener, Access access,
                   std::size_t capacity = CFruImage::maxSize)
        : image_(image), listener_(listener), access_(access), capacity_(capacity) {}

    // Writes the data of the answer and returns its status. Returns no value for a command that is
    // not about the FRU data. Any thread may call.
    std::optional<std::uint32_t> Answer(CKrcpMessage& message);

  private:
    // Each returns the status of the answer.
    std::uint32_t ReadFru(CKrcpMessage& message) PNI_REQUIRES(lock_);
    std::uint32_t WriteFru(const CKrcpMessage& message) PNI_REQUIRES(lock_);
    // Throws a CHostError when the image cannot be read or replaced.
    std::uint32_t ReplaceRecord(std::vector<std::uint8_t> record) PNI_REQUIRES(lock_);

    CRecursiveLock lock_;  // one request at a time, its listener call included
    const CFruImage& image_ PNI_GUARDED_BY(lock_);
    CIFruListener& listener_ PNI_GUARDED_BY(lock_);
    const Access access_;
    const std::size_t capacity_;  // in bytes
};

}  // namespace em_pni
