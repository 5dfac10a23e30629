// A FRU image file: what stands in for the device that a management controller keeps its record in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace em_pni {

class CFruImage {
  public:
    // In bytes; far above what any controller's FRU device holds.
    static constexpr std::size_t maxSize = std::size_t{1} << 20U;

    // Resolves symbolic links once, so that a write reaches the file and leaves the link. Throws a
    // CHostError, here and below, that names the file as the user did.
    explicit CFruImage(const std::string& path);

    // The bytes as they are now; none is an error.
    [[nodiscard]] std::vector<std::uint8_t> Read() const;
    // All or nothing, also when the system crashes meanwhile. The file keeps its mode and owner.
    void Replace(std::span<const std::uint8_t> bytes) const;
    // Throws when Replace could make no file beside the image.
    void RequireWritableFolder() const;

    [[nodiscard]] const std::string& Name() const noexcept { return name_; }
    // Absolute and without links.
    [[nodiscard]] const std::string& Path() const noexcept { return path_; }

  private:
    std::string name_;  // as given, for messages
    std::string path_;
};

// The content of a file that may hold a FRU record, also an empty one; throws as above.
std::vector<std::uint8_t> readFruFile(const std::string& path, const std::string& name);

}  // namespace em_pni
