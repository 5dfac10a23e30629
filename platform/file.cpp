#include "platform/file.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace em_pni {

CFileDescriptor::~CFileDescriptor() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

bool CFileDescriptor::Close() noexcept {
    const int descriptor = std::exchange(descriptor_, -1);
    return descriptor < 0 || ::close(descriptor) == 0;
}

std::optional<std::string> readSmallFile(const std::string& path, std::size_t limit) {
    // O_NONBLOCK: opening a pipe, which is refused below, must not wait for a writer.
    const CFileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file) {
        return std::nullopt;
    }
    struct stat status {};
    if (::fstat(file.Get(), &status) != 0) {
        return std::nullopt;
    }
    if (!S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return std::nullopt;
    }
    std::string content;
    std::array<char, 16384> block{};
    for (;;) {
        const ssize_t got = ::read(file.Get(), block.data(), block.size());
        if (got == 0) {
            return content;
        }
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            return std::nullopt;
        }
        if (static_cast<std::size_t>(got) > limit - content.size()) {
            errno = EFBIG;
            return std::nullopt;
        }
        content.append(block.data(), static_cast<std::size_t>(got));
    }
}

bool writeAll(int descriptor, std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool flushFolder(const std::string& folder) noexcept {
    const CFileDescriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // EINVAL: this file system cannot flush folders.
    return directory && (::fsync(directory.Get()) == 0 || errno == EINVAL);
}

namespace {

// Gives the temporary file the mode and owner of the file at `path`.
bool inheritAttributes(int temporary, const std::string& path, unsigned newMode) noexcept {
    struct stat old {};
    if (::lstat(path.c_str(), &old) != 0) {
        return errno == ENOENT && ::fchmod(temporary, newMode) == 0;
    }
    // Owner first, because fchown clears the set-user-id bits of the mode.
    return ::fchown(temporary, old.st_uid, old.st_gid) == 0 &&
           ::fchmod(temporary, old.st_mode & 07777U) == 0;
}

bool replaceBy(CFileDescriptor temporary, const std::string& temporaryPath, const std::string& path,
               std::string_view bytes, unsigned newMode) noexcept {
    return writeAll(temporary.Get(), bytes) && inheritAttributes(temporary.Get(), path, newMode) &&
           ::fsync(temporary.Get()) == 0 && temporary.Close() &&
           ::rename(temporaryPath.c_str(), path.c_str()) == 0;
}

}  // namespace

bool replaceFile(const std::string& path, std::string_view bytes, unsigned newMode) noexcept try {
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "./" : path.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    std::string temporaryPath = folder + "." + name + ".XXXXXX";
    CFileDescriptor temporary(::mkostemp(temporaryPath.data(), O_CLOEXEC));
    if (!temporary) {
        return false;
    }
    if (!replaceBy(std::move(temporary), temporaryPath, path, bytes, newMode)) {
        const int reason = errno;
        ::unlink(temporaryPath.c_str());
        errno = reason;
        return false;
    }
    return flushFolder(folder);
} catch (...) {
    errno = ENOMEM;
    return false;
}

}  // namespace em_pni
