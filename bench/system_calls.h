// Counts system calls.
#pragma once

#include <functional>
#include <optional>

namespace em_pni::bench {

// The system calls that `body` makes in a forked copy of this process, which has one thread.
// Nothing where this process may not trace its child.
std::optional<long> countSystemCalls(const std::function<void()>& body);

}  // namespace em_pni::bench
