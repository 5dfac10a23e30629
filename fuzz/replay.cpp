// Runs a fuzz target over the files of the given folders: each file whole and cut short. Files with
// records also run with single bits changed.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#ifdef EM_PNI_MENDS_RECORDS
#include "fuzz/record_mutator.h"
#endif

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Input = std::vector<std::uint8_t>;

// The vector has no spare bytes, so the sanitizer sees a read behind the input.
void run(const Input& input) {
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

constexpr std::size_t longFile = 32768;  // bytes

// Runs of a long file take longer: fewer of them.
std::size_t fewer(const Input& whole) {
    const bool isLong = whole.size() > longFile;
    return isLong ? 8 : 1;
}

// Cuts a short file at every length, and a long one at some.
void runCut(const Input& whole) {
    for (std::size_t size = whole.size(); size > 0; size -= 1 + size * fewer(whole) / 256) {
        run({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)});
    }
}

#ifdef EM_PNI_MENDS_RECORDS
// Changes each bit of a short file, and some bits of a long one. Runs each result as it is, and
// again with its checksums repaired.
void runDamaged(const Input& whole) {
    for (std::size_t bit = 0; bit < whole.size() * 8;
         bit += 1 + whole.size() / 1000 * 8 * fewer(whole)) {
        Input input = whole;
        input[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        run(input);
        em_pni::fuzz::mendInput(input);
        run(input);
    }
}
#endif

}  // namespace

int main(int count, char** arguments) {
    int files = 0;
    for (int i = 1; i < count; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> read{std::istreambuf_iterator<char>(file), {}};
            const Input whole(read.begin(), read.end());
            runCut(whole);
#ifdef EM_PNI_MENDS_RECORDS
            runDamaged(whole);
#endif
            ++files;
        }
    }
    std::printf("%d files\n", files);
    return files > 0 ? 0 : 1;
}
