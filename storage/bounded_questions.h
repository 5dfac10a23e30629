// Questions to devices and file systems, which may never answer: a dead disk, a lost network.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace em_pni {

struct TimeLimits {
    std::chrono::milliseconds each{2000};    // for one answer
    std::chrono::milliseconds total{10000};  // for all answers
};

using Question = std::function<std::string()>;

// The answers in the order of the questions, which a child process asks one after the other. There
// is no value for a question that does not answer in time, fails, or answers more than 64 KiB. Such
// a question does not disturb the others: they go to a new child. A child that hangs in the kernel
// is killed and left behind. After the total time no more questions are asked.
//
// The calling process should have one thread: the child has a copy of its memory, locks included.
std::vector<std::optional<std::string>> askBounded(const std::vector<Question>& questions,
                                                   const TimeLimits& limits);

}  // namespace em_pni
