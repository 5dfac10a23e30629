// Profile files: INI-style text with sections, "[name]", of lines "key=value".
//
// Names of sections and keys are compared without case. Blanks around names and values are removed.
// A line that begins with ';' or '#' is a comment. Other lines without '=' are ignored. When a key
// occurs twice in a section, the first one counts. A section may be split over the file.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace em_pni {

// A parsed view of a profile text. The text must outlive this object and all that it returns.
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

// Reads one value from a file. Returns no value when the file, the section or the key is missing.
// The file may have up to 1 MiB.
std::optional<std::string> GetPrivateProfileString(std::string_view section, std::string_view key,
                                                   const std::string& fileName);

// Sets or adds one value. A null `value` removes the key, a null `key` the whole section. All other
// lines stay. Creates the file when it is missing. A crash at any moment leaves the old or the new
// content. Returns true when the file has the wanted content.
bool WritePrivateProfileString(const char* section, const char* key, const char* value,
                               const char* fileName);

}  // namespace em_pni
