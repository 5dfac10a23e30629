#include "host/output/descriptor_buffer.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <poll.h>
#include <string_view>
#include <unistd.h>

namespace em_pni {

namespace {

constexpr int patience = 100;  // milliseconds between two looks for a signal

bool isEndPending() noexcept {
    sigset_t pending;
    if (::sigpending(&pending) != 0) {
        return false;
    }
    return std::ranges::any_of(
        std::initializer_list<int>{SIGINT, SIGTERM, SIGHUP, SIGPIPE},
        [&pending](int signal) { return ::sigismember(&pending, signal) == 1; });
}

// False when the descriptor never becomes writable.
bool waitUntilWritable(int descriptor) noexcept {
    pollfd polled{descriptor, POLLOUT, 0};
    for (;;) {
        const int ready = ::poll(&polled, 1, patience);
        if (ready > 0) {
            return true;
        }
        if ((ready < 0 && errno != EINTR) || (ready == 0 && isEndPending())) {
            return false;
        }
    }
}

bool writeOut(int descriptor, std::string_view text) noexcept {
    while (!text.empty()) {
        if (!waitUntilWritable(descriptor)) {
            return false;
        }
        // A writable pipe takes so many bytes without a wait.
        const ssize_t written =
            ::write(descriptor, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EPIPE) {
            ::kill(::getpid(), SIGPIPE);
            return false;
        } else if (errno != EINTR && errno != EAGAIN) {
            return false;
        }
    }
    return true;
}

}  // namespace

int CDescriptorBuffer::sync() {
    const bool isWritten = writeOut(descriptor_, waiting_);
    waiting_.clear();
    return isWritten ? 0 : -1;
}

}  // namespace em_pni
