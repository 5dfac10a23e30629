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

CProgressBar::CProgressBar() : isTerminal_(::isatty(STDERR_FILENO) == 1) {}

CProgressBar::~CProgressBar() {
    Remove();
}

void CProgressBar::Remove() {
    if (!shown_.empty()) {
        writeAll(STDERR_FILENO, eraseLine);
        shown_.clear();
    }
}

void CProgressBar::Show(std::string_view action, std::size_t done, std::size_t total) {
    if (!isTerminal_) {
        return;
    }
    if (done >= total) {
        Remove();
        return;
    }
    const std::size_t full = width * done / total;
    std::string bar = std::string(action) + " [" + std::string(full, '#') +
                      std::string(width - full, '.') + "] " + std::to_string(done) + " of " +
                      std::to_string(total) + " bytes";
    if (bar != shown_) {
        writeAll(STDERR_FILENO, std::string(eraseLine) + bar);
        shown_ = std::move(bar);
    }
}

}  // namespace em_pni
