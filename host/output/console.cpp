#include "host/output/console.h"

namespace em_pni {

void CConsole::Text(std::string_view text) {
    if (settings_.isQuiet) {
        return;
    }
    const CRecursiveLockGuard guard(lock_);
    output_ << fitted(text, outputTerminal_) << std::flush;
}

void CConsole::Document(std::string_view document) {
    const CRecursiveLockGuard guard(lock_);
    output_ << document << '\n' << std::flush;
}

void CConsole::Error(std::string_view text) {
    const std::string line = painted("pni-host:", Color::red, errorTerminal_)
                                 .append(" ")
                                 .append(printable(text))
                                 .append("\n");
    const CRecursiveLockGuard guard(lock_);
    errors_ << fitted(line, errorTerminal_) << std::flush;
}

void CConsole::Trace(std::string_view line) {
    const CRecursiveLockGuard guard(lock_);
    do {
        const std::string part = printable(takeUntil(line, '\n')) + '\n';
        errors_ << fitted(part, {.isUtf8 = errorTerminal_.isUtf8});
    } while (!line.empty());
    errors_.flush();
}

bool CConsole::AllWritten() {
    const CRecursiveLockGuard guard(lock_);
    return output_.good();
}

}  // namespace em_pni
