// Where FRU data lie, and the folder of the files that pni-host keeps for them.
#pragma once

#include <cstdint>
#include <string>

#include "platform/file.h"

namespace em_pni {

// As the user names FRU data.
struct FruSource {
    std::string path;  // of an image file, or of the kernel's IPMI device
    // Of the FRU device that the management controller manages. Not for files.
    std::uint8_t fruId = 0;
    std::string stateFolder = "/var/lib/pni-host";  // for files about a controller
};

// Whether the path is a device of the kernel's IPMI driver. Does not open the device. `root` is the
// directory above sys; "" = the root of this machine.
bool isIpmiDevice(const std::string& path, const std::string& root = "");

// The lock, the event socket and the journal of FRU data are files with the same base name in one
// folder. For an image file the folder is its own. For a controller it is the state folder.
class CFruPlace {
  public:
    enum class Use { read, write };

    // Resolves symbolic links and opens the folder once: all files are reached through this
    // descriptor, also when the path leads to another folder later. With `write`, creates a missing
    // state folder, and refuses one that another user could write to. With `read`, there is no
    // folder for a controller when it cannot be opened. Throws a CHostError.
    CFruPlace(const FruSource& source, Use use);

    [[nodiscard]] bool IsController() const noexcept { return isController_; }
    // For messages: the path as the user gave it; for a controller with the FRU id.
    [[nodiscard]] const std::string& Name() const noexcept { return name_; }
    // -1 = there is no folder.
    [[nodiscard]] int Folder() const noexcept { return folder_.Get(); }
    // Without symbolic links, with a slash at its end. For messages.
    [[nodiscard]] const std::string& FolderPath() const noexcept { return place_.folder; }
    // Of the image file, or the base name for a controller: "ipmi0-fru0".
    [[nodiscard]] const std::string& FileName() const noexcept { return place_.name; }

  private:
    bool isController_;
    std::string name_;
    PathParts place_;
    CFileDescriptor folder_;
};

}  // namespace em_pni
