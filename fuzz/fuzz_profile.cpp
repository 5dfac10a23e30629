// The input is a profile file.
#include <cstdint>

#include "platform/number.h"
#include "platform/profile_file.h"

using namespace em_pni;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    const CProfileText profile(text);
    for (const auto& [key, value] : profile.Entries("EM_PNI")) {
        if (!profile.Find("em_pni", key)) {
            __builtin_trap();  // a listed key must be found
        }
        (void)parseNumber(value);
    }
    return 0;
}
