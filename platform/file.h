// Reads and replaces small files as a whole.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace em_pni {

// Owns a file descriptor; -1 = none.
class CFileDescriptor {
  public:
    explicit CFileDescriptor(int descriptor = -1) noexcept : descriptor_(descriptor) {}
    CFileDescriptor(CFileDescriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)) {}
    CFileDescriptor& operator=(CFileDescriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~CFileDescriptor();

    [[nodiscard]] int Get() const noexcept { return descriptor_; }
    [[nodiscard]] explicit operator bool() const noexcept { return descriptor_ >= 0; }
    // Closes the descriptor. Returns false and sets errno when a write has failed late.
    [[nodiscard]] bool Close() noexcept;

  private:
    int descriptor_;
};

// The content of the regular file at `path`. Returns no value and sets errno when it cannot be
// opened or read, is not a regular file (EINVAL), or has more than `limit` bytes (EFBIG). Never
// waits for a pipe or device. Files of sysfs and procfs are regular files; their size is ignored.
std::optional<std::string> readSmallFile(const std::string& path, std::size_t limit);

// Writes all of `bytes`. On failure returns false and sets errno.
bool writeAll(int descriptor, std::string_view bytes) noexcept;

// Writes the entries of a folder to disk, so that renames survive a crash. On failure returns false
// and sets errno. Returns true when the file system cannot flush folders.
bool flushFolder(const std::string& folder) noexcept;

// Replaces the file at `path`. A crash at any moment leaves the old or the new content: writes and
// flushes a temporary file in the same folder, renames it and flushes the folder. An existing file
// keeps its mode and owner. A new file gets `newMode`. A symbolic link at `path` is itself
// replaced: resolve it first to replace its target. On failure returns false and sets errno. The
// file is then unchanged, unless only flushing the folder failed.
bool replaceFile(const std::string& path, std::string_view bytes, unsigned newMode = 0644) noexcept;

}  // namespace em_pni
