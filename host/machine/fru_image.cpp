#include "host/machine/fru_image.h"

#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

#include "host/output/host_error.h"

namespace em_pni {

namespace {

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

std::vector<std::uint8_t> CFruImage::Read() {
    const auto content = readSmallFile(place_.Folder(), place_.FileName(), maxSize);
    if (!content) {
        failReading(Name());
    }
    if (content->empty()) {
        throw CHostError(Name() + ": the file is empty");
    }
    return {content->begin(), content->end()};
}

void CFruImage::Write(std::span<const std::uint8_t> /*stored*/,
                      std::span<const std::uint8_t> image) {
    const std::string_view text(reinterpret_cast<const char*>(image.data()), image.size());
    if (!replaceFile(place_.Folder(), place_.FileName(), text)) {
        throw CHostError(systemErrorText(Name() + ": cannot replace the file", errno));
    }
}

void requireWritableFolder(const CFruPlace& place) {
    if (::faccessat(place.Folder(), ".", W_OK | X_OK, AT_EACCESS) != 0) {
        throw CHostError(systemErrorText(
            place.Name() + ": cannot create a file in its folder " + place.FolderPath(), errno));
    }
}

}  // namespace em_pni
