// A machine without network interfaces.
#pragma once

#include <cerrno>

#include "devscan/interface_control.h"

namespace em_pni::fuzz {

class CNoInterfaces final : public CInterfaceControl {
  public:
    int Ioctl(unsigned long /*request*/, ifreq& /*data*/) override { return ENODEV; }
};

}  // namespace em_pni::fuzz
