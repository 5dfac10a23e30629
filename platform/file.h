// Small files, read and replaced whole.
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
    // Closes now; false with errno when the system reports a late write error.
    [[nodiscard]] bool Close() noexcept;

  private:
    int descriptor_;
};

// The content of the regular file at `path`. Nothing, with errno set, when it cannot be opened or
// read, is no regular file (EINVAL; a pipe or device never blocks the caller), or is longer than
// `limit` bytes (EFBIG). Files of sysfs and procfs count as regular, whatever size they state.
std::optional<std::string> readSmallFile(const std::string& path, std::size_t limit);

// Writes all of `bytes`; false with errno.
bool writeAll(int descriptor, std::string_view bytes) noexcept;

// Makes renames in a folder last; false with errno. True also where a file system cannot do that.
bool flushFolder(const std::string& folder) noexcept;

// Replaces the file at `path` so that a crash at any moment leaves the old or the new content: a
// temporary file in the same folder, written, flushed and renamed over it, and the folder flushed.
// An existing file keeps its mode and owner, a new one gets `newMode`. A symbolic link at `path` is
// replaced itself; callers that mean its target resolve it first. On failure: false with errno, and
// nothing has changed unless flushing the folder was all that failed.
bool replaceFile(const std::string& path, std::string_view bytes, unsigned newMode = 0644) noexcept;

}  // namespace em_pni
