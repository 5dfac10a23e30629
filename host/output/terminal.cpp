#include "host/output/terminal.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdlib>
#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "platform/text.h"

namespace em_pni {

namespace {

constexpr char escape = '\x1b';
constexpr std::size_t narrowest = 40;  // columns; a smaller terminal gets longer lines

struct LineCharacter {
    std::string_view text;
    std::string_view ascii;
    std::string_view below;  // in the lines that continue this one
};

constexpr std::array<LineCharacter, 4> lineCharacters{
    {{"├─", "|-", "│ "}, {"└─", "`-", "  "}, {"│", "|", "│"}, {" ", " ", " "}}};

// The columns of a text, without its colors.
std::size_t columnsOf(std::string_view text) {
    std::size_t columns = 0;
    bool isInEscape = false;
    for (const char byte : text) {
        if (isInEscape) {
            isInEscape = byte != 'm';
        } else if (byte == escape) {
            isInEscape = true;
        } else if ((byte & 0xC0) != 0x80) {
            ++columns;
        }
    }
    return columns;
}

const LineCharacter* lineCharacterAt(std::string_view text) {
    const auto* const found =
        std::find_if(lineCharacters.begin(), lineCharacters.end(),
                     [text](const LineCharacter& known) { return text.starts_with(known.text); });
    return found != lineCharacters.end() ? found : nullptr;
}

// How many blanks a continued line has before its words.
std::size_t continuationOf(std::string_view line) {
    constexpr std::size_t usual = 4;
    constexpr std::size_t widestLabel = 16;
    const std::size_t gap = line.find("  ");
    const std::size_t column = line.find_first_not_of(' ', gap);
    return gap == std::string_view::npos || column > widestLabel ? usual : column;
}

void appendFolded(std::string& lines, std::string_view line, std::size_t width) {
    if (width == 0 || columnsOf(line) <= width) {
        lines += line;
        return;
    }
    std::string indent;
    std::string_view rest = line;
    while (const LineCharacter* const character = lineCharacterAt(rest)) {
        indent += character->below;
        rest.remove_prefix(character->text.size());
    }
    std::string current(line.substr(0, line.size() - rest.size()));
    indent.append(continuationOf(rest), ' ');
    bool isFirst = true;
    while (!rest.empty()) {
        const std::string_view word = takeUntil(rest, ' ');
        if (!isFirst && columnsOf(current) + 1 + columnsOf(word) > width) {
            lines.append(current).append("\n");
            current = indent;
            isFirst = true;
        }
        current.append(isFirst ? "" : " ").append(word);
        isFirst = false;
    }
    lines += current;
}

// '?' for each character that has no ASCII form.
std::string asciiOf(std::string_view text) {
    std::string ascii;
    while (!text.empty()) {
        if (const LineCharacter* const character = lineCharacterAt(text)) {
            ascii += character->ascii;
            text.remove_prefix(character->text.size());
            continue;
        }
        const auto byte = static_cast<unsigned char>(text.front());
        if (byte < 0x80) {
            ascii += text.front();
        } else if (byte >= 0xC0) {  // the first byte of a character
            ascii += '?';
        }
        text.remove_prefix(1);
    }
    return ascii;
}

}  // namespace

Terminal terminalOf(int descriptor, ColorChoice choice) {
    Terminal terminal;
    const bool isTerminal = ::isatty(descriptor) == 1;
    const char* const noColor = std::getenv("NO_COLOR");
    const bool mayColor = isTerminal && (noColor == nullptr || *noColor == '\0');
    terminal.hasColor =
        choice == ColorChoice::always || (choice == ColorChoice::automatic && mayColor);
    std::setlocale(LC_CTYPE, "");
    terminal.isUtf8 = std::string_view(::nl_langinfo(CODESET)) == "UTF-8";
    winsize size{};
    if (isTerminal && ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        terminal.width = std::max<std::size_t>(size.ws_col, narrowest);
    }
    return terminal;
}

std::string painted(std::string_view text, Color color, const Terminal& terminal) {
    if (!terminal.hasColor) {
        return std::string(text);
    }
    constexpr std::array codes{"\x1b[31m", "\x1b[32m", "\x1b[33m", "\x1b[36m"};
    return std::string(codes.at(static_cast<std::size_t>(color))).append(text).append("\x1b[0m");
}

std::string fitted(std::string_view text, const Terminal& terminal) {
    std::string lines;
    while (!text.empty()) {
        const bool hasEnd = text.find('\n') != std::string_view::npos;
        appendFolded(lines, takeUntil(text, '\n'), terminal.width);
        if (hasEnd) {
            lines += '\n';
        }
    }
    return terminal.isUtf8 ? lines : asciiOf(lines);
}

}  // namespace em_pni
