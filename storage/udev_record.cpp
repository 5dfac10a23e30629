#include "storage/udev_record.h"

#include <algorithm>

#include "platform/number.h"
#include "platform/text.h"

namespace em_pni {

std::string CUdevRecord::Property(std::string_view key) const {
    std::string start = "\nE:";
    start.append(key).append("=");
    const std::size_t found = text_.find(start);
    if (found == std::string::npos) {
        return {};
    }
    std::string_view rest = std::string_view(text_).substr(found + start.size());
    return std::string(takeUntil(rest, '\n'));
}

std::string CUdevRecord::Text(std::string_view key) const {
    const std::string escaped = Property(std::string(key) + "_ENC");
    return escaped.empty() ? Property(key) : unescaped(escaped);
}

std::vector<std::string> CUdevRecord::Links() const {
    constexpr std::string_view start = "\nS:";
    std::vector<std::string> links;
    for (std::size_t at = text_.find(start); at != std::string::npos; at = text_.find(start, at)) {
        at += start.size();
        std::string_view rest = std::string_view(text_).substr(at);
        links.emplace_back(takeUntil(rest, '\n'));
    }
    std::sort(links.begin(), links.end());
    return links;
}

std::optional<CUdevRecord> readUdevRecord(const CFileTree& files, std::uint32_t major,
                                          std::uint32_t minor) {
    constexpr std::size_t limit = std::size_t{256} << 10U;
    const auto text = files.ReadFile(
        "run/udev/data/b" + std::to_string(major) + ":" + std::to_string(minor), limit);
    return text ? std::optional<CUdevRecord>(*text) : std::nullopt;
}

std::string unescaped(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const auto byte = text.starts_with("\\x") && text.size() >= 4
                              ? parseHexAs<std::uint8_t>(text.substr(2, 2))
                              : std::nullopt;
        result += byte ? static_cast<char>(*byte) : text.front();
        text.remove_prefix(byte ? 4 : 1);
    }
    return result;
}

}  // namespace em_pni
