#include "host/machine/fru_image.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <unistd.h>

#include "host/output/host_error.h"

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

[[noreturn]] void failReading(const std::string& name) {
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

}  // namespace

std::vector<std::uint8_t> readFruFile(const std::string& path) {
    const auto content = readSmallFile(path, CFruImage::maxSize);
    if (!content) {
        failReading(path);
    }
    return {content->begin(), content->end()};
}

CFruImage::CFruImage(const std::string& path)
    : name_(path), place_(splitPath(resolveLinks(path))), folder_(openFolder(place_.folder)) {
    if (!folder_) {
        throw CHostError(systemErrorText(name_ + ": cannot open its folder", errno));
    }
}

std::vector<std::uint8_t> CFruImage::Read() const {
    const auto content = readSmallFile(Folder(), FileName(), maxSize);
    if (!content) {
        failReading(name_);
    }
    if (content->empty()) {
        throw CHostError(name_ + ": the file is empty");
    }
    return {content->begin(), content->end()};
}

void CFruImage::Replace(std::span<const std::uint8_t> bytes) const {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!replaceFile(Folder(), FileName(), text)) {
        throw CHostError(systemErrorText(name_ + ": cannot replace the file", errno));
    }
}

void CFruImage::RequireWritableFolder() const {
    if (::faccessat(Folder(), ".", W_OK | X_OK, AT_EACCESS) != 0) {
        throw CHostError(
            systemErrorText(name_ + ": cannot create a file in its folder " + FolderPath(), errno));
    }
}

}  // namespace em_pni
