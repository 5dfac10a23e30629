#include "storage/bounded_questions.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <numeric>
#include <poll.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "platform/file.h"

namespace em_pni {
namespace {

using Clock = std::chrono::steady_clock;

// An answer in the pipe is its length and its text.
using Length = std::uint32_t;
constexpr Length maxAnswer = 65536;

// Runs in the child. A child that hangs must not keep the output of this program open.
[[noreturn]] void answer(const std::vector<Question>& questions,
                         const std::vector<std::size_t>& pending, int pipe) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        ::dup2(null, stream);
    }
    try {
        for (const std::size_t question : pending) {
            const std::string text = questions[question].ask();
            const auto length = static_cast<Length>(text.size());
            std::string frame(sizeof(length), '\0');
            std::memcpy(frame.data(), &length, sizeof(length));
            if (text.size() > maxAnswer || !writeAll(pipe, frame + text)) {
                break;
            }
        }
    } catch (...) {  // NOLINT(bugprone-empty-catch): the end of the pipe tells it
    }
    ::_exit(0);
}

}  // namespace

class CAnsweringChild {
  public:
    CAnsweringChild(const std::vector<Question>& questions,
                    const std::vector<std::size_t>& pending) {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            return;
        }
        input_ = CFileDescriptor(ends[0]);
        const CFileDescriptor output(ends[1]);
        child_ = ::fork();
        if (child_ == 0) {
            answer(questions, pending, output.Get());
        }
    }
    ~CAnsweringChild() {
        if (child_ <= 0) {
            return;
        }
        ::kill(child_, SIGKILL);
        // One that hangs in the kernel dies later or never.
        constexpr std::chrono::milliseconds dying{200};
        const Clock::time_point end = Clock::now() + dying;
        while (::waitpid(child_, nullptr, WNOHANG) == 0 && Clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
    }
    CAnsweringChild(const CAnsweringChild&) = delete;
    CAnsweringChild& operator=(const CAnsweringChild&) = delete;

    [[nodiscard]] bool IsRunning() const noexcept { return child_ > 0; }

    // Returns no value when the child ends or `end` comes before the answer.
    std::optional<std::string> Next(Clock::time_point end) {
        for (;;) {
            Length length = 0;
            if (bytes_.size() >= sizeof(length)) {
                std::memcpy(&length, bytes_.data(), sizeof(length));
                if (bytes_.size() - sizeof(length) >= length) {
                    std::string text = bytes_.substr(sizeof(length), length);
                    bytes_.erase(0, sizeof(length) + length);
                    return text;
                }
            }
            if (length > maxAnswer || !Fill(end)) {
                return std::nullopt;
            }
        }
    }

  private:
    // Waits for bytes. Returns false at `end` and at the end of the pipe.
    bool Fill(Clock::time_point end) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd input{input_.Get(), POLLIN, 0};
        const int wait = static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
        if (const int ready = ::poll(&input, 1, wait); ready <= 0) {
            return ready < 0 && errno == EINTR;
        }
        std::array<char, 4096> block;
        const ssize_t got = ::read(input_.Get(), block.data(), block.size());
        if (got <= 0) {
            return got < 0 && errno == EINTR;
        }
        bytes_.append(block.data(), static_cast<std::size_t>(got));
        return true;
    }

    CFileDescriptor input_;
    pid_t child_ = -1;
    std::string bytes_;  // not yet taken
};

CBoundedQuestions::CBoundedQuestions(std::vector<Question> questions, const TimeLimits& limits)
    : questions_(std::move(questions)),
      limits_(limits),
      end_(Clock::now() + limits.total),
      pending_(questions_.size()) {
    std::iota(pending_.begin(), pending_.end(), std::size_t{0});
    Start();
}

CBoundedQuestions::~CBoundedQuestions() = default;

void CBoundedQuestions::Start() {
    child_.reset();
    if (!pending_.empty() && Clock::now() < end_) {
        child_ = std::make_unique<CAnsweringChild>(questions_, pending_);
    }
}

std::vector<std::optional<std::string>> CBoundedQuestions::Answers() {
    std::vector<std::optional<std::string>> answers(questions_.size());
    while (child_ && child_->IsRunning()) {
        const auto missed =
            std::find_if(pending_.begin(), pending_.end(), [&](std::size_t question) {
                answers[question] = child_->Next(std::min(end_, Clock::now() + limits_.each));
                return !answers[question];
            });
        if (missed == pending_.end()) {
            break;
        }
        const std::size_t group = questions_[*missed].group;
        pending_.erase(pending_.begin(), missed + 1);
        std::erase_if(pending_,
                      [&](std::size_t question) { return questions_[question].group == group; });
        Start();
    }
    return answers;
}

}  // namespace em_pni
