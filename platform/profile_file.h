// Profile files: INI-style text of sections, "[name]", holding lines "key=value".
//
// Section and key names match without regard to case. Blanks around names and values are cut. A
// line that begins with ';' or '#' is a comment, a line without '=' says nothing. Where a section
// or a key stands twice, the first one counts. A section that is split over the file is one
// section.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace em_pni {

// A parsed view of a profile text; the text must outlive it.
class CProfileText {
  public:
    struct Entry {
        std::string_view key;
        std::string_view value;
    };

    explicit CProfileText(std::string_view text);

    [[nodiscard]] bool HasSection(std::string_view section) const noexcept;
    [[nodiscard]] std::optional<std::string_view> Find(std::string_view section,
                                                       std::string_view key) const noexcept;
    // All entries of the section, in file order.
    [[nodiscard]] std::vector<Entry> Entries(std::string_view section) const;

  private:
    struct Line {
        std::string_view section;
        Entry entry;  // both empty for the line that opens the section
    };
    std::vector<Line> lines_;
};

// Reads one value from a file; nothing when the file, the section or the key is missing.
std::optional<std::string> GetPrivateProfileString(std::string_view section, std::string_view key,
                                                   const std::string& fileName);

// Sets, adds or removes one value and leaves every other line of the file as it is. A null `key`
// removes the whole section, a null `value` the key. The file is made when missing and replaced
// crash-safely. True when the file says now what was asked.
bool WritePrivateProfileString(const char* section, const char* key, const char* value,
                               const char* fileName);

}  // namespace em_pni
