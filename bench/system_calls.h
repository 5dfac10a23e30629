// Counts system calls.
#pragma once

#include <functional>
#include <optional>

namespace em_pni::bench {

// Runs `body` in a forked child and returns the number of its system calls. Returns no value when
// this process may not trace the child. The process must have one thread only.
std::optional<long> countSystemCalls(const std::function<void()>& body);

}  // namespace em_pni::bench
