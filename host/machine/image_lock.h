// The lock of the program that may replace an image: an open file "<image>.lock" in its folder.
#pragma once

#include <string>

#include "host/machine/fru_image.h"
#include "platform/file.h"

namespace em_pni {

class CImageLock {
  public:
    // Throws a CHostError when another program holds the lock, or when the lock file cannot be
    // used: only its owner has access, so that no other user can hold the lock. Removes the
    // temporary files of a killed program. The image must outlive the lock.
    explicit CImageLock(const CFruImage& image);
    // Removes the file.
    ~CImageLock();
    CImageLock(const CImageLock&) = delete;
    CImageLock& operator=(const CImageLock&) = delete;

  private:
    [[nodiscard]] CFileDescriptor Open() const;
    [[nodiscard]] bool HasItsName() const;

    const CFruImage& image_;
    const std::string name_;
    CFileDescriptor file_;
};

}  // namespace em_pni
