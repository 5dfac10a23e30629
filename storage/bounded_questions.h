// Questions to devices and file systems, which may never answer: a dead disk, a lost network.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
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

class CAnsweringChild;

// A child process asks the questions one after the other, from the construction on. A child that
// hangs is killed. When it hangs in the kernel, it is left behind.
//
// The calling process should have one thread: the child has a copy of its memory, locks included.
class CBoundedQuestions {
  public:
    // Starts no process when there are no questions.
    CBoundedQuestions(std::vector<Question> questions, const TimeLimits& limits);
    ~CBoundedQuestions();
    CBoundedQuestions(const CBoundedQuestions&) = delete;
    CBoundedQuestions& operator=(const CBoundedQuestions&) = delete;

    // Waits for the answers and returns them in the order of the questions. There is no value for a
    // question that is not answered in time, fails, or has an answer of more than 64 KiB, and for
    // all questions of its group behind it. The other groups go to a new child. After the total
    // time no more questions are asked. Call it once.
    std::vector<std::optional<std::string>> Answers();

  private:
    void Start();

    const std::vector<Question> questions_;
    const TimeLimits limits_;
    const std::chrono::steady_clock::time_point end_;
    std::vector<std::size_t> pending_;  // indexes of the questions without an answer
    std::unique_ptr<CAnsweringChild> child_;
};

}  // namespace em_pni
