// A FRU image file. It stands for the FRU device of a management controller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/file.h"

namespace em_pni {

class CFruImage {
  public:
    // In bytes. FRU devices of controllers are far smaller.
    static constexpr std::size_t maxSize = std::size_t{1} << 20U;

    // Resolves symbolic links and opens the folder of the file once: a write changes the file and
    // keeps the link. All functions use this folder, also when its path leads to another folder
    // later. They throw a CHostError with the file name that the user gave.
    explicit CFruImage(const std::string& path);

    // The current bytes. An empty file is an error.
    [[nodiscard]] std::vector<std::uint8_t> Read() const;
    // Atomic, also when the system crashes. The file keeps its owner and permission bits.
    void Replace(std::span<const std::uint8_t> bytes) const;
    // Throws when Replace cannot create a file in the folder of the image.
    void RequireWritableFolder() const;

    [[nodiscard]] const std::string& Name() const noexcept { return name_; }
    [[nodiscard]] int Folder() const noexcept { return folder_.Get(); }
    // Absolute, without symbolic links, with a slash at its end. For messages.
    [[nodiscard]] const std::string& FolderPath() const noexcept { return place_.folder; }
    // In the folder.
    [[nodiscard]] const std::string& FileName() const noexcept { return place_.name; }

  private:
    std::string name_;  // as the user gave it, for messages
    PathParts place_;
    CFileDescriptor folder_;
};

// The content of a file of at most CFruImage::maxSize bytes, which may be empty. Throws a
// CHostError.
std::vector<std::uint8_t> readFruFile(const std::string& path);

}  // namespace em_pni
