// The command line of pni-host.
#pragma once

#include <ostream>

namespace em_pni {

// Runs the whole program and returns its ExitCode. Throws nothing.
int pniHost(int argc, const char* const* argv, std::ostream& output, std::ostream& errors) noexcept;

}  // namespace em_pni
