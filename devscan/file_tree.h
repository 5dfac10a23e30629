// Reads the files of a machine, with paths relative to its root directory.
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

// Paths have no leading slash ("sys/class/net"). On failure all functions return no value and set
// errno. No function waits for a pipe.

// A directory that stays open. Paths are relative to it. Reading many files below it is faster this
// way, because the kernel does not look up the whole path each time.
class COpenFolder {
  public:
    explicit COpenFolder(DIR* directory) noexcept : directory_(directory) {}

    // As in CFileTree.
    [[nodiscard]] std::optional<std::string> ReadAttribute(const std::string& path) const;
    [[nodiscard]] std::optional<std::string> ReadRange(const std::string& path, std::size_t offset,
                                                       std::size_t count) const;
    [[nodiscard]] std::optional<std::string> ReadLink(const std::string& path) const;
    // The names in the directory, in alphabetical order. Call it once only.
    [[nodiscard]] std::optional<std::vector<std::string>> List() const;

  private:
    struct Closer {
        void operator()(DIR* directory) const noexcept { ::closedir(directory); }
    };

    std::unique_ptr<DIR, Closer> directory_;
};

// Keeps no descriptor open between calls.
class CFileTree {
  public:
    // "" = the root of this machine.
    explicit CFileTree(std::string root) : prefix_(std::move(root) + "/") {}

    [[nodiscard]] std::string FullPath(const std::string& path) const { return prefix_ + path; }

    // The value of a sysfs attribute, at most 4095 bytes, without blanks at both ends. Uses a
    // single read, because the kernel makes the text again for each read.
    [[nodiscard]] std::optional<std::string> ReadAttribute(const std::string& path) const;
    // The whole file. Fails with EFBIG when it has more than `limit` bytes.
    [[nodiscard]] std::optional<std::string> ReadFile(const std::string& path,
                                                      std::size_t limit) const;
    // Exactly `count` bytes from `offset` on. Fails with EIO when there are fewer.
    [[nodiscard]] std::optional<std::string> ReadRange(const std::string& path, std::size_t offset,
                                                       std::size_t count) const;
    [[nodiscard]] std::optional<std::string> ReadLink(const std::string& path) const;
    [[nodiscard]] std::optional<COpenFolder> OpenFolder(const std::string& path) const;
    // The names in a directory, in alphabetical order.
    [[nodiscard]] std::optional<std::vector<std::string>> List(const std::string& path) const;

  private:
    std::string prefix_;
};

// The parts with slashes between them.
std::string joinedPath(std::initializer_list<std::string_view> parts);

// Whether an errno value means that this process lacks descriptors or memory, and a later call may
// succeed.
bool isOutOfResources(int error) noexcept;

}  // namespace em_pni
