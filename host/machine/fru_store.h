// FRU data that can be read and written as a whole: an image file, a management controller, or a
// copy in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/output/host_error.h"

namespace em_pni {

// Learns how many of how many bytes are done. `action` is "reading", "writing" or "comparing".
using FruProgress =
    std::function<void(std::string_view action, std::size_t done, std::size_t total)>;

// The FRU data are write-protected.
class CFruProtected final : public CHostError {
  public:
    using CHostError::CHostError;
};

// One thread at a time may call. Functions that fail throw a CHostError with the name of the data.
class CIFruStore {
  public:
    CIFruStore() = default;
    virtual ~CIFruStore() = default;
    CIFruStore(const CIFruStore&) = delete;
    CIFruStore& operator=(const CIFruStore&) = delete;

    // For messages, as the user knows the data.
    [[nodiscard]] virtual const std::string& Name() const noexcept = 0;
    // The largest image that can replace one of `size` bytes.
    [[nodiscard]] virtual std::size_t Capacity(std::size_t size) const noexcept = 0;
    // The current bytes, never empty.
    [[nodiscard]] virtual std::vector<std::uint8_t> Read() = 0;
    // Replaces `stored`, the bytes of a Read just before, by an image of at least the same size.
    // When this fails or the program ends, the data have the old or the new bytes at the latest
    // after the next Mend.
    virtual void Write(std::span<const std::uint8_t> stored,
                       std::span<const std::uint8_t> image) = 0;
    // Completes a write that was cut, also by the end of another pni-host. Returns a text about
    // what it did; no value = there was nothing to do. The caller holds the lock.
    virtual std::optional<std::string> Mend() { return std::nullopt; }
    // Changes with each write of any pni-host. No value = a write is under way or was cut. Bytes
    // from a Read between two different marks may be a mixture.
    [[nodiscard]] virtual std::optional<std::int64_t> WriteMark() const { return 0; }
};

class CFruCopy final : public CIFruStore {
  public:
    // `capacity` of the data that it is a copy of, in bytes.
    CFruCopy(std::string name, std::vector<std::uint8_t> bytes, std::size_t capacity)
        : name_(std::move(name)), bytes_(std::move(bytes)), capacity_(capacity) {}

    [[nodiscard]] const std::string& Name() const noexcept override { return name_; }
    [[nodiscard]] std::size_t Capacity(std::size_t /*size*/) const noexcept override {
        return capacity_;
    }
    [[nodiscard]] std::vector<std::uint8_t> Read() override { return bytes_; }
    void Write(std::span<const std::uint8_t> /*stored*/,
               std::span<const std::uint8_t> image) override {
        bytes_.assign(image.begin(), image.end());
    }

  private:
    const std::string name_;
    std::vector<std::uint8_t> bytes_;
    const std::size_t capacity_;
};

}  // namespace em_pni
