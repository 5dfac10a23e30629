// Answers the requests of a module about the network interfaces of the machine.
#pragma once

#include <cstdint>
#include <optional>

#include "em_pni/krcp_message.h"
#include "host/machine/network_snapshot.h"
#include "host/output/console.h"
#include "platform/recursive_lock.h"

namespace em_pni {

// Takes a snapshot at the first request and answers from it until a request clears it: so the
// numbers of the interfaces stay the same. Any thread may call.
class CNetworkAnswers {
  public:
    // Both must outlive this. When the view fails, the console gets one error until it works again.
    CNetworkAnswers(CINetworkView& view, CConsole& console) : view_(view), console_(console) {}

    // Writes the data of the answer and returns its status: INVALID_CMD for a bad request,
    // INVALID_OBJ for an interface that does not exist, NO_DATA for a property that it does not
    // have, EXEC_FAILED when the view fails. Returns no value for a command that is not about the
    // network.
    std::optional<std::uint32_t> Answer(CKrcpMessage& message);

  private:
    // False when there is no snapshot and none can be taken.
    bool RequireSnapshot() PNI_REQUIRES(lock_);

    CRecursiveLock lock_;
    CINetworkView& view_ PNI_GUARDED_BY(lock_);
    std::optional<NetworkSnapshot> snapshot_ PNI_GUARDED_BY(lock_);
    bool failed_ PNI_GUARDED_BY(lock_) = false;
    CConsole& console_;
};

}  // namespace em_pni
