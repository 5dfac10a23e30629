// The input is a profile file.
#include <string>

#include "fuzz/fuzz_input.h"
#include "platform/number.h"
#include "platform/profile_file.h"

using namespace em_pni;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    const CProfileText profile(text);
    for (const auto& [key, value] : profile.Entries("EM_PNI")) {
        fuzz::require(profile.Find("em_pni", key).has_value(), "a listed key is found");
        (void)parseNumber(value);
    }
    return 0;
}
