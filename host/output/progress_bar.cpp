#include "host/output/progress_bar.h"

#include <string_view>
#include <unistd.h>
#include <utility>

#include "platform/file.h"

namespace em_pni {

namespace {

constexpr std::size_t width = 30;  // of the bar, in columns
constexpr std::string_view eraseLine = "\r\x1b[K";

}  // namespace

CProgressBar::CProgressBar(std::string action)
    : action_(std::move(action)), isTerminal_(::isatty(STDERR_FILENO) == 1) {}

CProgressBar::~CProgressBar() {
    if (!shown_.empty()) {
        writeAll(STDERR_FILENO, eraseLine);
    }
}

void CProgressBar::Show(std::size_t done, std::size_t total) {
    if (!isTerminal_ || total == 0) {
        return;
    }
    const std::size_t full = width * done / total;
    std::string bar = action_ + " [" + std::string(full, '#') + std::string(width - full, '.') +
                      "] " + std::to_string(done) + " of " + std::to_string(total) + " bytes";
    if (bar != shown_) {
        writeAll(STDERR_FILENO, std::string(eraseLine) + bar);
        shown_ = std::move(bar);
    }
}

}  // namespace em_pni
