// A record of the udev database: what udevd knows about one device.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "devscan/file_tree.h"

namespace em_pni {

// Keeps the text of the record, because most properties are not needed.
class CUdevRecord {
  public:
    // Lines such as "E:ID_FS_TYPE=ext4" and "S:disk/by-id/wwn-0x5000c500a1b2c3d4".
    explicit CUdevRecord(std::string_view text = {}) : text_("\n" + std::string(text)) {}

    // Empty when there is no such property.
    [[nodiscard]] std::string Property(std::string_view key) const;
    // Property KEY_ENC without its "\x20" escapes, or else property KEY.
    [[nodiscard]] std::string Text(std::string_view key) const;
    // Symbolic links to the device, below /dev.
    [[nodiscard]] std::vector<std::string> Links() const;

  private:
    std::string text_;  // each line behind a line end
};

// The record of a block device. Returns no value when udevd does not run or does not know it.
std::optional<CUdevRecord> readUdevRecord(const CFileTree& files, std::uint32_t major,
                                          std::uint32_t minor);

// `text` with a byte for each escape "\x20".
std::string unescaped(std::string_view text);

}  // namespace em_pni
