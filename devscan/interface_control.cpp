#include "devscan/interface_control.h"

#include <cerrno>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace em_pni {

int CSocketControl::Ioctl(unsigned long request, ifreq& data) {
    const CRecursiveLockGuard guard(lock_);
    if (!socket_) {
        socket_ = CFileDescriptor(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    }
    if (!socket_ || ::ioctl(socket_.Get(), request, &data) != 0) {
        return errno;
    }
    return 0;
}

}  // namespace em_pni
