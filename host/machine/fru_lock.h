// The lock of the program that may change FRU data: an open file "<file name>.lock" in the folder
// of the place.
#pragma once

#include <string>

#include "host/machine/fru_place.h"
#include "platform/file.h"

namespace em_pni {

class CFruLock {
  public:
    // Throws a CHostError when another program holds the lock, or when the lock file cannot be
    // used: only its owner has access, so that no other user can hold the lock. Removes the
    // temporary files of a killed program. The place must outlive the lock.
    explicit CFruLock(const CFruPlace& place);
    // Removes the file.
    ~CFruLock();
    CFruLock(const CFruLock&) = delete;
    CFruLock& operator=(const CFruLock&) = delete;

  private:
    [[nodiscard]] CFileDescriptor Open() const;
    [[nodiscard]] bool HasItsName() const;

    const CFruPlace& place_;
    const std::string name_;
    CFileDescriptor file_;
};

}  // namespace em_pni
