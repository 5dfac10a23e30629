// Asks the kernel about network interfaces by name.
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

    // Calls ioctl on a socket. `request` is a SIOC... constant. `data` holds the name of the
    // interface and the arguments, and receives the answer. Returns 0 or an errno value. Any thread
    // may call.
    virtual int Ioctl(unsigned long request, ifreq& data) = 0;
};

class CSocketControl final : public CInterfaceControl {
  public:
    int Ioctl(unsigned long request, ifreq& data) override;

  private:
    CRecursiveLock lock_;
    CFileDescriptor socket_ PNI_GUARDED_BY(lock_);  // opened by the first call
};

}  // namespace em_pni
