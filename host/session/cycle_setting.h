// A configuration file that sets the module's period, for the moment in which the module starts.
#pragma once

#include <cstdint>
#include <string>

#include "platform/file.h"

namespace em_pni {

// A new folder of our own, removed with its content when this goes.
class CTemporaryFolder {
  public:
    CTemporaryFolder();
    ~CTemporaryFolder();
    CTemporaryFolder(const CTemporaryFolder&) = delete;
    CTemporaryFolder& operator=(const CTemporaryFolder&) = delete;

    [[nodiscard]] const std::string& Path() const noexcept { return path_; }

  private:
    std::string path_;
};

// The current directory of the whole process, until this goes.
class CWorkingDirectory {
  public:
    explicit CWorkingDirectory(const std::string& path);
    ~CWorkingDirectory();
    CWorkingDirectory(const CWorkingDirectory&) = delete;
    CWorkingDirectory& operator=(const CWorkingDirectory&) = delete;

  private:
    CFileDescriptor previous_;
};

// While it lives, the current directory is a private folder whose em_pni.ini says `milliseconds`:
// the module looks for its file there first, and only while it starts.
class CCycleSetting {
  public:
    static constexpr std::uint32_t onlyOnEvents = 4294967295U;

    explicit CCycleSetting(std::uint32_t milliseconds);

  private:
    CTemporaryFolder folder_;
    CWorkingDirectory directory_;
};

}  // namespace em_pni
