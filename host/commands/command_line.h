// The command line of pni-host.
#pragma once

#include <ostream>

namespace em_pni {

// The whole program: 0 done, 1 the outcome is bad, 2 bad use or something that cannot be used.
// Nothing is thrown.
int pniHost(int argc, const char* const* argv, std::ostream& output, std::ostream& errors) noexcept;

}  // namespace em_pni
