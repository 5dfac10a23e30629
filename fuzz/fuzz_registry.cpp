// The input is a registry file. A tree that was read must be the same after writing and reading it
// again.
#include <string_view>

#include "fuzz/fuzz_input.h"
#include "platform/registry_format.h"

using namespace em_pni;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto tree = parseRegistry(text)) {
        const std::string written = formatRegistry(*tree);
        const auto again = parseRegistry(written);
        fuzz::require(again && formatRegistry(*again) == written,
                      "a written tree is read again as it was");
    }
    return 0;
}
