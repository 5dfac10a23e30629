// The command line of pni-host.
#pragma once

#include <ostream>

#include "host/output/terminal.h"

namespace em_pni {

// What stands behind standard output (1) and standard error (2).
using TerminalFinder = Terminal (*)(int descriptor, ColorChoice choice);

// No terminal: lines of any length, UTF-8, colors only when they are chosen.
inline Terminal noTerminal(int /*descriptor*/, ColorChoice choice) {
    return {.hasColor = choice == ColorChoice::always};
}

// Runs the whole program and returns its ExitCode. Throws nothing.
int pniHost(int argc, const char* const* argv, std::ostream& output, std::ostream& errors,
            TerminalFinder findTerminal = noTerminal) noexcept;

}  // namespace em_pni
