// A FRU image file. It stands for the FRU device of a management controller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace em_pni {

class CFruImage {
  public:
    // In bytes. FRU devices of controllers are far smaller.
    static constexpr std::size_t maxSize = std::size_t{1} << 20U;

    // Resolves symbolic links once: a write changes the file and keeps the link. All functions
    // throw a CHostError with the file name that the user gave.
    explicit CFruImage(const std::string& path);

    // The current bytes. An empty file is an error.
    [[nodiscard]] std::vector<std::uint8_t> Read() const;
    // Atomic, also when the system crashes. The file keeps its mode and owner.
    void Replace(std::span<const std::uint8_t> bytes) const;
    // Throws when Replace cannot create a file in the folder of the image.
    void RequireWritableFolder() const;

    [[nodiscard]] const std::string& Name() const noexcept { return name_; }
    // Absolute, without symbolic links.
    [[nodiscard]] const std::string& Path() const noexcept { return path_; }

  private:
    std::string name_;  // as the user gave it, for messages
    std::string path_;
};

// The content of a file of at most CFruImage::maxSize bytes, which may be empty. Throws a
// CHostError with `name`.
std::vector<std::uint8_t> readFruFile(const std::string& path, const std::string& name);

}  // namespace em_pni
