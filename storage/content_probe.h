// Questions that open a device or a file system. Ask them with CBoundedQuestions.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

#include "storage/storage_inventory.h"

namespace em_pni {

// What libblkid finds on a device: partition table, entry in the table above it, file system or
// member of a volume. The text has the form and the properties of a udev record; see CUdevRecord.
// Opens the device for reading only. The file at `path` must be this device or a regular file.
// Returns an empty text when it is not or cannot be read.
std::string probeContent(const std::string& path, dev_t device);

// The space of the file system at a mount point, for parseSpace. Empty when it cannot be read.
std::string readSpace(const std::string& mountPoint);
std::optional<SpaceUsage> parseSpace(std::string_view text) noexcept;

}  // namespace em_pni
