// The files of a machine: everything that is read here is named relative to one root directory.
#pragma once

#include <cstddef>
#include <dirent.h>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace em_pni {

// Paths have no leading slash ("sys/class/net"). Failures are nothing, with errno set. Nothing
// waits for a pipe.

// One directory, open as long as this object lives: reading many files below it, by their path from
// there, spares the kernel the way to it each time.
class COpenFolder {
  public:
    explicit COpenFolder(DIR* directory) noexcept : directory_(directory) {}

    // As those of CFileTree.
    [[nodiscard]] std::optional<std::string> ReadAttribute(const std::string& path) const;
    [[nodiscard]] std::optional<std::string> ReadRange(const std::string& path, std::size_t offset,
                                                       std::size_t count) const;
    [[nodiscard]] std::optional<std::string> ReadLink(const std::string& path) const;
    // The names in the directory, in alphabetical order. To be asked once.
    [[nodiscard]] std::optional<std::vector<std::string>> List() const;

  private:
    struct Closer {
        void operator()(DIR* directory) const noexcept { ::closedir(directory); }
    };

    std::unique_ptr<DIR, Closer> directory_;
};

// No descriptor stays open between calls.
class CFileTree {
  public:
    // "" = the root of this machine.
    explicit CFileTree(std::string root) : prefix_(std::move(root) + "/") {}

    [[nodiscard]] std::string FullPath(const std::string& path) const { return prefix_ + path; }

    // The value of a sysfs attribute, at most 4095 bytes, blanks at both ends cut. One single read,
    // as the kernel wants it: each read of an attribute makes its text anew.
    [[nodiscard]] std::optional<std::string> ReadAttribute(const std::string& path) const;
    // Whole; EFBIG when it is longer than `limit` bytes.
    [[nodiscard]] std::optional<std::string> ReadFile(const std::string& path,
                                                      std::size_t limit) const;
    // Exactly `count` bytes from `offset` on; EIO when there are fewer.
    [[nodiscard]] std::optional<std::string> ReadRange(const std::string& path, std::size_t offset,
                                                       std::size_t count) const;
    [[nodiscard]] std::optional<std::string> ReadLink(const std::string& path) const;
    [[nodiscard]] std::optional<COpenFolder> OpenFolder(const std::string& path) const;
    // The names in a directory, in alphabetical order.
    [[nodiscard]] std::optional<std::vector<std::string>> List(const std::string& path) const;

  private:
    std::string prefix_;
};

// The parts with a slash between each two.
std::string joinedPath(std::initializer_list<std::string_view> parts);

// Whether a failure tells about this process or the moment, not about the file.
bool isOutOfResources(int error) noexcept;

}  // namespace em_pni
