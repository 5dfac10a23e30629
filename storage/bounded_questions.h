// Questions to devices and file systems, which may never answer: a dead disk, a lost network.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace em_pni {

struct TimeLimits {
    std::chrono::milliseconds each{2000};    // for one answer
    std::chrono::milliseconds total{10000};  // for all answers
};

struct Question {
    std::size_t group = 0;  // questions to one device have one number
    std::function<std::string()> ask;
};

// The answers in the order of the questions, which a child process asks one after the other. There
// is no value for a question that is not answered in time, fails, or has an answer of more than 64
// KiB, and for all questions of its group behind it. The other groups go to a new child. A child
// that hangs in the kernel is killed and left behind. After the total time no more questions are
// asked.
//
// The calling process should have one thread: the child has a copy of its memory, locks included.
std::vector<std::optional<std::string>> askBounded(const std::vector<Question>& questions,
                                                   const TimeLimits& limits);

}  // namespace em_pni
