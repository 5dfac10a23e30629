// The file with the last answer to ReadPniData.
#pragma once

#include <string>
#include <string_view>

namespace em_pni {

// Replaces the content of the file by `text` and a newline. A new file gets mode 0600. Does nothing
// when the file cannot be opened, is not a regular file, is a link, or belongs to another user: the
// process is root, and other users may be able to write to the folder. Reports no error.
void writeDumpFile(const std::string& path, std::string_view text) noexcept;

}  // namespace em_pni
