#include "host/machine/fru_image.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <unistd.h>

#include "host/output/host_error.h"
#include "platform/file.h"

namespace em_pni {

namespace {

std::string resolveLinks(const std::string& path) {
    struct Free {
        void operator()(char* text) const noexcept { std::free(text); }
    };
    const std::unique_ptr<char, Free> resolved(::realpath(path.c_str(), nullptr));
    if (!resolved) {
        throw CHostError(systemErrorText(path, errno));
    }
    return resolved.get();
}

}  // namespace

std::vector<std::uint8_t> readFruFile(const std::string& path, const std::string& name) {
    const auto content = readSmallFile(path, CFruImage::maxSize);
    if (!content) {
        switch (errno) {
            case EFBIG:
                throw CHostError(name + ": too large for a FRU image, the limit is " +
                                 std::to_string(CFruImage::maxSize) + " bytes");
            case EINVAL:
                throw CHostError(name + ": not a regular file");
            default:
                throw CHostError(systemErrorText(name, errno));
        }
    }
    return {content->begin(), content->end()};
}

CFruImage::CFruImage(const std::string& path) : name_(path), path_(resolveLinks(path)) {}

std::vector<std::uint8_t> CFruImage::Read() const {
    std::vector<std::uint8_t> bytes = readFruFile(path_, name_);
    if (bytes.empty()) {
        throw CHostError(name_ + ": the file is empty");
    }
    return bytes;
}

void CFruImage::Replace(std::span<const std::uint8_t> bytes) const {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!replaceFile(path_, text)) {
        throw CHostError(systemErrorText(name_ + ": cannot replace the file", errno));
    }
}

void CFruImage::RequireWritableFolder() const {
    const std::string folder = path_.substr(0, path_.rfind('/') + 1);
    if (::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
        throw CHostError(
            systemErrorText(name_ + ": cannot create a file in its folder " + folder, errno));
    }
}

}  // namespace em_pni
