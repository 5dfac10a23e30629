// A FRU image file. It stands for the FRU device of a management controller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/machine/fru_place.h"
#include "host/machine/fru_store.h"

namespace em_pni {

class CFruImage final : public CIFruStore {
  public:
    // In bytes. FRU devices of controllers are far smaller.
    static constexpr std::size_t maxSize = std::size_t{1} << 20U;

    // The place must outlive this.
    explicit CFruImage(const CFruPlace& place) noexcept : place_(place) {}

    [[nodiscard]] const std::string& Name() const noexcept override { return place_.Name(); }
    [[nodiscard]] std::size_t Capacity(std::size_t /*size*/) const noexcept override {
        return maxSize;
    }
    // An empty file is an error.
    [[nodiscard]] std::vector<std::uint8_t> Read() override;
    // Atomic, also when the system crashes. The file keeps its owner and permission bits.
    void Write(std::span<const std::uint8_t> stored, std::span<const std::uint8_t> image) override;

  private:
    const CFruPlace& place_;
};

// Throws a CHostError when the folder of the place does not allow new files.
void requireWritableFolder(const CFruPlace& place);

// The content of a file of at most CFruImage::maxSize bytes, which may be empty. Throws a
// CHostError.
std::vector<std::uint8_t> readFruFile(const std::string& path);

}  // namespace em_pni
