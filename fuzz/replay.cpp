// Runs a fuzz target over the files of the given folders: whole, cut short and, where there are
// records in them, with bits turned over.
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

// Exactly as many bytes as are handed over: one too far is seen.
void run(const Input& input) {
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

// A short file at every length.
void runCut(const Input& whole) {
    for (std::size_t size = whole.size(); size > 0; size -= 1 + size / 256) {
        run({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)});
    }
}

#ifdef EM_PNI_MENDS_RECORDS
// Each bit of a short file and some of a long one, as it is and where no checksum tells of it.
void runDamaged(const Input& whole) {
    for (std::size_t bit = 0; bit < whole.size() * 8; bit += 1 + whole.size() / 1000 * 8) {
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
