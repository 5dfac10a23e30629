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

// As above, for the file `name` in this open folder. Refuses a symbolic link (ELOOP).
std::optional<std::string> readSmallFile(int folder, const std::string& name, std::size_t limit);

// Opens the regular file at `path` for writing and creates it with mode `newMode`. Does not change
// the content. Returns an empty descriptor and sets errno when this fails. Refuses what another
// user could have put in place: a link, another kind of file, or a file of another user.
CFileDescriptor openOwnFile(const std::string& path, unsigned newMode) noexcept;

// Writes all of `bytes`. On failure returns false and sets errno.
bool writeAll(int descriptor, std::string_view bytes) noexcept;
// As writeAll. A pipe without a reader is a failure and sends no SIGPIPE to the process.
bool writeWithoutSignal(int descriptor, std::string_view bytes) noexcept;

struct PathParts {
    std::string folder;  // with a slash at its end
    std::string name;    // of the file in the folder
};
PathParts splitPath(const std::string& path);

// Opens a folder. On failure returns an empty descriptor and sets errno. A folder without read
// permission cannot be flushed.
CFileDescriptor openFolder(const std::string& path) noexcept;

// Writes the entries of a folder to disk, so that renames survive a crash. On failure returns false
// and sets errno. Returns true when the file system cannot flush folders.
bool flushFolder(int folder) noexcept;
bool flushFolder(const std::string& path) noexcept;

// Replaces the file `name` in an open folder. A crash at any moment leaves the old or the new
// content: writes and flushes a temporary file in the same folder, renames it and flushes the
// folder. An existing regular file keeps its owner and the permission bits 0777. Another file gets
// `newMode`. A symbolic link is itself replaced: resolve it first to replace its target. On failure
// returns false and sets errno. The file is then unchanged, unless only flushing the folder failed.
bool replaceFile(int folder, const std::string& name, std::string_view bytes,
                 unsigned newMode = 0644) noexcept;
bool replaceFile(const std::string& path, std::string_view bytes, unsigned newMode = 0644) noexcept;

// Removes the temporary files that an ended program left when it replaced the file `name`. The
// caller makes sure that no program is replacing it.
void removeTemporaries(int folder, const std::string& name);

// As replaceFile, but fails with EEXIST when there is a file with this name.
bool createFile(int folder, const std::string& name, std::string_view bytes,
                unsigned newMode = 0644) noexcept;

}  // namespace em_pni
