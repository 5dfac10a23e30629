// Runs a fuzz target over the files of the given folders, whole and cut short.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** arguments) {
    int files = 0;
    for (int i = 1; i < count; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> read{std::istreambuf_iterator<char>(file), {}};
            for (std::size_t size = read.size(); size > 0; size /= 2) {
                // Exactly as many bytes as are handed over: one too far is seen.
                const std::vector<std::uint8_t> bytes(
                    read.begin(), read.begin() + static_cast<std::ptrdiff_t>(size));
                LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            }
            ++files;
        }
    }
    std::printf("%d files\n", files);
    return files > 0 ? 0 : 1;
}
