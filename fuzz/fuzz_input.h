// Shared by all fuzz targets: reading the input, and checks that end the run.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <vector>

namespace em_pni::fuzz {

using Bytes = std::vector<std::uint8_t>;

// Ends the run when a condition does not hold. `what` is the condition in words.
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

// Reads the input from front to back. Behind its end it reads zeros.
class CFuzzInput {
  public:
    explicit CFuzzInput(std::span<const std::uint8_t> bytes) noexcept : rest_(bytes) {}

    [[nodiscard]] bool IsEmpty() const noexcept { return rest_.empty(); }
    std::uint8_t Byte() noexcept {
        if (rest_.empty()) {
            return 0;
        }
        const std::uint8_t byte = rest_.front();
        rest_ = rest_.subspan(1);
        return byte;
    }
    unsigned Below(unsigned limit) noexcept { return Byte() % limit; }
    Bytes Take(std::size_t count) {
        Bytes bytes(count);
        const auto taken = rest_.first(std::min(count, rest_.size()));
        std::copy(taken.begin(), taken.end(), bytes.begin());
        rest_ = rest_.subspan(taken.size());
        return bytes;
    }
    Bytes TakeRest() { return Take(rest_.size()); }

  private:
    std::span<const std::uint8_t> rest_;
};

}  // namespace em_pni::fuzz
