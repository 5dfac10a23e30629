#include "host/output/console.h"

namespace em_pni {

void CConsole::Text(std::string_view text) {
    const CRecursiveLockGuard guard(lock_);
    output_ << text << std::flush;
}

void CConsole::Line(std::string_view text) {
    const CRecursiveLockGuard guard(lock_);
    output_ << text << '\n' << std::flush;
}

void CConsole::Error(std::string_view text) {
    const CRecursiveLockGuard guard(lock_);
    errors_ << "pni-host: " << text << '\n' << std::flush;
}

bool CConsole::AllWritten() {
    const CRecursiveLockGuard guard(lock_);
    return output_.good();
}

}  // namespace em_pni
