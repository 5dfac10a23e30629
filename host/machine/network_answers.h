// Answers a module's questions about the machine's network interfaces.
#pragma once

#include <cstdint>
#include <optional>

#include "em_pni/krcp_message.h"
#include "host/machine/network_snapshot.h"
#include "host/output/console.h"
#include "platform/recursive_lock.h"

namespace em_pni {

// Writes the data of the answer and returns its status: INVALID_CMD for any other command,
// INVALID_OBJ for an interface that is not there, NO_DATA for what it does not have.
std::uint32_t answerNetworkRequest(const NetworkSnapshot& snapshot, CKrcpMessage& message);

// Keeps the numbers of the interfaces, and all that is told of them, from the first question until
// it is asked to drop them. Any thread may ask.
class CNetworkAnswers {
  public:
    // Both must outlive this. The console is told when the view fails, once until it works again.
    CNetworkAnswers(CINetworkView& view, CConsole& console) : view_(view), console_(console) {}

    // As above, and nothing for a command that is not about the network.
    std::optional<std::uint32_t> Answer(CKrcpMessage& message);

  private:
    bool Look() PNI_REQUIRES(lock_);

    CRecursiveLock lock_;
    CINetworkView& view_ PNI_GUARDED_BY(lock_);
    std::optional<NetworkSnapshot> snapshot_ PNI_GUARDED_BY(lock_);
    bool failed_ PNI_GUARDED_BY(lock_) = false;
    CConsole& console_;
};

}  // namespace em_pni
