#include "platform/file.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <pthread.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <time.h>
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

namespace {

std::optional<std::string> readOpened(const CFileDescriptor& file, std::size_t limit) {
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

// O_NONBLOCK: opening a pipe, which is refused later, must not wait for a writer.
constexpr int readFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

}  // namespace

std::optional<std::string> readSmallFile(const std::string& path, std::size_t limit) {
    return readOpened(CFileDescriptor(::open(path.c_str(), readFlags)), limit);
}

std::optional<std::string> readSmallFile(int folder, const std::string& name, std::size_t limit) {
    return readOpened(CFileDescriptor(::openat(folder, name.c_str(), readFlags | O_NOFOLLOW)),
                      limit);
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

CFileDescriptor openOwnFile(const std::string& path, unsigned newMode) noexcept {
    constexpr int flags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    CFileDescriptor file(::open(path.c_str(), flags, newMode));
    struct stat status {};
    if (!file || ::fstat(file.Get(), &status) != 0) {
        return CFileDescriptor();
    }
    if (!S_ISREG(status.st_mode) || status.st_nlink != 1 || status.st_uid != ::geteuid()) {
        errno = EPERM;
        return CFileDescriptor();
    }
    return file;
}

bool writeWithoutSignal(int descriptor, std::string_view bytes) noexcept {
    sigset_t pipeSignal;
    sigset_t previousMask;
    sigset_t pendingBefore;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &pipeSignal, &previousMask);
    ::sigpending(&pendingBefore);
    const bool isWritten = writeAll(descriptor, bytes);
    const int reason = errno;
    if (!isWritten && reason == EPIPE && ::sigismember(&pendingBefore, SIGPIPE) == 0) {
        const timespec now{};
        ::sigtimedwait(&pipeSignal, nullptr, &now);
    }
    ::pthread_sigmask(SIG_SETMASK, &previousMask, nullptr);
    errno = reason;
    return isWritten;
}

CFileDescriptor openFolder(const std::string& path) noexcept {
    CFileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder && errno == EACCES) {
        folder = CFileDescriptor(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    }
    return folder;
}

bool flushFolder(int folder) noexcept {
    // EINVAL: this file system cannot flush folders.
    return ::fsync(folder) == 0 || errno == EINVAL;
}

bool flushFolder(const std::string& path) noexcept {
    const CFileDescriptor folder = openFolder(path);
    return folder && flushFolder(folder.Get());
}

PathParts splitPath(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return {"./", path};
    }
    return {path.substr(0, slash + 1), path.substr(slash + 1)};
}

namespace {

// Gives the temporary file the mode and owner of the file `name`.
bool inheritAttributes(int temporary, int folder, const std::string& name,
                       unsigned newMode) noexcept {
    struct stat old {};
    if (::fstatat(folder, name.c_str(), &old, AT_SYMLINK_NOFOLLOW) != 0 && errno != ENOENT) {
        return false;
    }
    if (!S_ISREG(old.st_mode)) {
        return ::fchmod(temporary, newMode) == 0;
    }
    return ::fchown(temporary, old.st_uid, old.st_gid) == 0 &&
           ::fchmod(temporary, old.st_mode & 0777U) == 0;
}

constexpr std::size_t suffixDigits = 6;

// Creates a file ".<name>.<6 hexadecimal digits>" that only its owner can open. Returns an empty
// descriptor and sets errno when this fails.
CFileDescriptor makeTemporary(int folder, const std::string& name, std::string& temporaryName) {
    constexpr int attempts = 100;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        std::uint32_t random = 0;
        if (::getrandom(&random, sizeof random, 0) != sizeof random) {
            break;
        }
        std::array<char, 8> suffix{};
        std::snprintf(suffix.data(), suffix.size(), ".%06x", random & 0xFFFFFFU);
        temporaryName = "." + name + suffix.data();
        CFileDescriptor file(::openat(folder, temporaryName.c_str(),
                                      O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (file || errno != EEXIST) {
            return file;
        }
    }
    return CFileDescriptor();
}

enum class Existing { replace, keep };

bool nameFile(int folder, const std::string& temporaryName, const std::string& name,
              Existing existing) noexcept {
    const char* const from = temporaryName.c_str();
    const char* const to = name.c_str();
    if (existing == Existing::replace) {
        return ::renameat(folder, from, folder, to) == 0;
    }
    if (::renameat2(folder, from, folder, to, RENAME_NOREPLACE) == 0) {
        return true;
    }
    // EINVAL: this file system does not know the flag.
    return errno == EINVAL && ::linkat(folder, from, folder, to, 0) == 0 &&
           ::unlinkat(folder, from, 0) == 0;
}

bool placeFile(int folder, const std::string& name, std::string_view bytes, unsigned newMode,
               Existing existing) noexcept try {
    std::string temporaryName;
    CFileDescriptor temporary = makeTemporary(folder, name, temporaryName);
    if (!temporary) {
        return false;
    }
    if (!writeAll(temporary.Get(), bytes) ||
        !inheritAttributes(temporary.Get(), folder, name, newMode) ||
        ::fsync(temporary.Get()) != 0 || !temporary.Close() ||
        !nameFile(folder, temporaryName, name, existing)) {
        const int reason = errno;
        ::unlinkat(folder, temporaryName.c_str(), 0);
        errno = reason;
        return false;
    }
    return flushFolder(folder);
} catch (...) {
    errno = ENOMEM;
    return false;
}

}  // namespace

void removeTemporaries(int folder, const std::string& name) {
    struct Close {
        void operator()(DIR* entries) const noexcept { ::closedir(entries); }
    };
    const int descriptor = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, Close> entries(descriptor >= 0 ? ::fdopendir(descriptor) : nullptr);
    if (!entries) {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
        return;
    }
    const std::string prefix = "." + name + ".";
    while (const dirent* const entry = ::readdir(entries.get())) {
        const std::string_view found(entry->d_name);
        struct stat status {};
        if (found.size() == prefix.size() + suffixDigits && found.starts_with(prefix) &&
            found.find_first_not_of("0123456789abcdef", prefix.size()) == found.npos &&
            ::fstatat(folder, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(status.st_mode)) {
            ::unlinkat(folder, entry->d_name, 0);
        }
    }
}

bool replaceFile(int folder, const std::string& name, std::string_view bytes,
                 unsigned newMode) noexcept {
    return placeFile(folder, name, bytes, newMode, Existing::replace);
}

bool createFile(int folder, const std::string& name, std::string_view bytes,
                unsigned newMode) noexcept {
    return placeFile(folder, name, bytes, newMode, Existing::keep);
}

bool replaceFile(const std::string& path, std::string_view bytes, unsigned newMode) noexcept try {
    const auto [folderPath, name] = splitPath(path);
    const CFileDescriptor folder = openFolder(folderPath);
    return folder && replaceFile(folder.Get(), name, bytes, newMode);
} catch (...) {
    errno = ENOMEM;
    return false;
}

}  // namespace em_pni
