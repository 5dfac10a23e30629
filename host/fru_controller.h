// Plays the management controller: answers the module's requests from a FRU image file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "em_pni/em_pni.h"
#include "host/fru_image.h"
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

class CFruController final : public CIHostInterface {
  public:
    enum class Access { readOnly, readWrite };

    // Both must outlive the controller. With readOnly a write is answered OBJ_WRITE_PROTECT, and
    // the listener hears nothing of it.
    CFruController(const CFruImage& image, CIFruListener& listener, Access access)
        : image_(image), listener_(listener), access_(access) {}

    // 0 when the message has no command that could take the answer.
    std::uint32_t SendRequest(CIExtensionModule* module, CKrcpMessage& message,
                              std::uint32_t timeoutMs) override;
    std::uint32_t SwitchStartFinished(CIExtensionModule* /*module*/,
                                      std::uint32_t /*value*/) override {
        return 1;
    }
    std::uint32_t GetHostKind() override { return 0; }

  private:
    // Each returns the status of its answer.
    std::uint32_t Answer(CKrcpMessage& message);
    std::uint32_t ReadFru(CKrcpMessage& message) PNI_REQUIRES(lock_);
    std::uint32_t WriteFru(const CKrcpMessage& message) PNI_REQUIRES(lock_);

    CRecursiveLock lock_;  // a read never overlaps a write, and the listener hears them in order
    const CFruImage& image_ PNI_GUARDED_BY(lock_);
    CIFruListener& listener_ PNI_GUARDED_BY(lock_);
    const Access access_;
};

}  // namespace em_pni
