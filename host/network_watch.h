// Hears from the kernel when addresses or links of the machine change.
#pragma once

#include "host/netlink.h"

namespace em_pni {

class CNetworkWatch {
  public:
    // Everything from here on is heard. Throws a CHostError.
    CNetworkWatch();

    // Readable when something has changed.
    [[nodiscard]] int Descriptor() const noexcept;
    // Takes all reports there are, without waiting; false when there are none. Reports that the
    // kernel had to drop count as well.
    bool TakeReports();

  private:
    NetlinkSocket socket_;
};

}  // namespace em_pni
