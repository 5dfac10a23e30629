// What the terminal behind an output stream can show.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace em_pni {

enum class ColorChoice { automatic, always, never };

struct Terminal {
    bool hasColor = false;
    bool isUtf8 = true;
    std::size_t width = 0;  // in columns; 0 = lines of any length
};

// Colors only on a terminal, and not with the environment variable NO_COLOR, unless they are
// chosen. UTF-8 as the locale says.
Terminal terminalOf(int descriptor, ColorChoice choice);

enum class Color { red, green, yellow, cyan };

// `text` in this color, or unchanged on a terminal without colors.
std::string painted(std::string_view text, Color color, const Terminal& terminal);

// Lines that fit the terminal: longer ones are broken at blanks and go on indented, below the line
// characters of a tree and below the second column of a table. `text` is valid UTF-8. A terminal
// without UTF-8 gets ASCII.
std::string fitted(std::string_view text, const Terminal& terminal);

}  // namespace em_pni
