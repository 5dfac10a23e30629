#include "host/machine/fru_journal.h"

#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "host/output/host_error.h"
#include "platform/bytes.h"
#include "platform/file.h"

namespace em_pni {

namespace {

// The file: magic, checksum of all that follows (8 bytes), the image before, the image after.
constexpr std::string_view magic = "PNIJRNL1";
constexpr std::size_t headerSize = 16;
constexpr std::size_t largestImage = 65535;
constexpr unsigned onlyOwner = 0600;

// FNV-1a. Finds damage of the disk; an attacker cannot write to the folder.
std::uint64_t checksumOf(CByteView bytes) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const std::uint8_t byte : bytes.Inside(0, bytes.Size())) {
        hash = (hash ^ byte) * 0x100000001B3U;
    }
    return hash;
}

}  // namespace

bool CFruJournal::Exists() const noexcept {
    struct stat status {};
    return ::fstatat(place_.Folder(), name_.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

std::optional<CFruJournal::Images> CFruJournal::Read() const {
    const auto content = readSmallFile(place_.Folder(), name_, headerSize + 2 * largestImage);
    if (!content) {
        if (errno == EFBIG) {
            return std::nullopt;
        }
        Fail("cannot read the journal");
    }
    const CByteView file(*content);
    const CByteView images(file.Inside(headerSize, file.Size()));
    if (!file.HasText(0, magic) || images.Size() % 2 != 0 || images.Size() == 0 ||
        file.U64(magic.size()) != checksumOf(images)) {
        return std::nullopt;
    }
    const std::size_t size = images.Size() / 2;
    const auto before = images.Inside(0, size);
    const auto after = images.Inside(size, size);
    return Images{{before.begin(), before.end()}, {after.begin(), after.end()}};
}

void CFruJournal::Keep(std::span<const std::uint8_t> before,
                       std::span<const std::uint8_t> after) const {
    std::vector<std::uint8_t> file(headerSize);
    file.insert(file.end(), before.begin(), before.end());
    file.insert(file.end(), after.begin(), after.end());
    const std::uint64_t checksum =
        checksumOf(CByteView(file).Part(headerSize, file.size() - headerSize));
    CByteEditor editor(file);
    editor.Put(0, {reinterpret_cast<const std::uint8_t*>(magic.data()), magic.size()});
    editor.PutU32(magic.size(), static_cast<std::uint32_t>(checksum));
    editor.PutU32(magic.size() + 4, static_cast<std::uint32_t>(checksum >> 32U));
    if (!replaceFile(place_.Folder(), name_,
                     {reinterpret_cast<const char*>(file.data()), file.size()}, onlyOwner)) {
        Fail("cannot write the journal");
    }
}

void CFruJournal::Remove() const {
    if ((::unlinkat(place_.Folder(), name_.c_str(), 0) != 0 && errno != ENOENT) ||
        !flushFolder(place_.Folder())) {
        Fail("cannot remove the journal");
    }
}

std::string CFruJournal::PutAside() const {
    std::string aside;
    struct stat status {};
    unsigned number = 0;
    do {
        aside = name_ + ".kept" + std::to_string(++number);
    } while (::fstatat(place_.Folder(), aside.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0);
    if (::renameat(place_.Folder(), name_.c_str(), place_.Folder(), aside.c_str()) != 0 ||
        !flushFolder(place_.Folder())) {
        Fail("cannot rename the journal");
    }
    return place_.FolderPath() + aside;
}

void CFruJournal::Fail(const char* what) const {
    throw CHostError(
        systemErrorText(place_.Name() + ": " + what + ' ' + place_.FolderPath() + name_, errno));
}

}  // namespace em_pni
