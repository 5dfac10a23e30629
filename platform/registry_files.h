// The files of a registry store and the order in which they change places.
#pragma once

#include <string>
#include <string_view>

namespace em_pni {

struct RegistryFiles {
    std::string folder;
    std::string current;
    std::string previous;
    std::string fresh;  // being written
    std::string defaults;
};

// All empty for an empty directory.
RegistryFiles registryFilesIn(const std::string& directory);

// Makes `text` the current file, mode 0644, and the current file, unless it is empty, the previous
// one. After a crash at any moment the current file, or without one the previous file, is either
// the old or the new text. False, with a line in the trace, when that failed: then the current file
// is the old one, unless flushing the folder was all that failed.
bool saveRegistryFiles(const RegistryFiles& files, std::string_view text) noexcept;

}  // namespace em_pni
