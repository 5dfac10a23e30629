// The input is a registry file. A tree that was read must be the same after writing and reading it
// again.
#include <cstdint>
#include <string_view>

#include "platform/registry_format.h"

using namespace em_pni;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto tree = parseRegistry(text)) {
        const std::string written = formatRegistry(*tree);
        const auto again = parseRegistry(written);
        if (!again || formatRegistry(*again) != written) {
            __builtin_trap();
        }
    }
    return 0;
}
