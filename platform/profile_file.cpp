#include "platform/profile_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>

#include "platform/file.h"
#include "platform/text.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

constexpr std::size_t maxProfileSize = 1024 * 1024;

// The name of the section that a line opens. Returns no value for any other line.
std::optional<std::string_view> sectionName(std::string_view line) noexcept {
    const std::string_view text = trimBlanks(line);
    if (text.size() < 2 || text.front() != '[' || text.back() != ']') {
        return std::nullopt;
    }
    return trimBlanks(text.substr(1, text.size() - 2));
}

std::optional<CProfileText::Entry> entryOf(std::string_view line) noexcept {
    const std::string_view text = trimBlanks(line);
    const std::size_t equals = text.find('=');
    if (text.empty() || text.front() == ';' || text.front() == '#' ||
        equals == std::string_view::npos) {
        return std::nullopt;
    }
    return CProfileText::Entry{trimBlanks(text.substr(0, equals)),
                               trimBlanks(text.substr(equals + 1))};
}

// The text with the wanted change. A new value replaces the old value. Without an old value it goes
// behind the last line of its section, or into a new section at the end.
std::string edited(std::string_view text, std::string_view section, const char* key,
                   const char* value) {
    std::string result;
    std::size_t insertAt = std::string::npos;  // behind the last non-blank line of the section
    bool inSection = false;
    bool done = false;
    while (!text.empty()) {
        const std::string_view line = takeUntil(text, '\n');
        if (const auto name = sectionName(line)) {
            inSection = equalIgnoringCase(*name, section);
        }
        if (inSection && key == nullptr) {
            continue;
        }
        const auto entry = entryOf(line);
        if (inSection && key != nullptr && entry && equalIgnoringCase(entry->key, key)) {
            if (value != nullptr && !done) {
                result.append(key).append("=").append(value).append("\n");
            }
            done = true;
            continue;
        }
        result.append(line).append("\n");
        if (inSection && !trimBlanks(line).empty()) {
            insertAt = result.size();
        }
    }
    if (key == nullptr || value == nullptr || done) {
        return result;
    }
    const std::string added = std::string(key) + "=" + value + "\n";
    if (insertAt != std::string::npos) {
        return result.insert(insertAt, added);
    }
    return result.append("[").append(section).append("]\n").append(added);
}

const char* orNil(const char* text) noexcept {
    return text != nullptr ? text : "<nil>";
}

}  // namespace

CProfileText::CProfileText(std::string_view text) {
    std::string_view section;
    while (!text.empty()) {
        const std::string_view line = takeUntil(text, '\n');
        if (const auto name = sectionName(line)) {
            section = *name;
            lines_.push_back({section, {}});
        } else if (const auto entry = entryOf(line)) {
            lines_.push_back({section, *entry});
        }
    }
}

bool CProfileText::HasSection(std::string_view section) const noexcept {
    return std::any_of(lines_.begin(), lines_.end(),
                       [&](const Line& line) { return equalIgnoringCase(line.section, section); });
}

std::optional<std::string_view> CProfileText::Find(std::string_view section,
                                                   std::string_view key) const noexcept {
    const auto line = std::find_if(lines_.begin(), lines_.end(), [&](const Line& candidate) {
        return equalIgnoringCase(candidate.section, section) &&
               equalIgnoringCase(candidate.entry.key, key);
    });
    return line == lines_.end() ? std::nullopt : std::optional(line->entry.value);
}

std::vector<CProfileText::Entry> CProfileText::Entries(std::string_view section) const {
    std::vector<Entry> entries;
    for (const Line& line : lines_) {
        if (!line.entry.key.empty() && equalIgnoringCase(line.section, section)) {
            entries.push_back(line.entry);
        }
    }
    return entries;
}

std::optional<std::string> GetPrivateProfileString(std::string_view section, std::string_view key,
                                                   const std::string& fileName) {
    const auto text = readSmallFile(fileName, maxProfileSize);
    if (!text) {
        PNI_TRACE(2, "GetPrivateProfileString: Cannot open %s\n", fileName.c_str());
        return std::nullopt;
    }
    const auto value = CProfileText(*text).Find(section, key);
    return value ? std::optional<std::string>(*value) : std::nullopt;
}

bool WritePrivateProfileString(const char* section, const char* key, const char* value,
                               const char* fileName) {
    PNI_TRACE(5, "WritePrivateProfileString(%s, %s, %s, %s)\n", orNil(section), orNil(key),
              orNil(value), orNil(fileName));
    if (section == nullptr) {
        PNI_TRACE(2, "WritePrivateProfileString: ## WARNING: invalid pointer to AppName\n");
        return false;
    }
    if (fileName == nullptr) {
        PNI_TRACE(2, "WritePrivateProfileString: ## WARNING: invalid pointer to FileName\n");
        return false;
    }
    // O_NONBLOCK: opening a pipe must not wait for a reader. readSmallFile then refuses the pipe.
    if (!CFileDescriptor(::open(
            fileName, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0644))) {
        PNI_TRACE(2, "WritePrivateProfileString: ## WARNING: append open error: %s\n", fileName);
        return false;
    }
    const auto text = readSmallFile(fileName, maxProfileSize);
    const bool written = text && replaceFile(fileName, edited(*text, section, key, value));
    PNI_TRACE(5, "WritePrivateProfileString rc=0x%04x\n", written ? 1U : 0U);
    return written;
}

}  // namespace em_pni
