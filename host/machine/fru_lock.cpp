#include "host/machine/fru_lock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/machine/fru_journal.h"
#include "host/output/host_error.h"

namespace em_pni {

CFruLock::CFruLock(const CFruPlace& place) : place_(place), name_(place.FileName() + ".lock") {
    do {
        file_ = Open();
        if (::flock(file_.Get(), LOCK_EX | LOCK_NB) != 0) {
            throw CHostError(errno == EWOULDBLOCK
                                 ? place_.Name() + ": another pni-host run is using it"
                                 : systemErrorText(place_.Name() + ": cannot lock it", errno));
        }
        // The holder before may have removed the file between the two calls.
    } while (!HasItsName());
    removeTemporaries(place_.Folder(), place_.FileName());
    removeTemporaries(place_.Folder(), CFruJournal::NameAt(place_));
}

CFruLock::~CFruLock() {
    if (HasItsName()) {
        ::unlinkat(place_.Folder(), name_.c_str(), 0);
    }
}

CFileDescriptor CFruLock::Open() const {
    const std::string path = place_.FolderPath() + name_;
    CFileDescriptor file(::openat(place_.Folder(), name_.c_str(),
                                  O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY,
                                  S_IRUSR | S_IWUSR));
    if (!file) {
        throw CHostError(systemErrorText(place_.Name() + ": cannot open " + path, errno));
    }
    struct stat status {};
    if (::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink > 1 ||
        status.st_uid != ::geteuid() || (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        throw CHostError(place_.Name() + ": " + path + " is not a lock file of this user");
    }
    return file;
}

bool CFruLock::HasItsName() const {
    struct stat mine {};
    struct stat named {};
    return ::fstat(file_.Get(), &mine) == 0 &&
           ::fstatat(place_.Folder(), name_.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           mine.st_dev == named.st_dev && mine.st_ino == named.st_ino;
}

}  // namespace em_pni
