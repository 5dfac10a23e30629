// Questions to the kernel about network interfaces by name.
#pragma once

#include <net/if.h>

#include "platform/file.h"
#include "platform/recursive_lock.h"

namespace em_pni {

class CInterfaceControl {
  public:
    CInterfaceControl() = default;
    virtual ~CInterfaceControl() = default;
    CInterfaceControl(const CInterfaceControl&) = delete;
    CInterfaceControl& operator=(const CInterfaceControl&) = delete;

    // ioctl on a socket; `request` is one of SIOC..., `data` holds the name and what the request
    // needs. Returns 0 or an error number. May be called from any thread.
    virtual int Ioctl(unsigned long request, ifreq& data) = 0;
};

class CSocketControl final : public CInterfaceControl {
  public:
    int Ioctl(unsigned long request, ifreq& data) override;

  private:
    CRecursiveLock lock_;
    CFileDescriptor socket_ PNI_GUARDED_BY(lock_);  // opened when first needed
};

}  // namespace em_pni
