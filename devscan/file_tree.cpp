#include "devscan/file_tree.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <unistd.h>

#include "platform/file.h"
#include "platform/text.h"

namespace em_pni {
namespace {

// `folder` below is a descriptor, or AT_FDCWD when the path is a full path.

CFileDescriptor openForReading(int folder, const std::string& path) noexcept {
    return CFileDescriptor(
        ::openat(folder, path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
}

std::optional<std::string> readAttribute(int folder, const std::string& path) {
    const CFileDescriptor file = openForReading(folder, path);
    if (!file) {
        return std::nullopt;
    }
    std::array<char, 4095> text;
    ssize_t got = 0;
    do {
        got = ::read(file.Get(), text.data(), text.size());
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        return std::nullopt;
    }
    return std::string(trimBlanks({text.data(), static_cast<std::size_t>(got)}));
}

std::optional<std::string> readRange(int folder, const std::string& path, std::size_t offset,
                                     std::size_t count) {
    const CFileDescriptor file = openForReading(folder, path);
    if (!file) {
        return std::nullopt;
    }
    std::string bytes(count, '\0');
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got = ::pread(file.Get(), bytes.data() + done, count - done,
                                    static_cast<off_t>(offset + done));
        if (got > 0) {
            done += static_cast<std::size_t>(got);
        } else if (got == 0) {
            errno = EIO;
            return std::nullopt;
        } else if (errno != EINTR) {
            return std::nullopt;
        }
    }
    return bytes;
}

std::optional<std::string> readLink(int folder, const std::string& path) {
    std::array<char, PATH_MAX> target;
    const ssize_t length = ::readlinkat(folder, path.c_str(), target.data(), target.size());
    if (length < 0) {
        return std::nullopt;
    }
    return std::string(target.data(), static_cast<std::size_t>(length));
}

}  // namespace

std::string joinedPath(std::initializer_list<std::string_view> parts) {
    std::string path;
    for (const std::string_view part : parts) {
        path.append(path.empty() ? "" : "/").append(part);
    }
    return path;
}

bool isOutOfResources(int error) noexcept {
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

std::optional<std::string> COpenFolder::ReadAttribute(const std::string& path) const {
    return readAttribute(::dirfd(directory_.get()), path);
}

std::optional<std::string> COpenFolder::ReadRange(const std::string& path, std::size_t offset,
                                                  std::size_t count) const {
    return readRange(::dirfd(directory_.get()), path, offset, count);
}

std::optional<std::string> COpenFolder::ReadLink(const std::string& path) const {
    return readLink(::dirfd(directory_.get()), path);
}

std::optional<std::vector<std::string>> COpenFolder::List() const {
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent* const entry = ::readdir(directory_.get());
        if (entry == nullptr) {
            break;
        }
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    if (errno != 0) {
        return std::nullopt;
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::optional<std::string> CFileTree::ReadAttribute(const std::string& path) const {
    return readAttribute(AT_FDCWD, FullPath(path));
}

std::optional<std::string> CFileTree::ReadFile(const std::string& path, std::size_t limit) const {
    return readSmallFile(FullPath(path), limit);
}

std::optional<std::string> CFileTree::ReadRange(const std::string& path, std::size_t offset,
                                                std::size_t count) const {
    return readRange(AT_FDCWD, FullPath(path), offset, count);
}

std::optional<std::string> CFileTree::ReadLink(const std::string& path) const {
    return readLink(AT_FDCWD, FullPath(path));
}

std::optional<COpenFolder> CFileTree::OpenFolder(const std::string& path) const {
    DIR* const directory = ::opendir(FullPath(path).c_str());
    return directory != nullptr ? std::optional<COpenFolder>(directory) : std::nullopt;
}

std::optional<std::vector<std::string>> CFileTree::List(const std::string& path) const {
    const auto folder = OpenFolder(path);
    return folder ? folder->List() : std::nullopt;
}

}  // namespace em_pni
