// The file that shows the last answer to ReadPniData.
#pragma once

#include <string>
#include <string_view>

namespace em_pni {

// Replaces the content of the file by the text and a newline. A new file is made with mode 0600.
// Nothing is done, silently, when the file cannot be opened or is anything but a plain file with
// one name: the folder may be open to others, and this process is root.
void writeDumpFile(const std::string& path, std::string_view text) noexcept;

}  // namespace em_pni
