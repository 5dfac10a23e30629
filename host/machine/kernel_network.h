// The network interfaces of the machine that this process runs on.
#pragma once

#include "host/machine/network_snapshot.h"

namespace em_pni {

// Of the network namespace of the thread that asks.
class CKernelNetwork final : public CINetworkView {
  public:
    // In the order of the kernel's own numbers.
    NetworkSnapshot Take() override;
};

}  // namespace em_pni
