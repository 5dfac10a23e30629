// Small operations on texts: blanks, case, printable characters, UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace em_pni {

// `text` without blanks, tabs and line ends at both ends.
std::string_view trimBlanks(std::string_view text) noexcept;

// Both compare with ASCII letters folded.
bool equalIgnoringCase(std::string_view left, std::string_view right) noexcept;
bool containsIgnoringCase(std::string_view text, std::string_view wanted) noexcept;

// Returns the text before the next `separator`. Removes it and the separator from `rest`.
std::string_view takeUntil(std::string_view& rest, char separator) noexcept;

// The leading printable ASCII characters of `raw`, trimmed. Drivers leave arbitrary bytes behind
// the end of their texts.
std::string printableText(std::string_view raw);

// `text` as valid UTF-8 with '?' for each control character (U+0000 to U+001F, U+007F to U+009F).
// Names of files and adapters come from others and must not control the terminal.
std::string printable(std::string_view text);

// `text` with U+FFFD for each byte that is not part of a valid UTF-8 character.
std::string validUtf8(std::string_view text);

}  // namespace em_pni
