// What the fuzz targets share: bytes that make decisions, and checks that end the run.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <vector>

namespace em_pni::fuzz {

using Bytes = std::vector<std::uint8_t>;

// `what` is what must hold, in words, for whoever reads the finding.
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

// Reads the fuzzer's bytes front to back; behind their end there are zeros.
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
