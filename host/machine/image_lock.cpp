#include "host/machine/image_lock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/output/host_error.h"

namespace em_pni {

CImageLock::CImageLock(const CFruImage& image) : image_(image), name_(image.FileName() + ".lock") {
    do {
        file_ = Open();
        if (::flock(file_.Get(), LOCK_EX | LOCK_NB) != 0) {
            throw CHostError(errno == EWOULDBLOCK
                                 ? image_.Name() + ": another pni-host run is using it"
                                 : systemErrorText(image_.Name() + ": cannot lock it", errno));
        }
        // The holder before may have removed the file between the two calls.
    } while (!HasItsName());
    removeTemporaries(image_.Folder(), image_.FileName());
}

CImageLock::~CImageLock() {
    if (HasItsName()) {
        ::unlinkat(image_.Folder(), name_.c_str(), 0);
    }
}

CFileDescriptor CImageLock::Open() const {
    const std::string path = image_.FolderPath() + name_;
    CFileDescriptor file(::openat(image_.Folder(), name_.c_str(),
                                  O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY,
                                  S_IRUSR | S_IWUSR));
    if (!file) {
        throw CHostError(systemErrorText(image_.Name() + ": cannot open " + path, errno));
    }
    struct stat status {};
    if (::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink > 1 ||
        status.st_uid != ::geteuid() || (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        throw CHostError(image_.Name() + ": " + path + " is not a lock file of this user");
    }
    return file;
}

bool CImageLock::HasItsName() const {
    struct stat mine {};
    struct stat named {};
    return ::fstat(file_.Get(), &mine) == 0 &&
           ::fstatat(image_.Folder(), name_.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           mine.st_dev == named.st_dev && mine.st_ino == named.st_ino;
}

}  // namespace em_pni
