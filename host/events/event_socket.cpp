#include "host/events/event_socket.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <string_view>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include "host/output/host_error.h"
#include "platform/text.h"

namespace em_pni {

namespace {

constexpr std::size_t longestMessage = 32;
constexpr timeval patience{.tv_sec = 2, .tv_usec = 0};  // with a host that does not read

[[noreturn]] void fail(const EventPlace& place, const char* what) {
    throw CHostError(systemErrorText(place.fruName + ": " + what, errno));
}

// The address of a socket: the file of `descriptor`, or `below` in that folder.
sockaddr_un addressOf(int descriptor, const std::string& below = "") {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor) + below;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

const sockaddr* generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

CFileDescriptor makeSocket(const EventPlace& place) {
    CFileDescriptor made(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!made) {
        fail(place, "cannot create an event socket");
    }
    return made;
}

// Throws when the file with the socket's name is something else or belongs to another user.
void requireOwnSocket(const EventPlace& place, const struct stat& status) {
    const std::string path = place.folderPath + place.name;
    if (!S_ISSOCK(status.st_mode)) {
        throw CHostError(place.fruName + ": " + path + " exists and is not a socket");
    }
    if (status.st_uid != ::geteuid()) {
        throw CHostError(place.fruName + ": " + path + " belongs to another user, with id " +
                         std::to_string(status.st_uid));
    }
}

// A socket that is connected to the running host; an empty descriptor when there is no host.
CFileDescriptor connectTo(const EventPlace& place) {
    const CFileDescriptor file(
        ::openat(place.folder.Get(), place.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!file) {
        if (errno == ENOENT) {
            return CFileDescriptor();
        }
        fail(place, "cannot open its event socket");
    }
    struct stat status {};
    if (::fstat(file.Get(), &status) != 0) {
        fail(place, "cannot open its event socket");
    }
    requireOwnSocket(place, status);
    CFileDescriptor connected = makeSocket(place);
    const sockaddr_un address = addressOf(file.Get());
    if (::connect(connected.Get(), generic(address), sizeof address) != 0) {
        if (errno == ECONNREFUSED) {
            return CFileDescriptor();
        }
        fail(place, "cannot open its event socket");
    }
    return connected;
}

struct stat statusOf(const EventPlace& place) {
    struct stat status {};
    if (::fstatat(place.folder.Get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        status = {};
    }
    return status;
}

// Throws unless the socket's name is free or is the socket of a host that has ended.
void requireUnused(const EventPlace& place) {
    if (const struct stat status = statusOf(place); status.st_mode != 0) {
        requireOwnSocket(place, status);
    }
}

}  // namespace

EventPlace::EventPlace(const CFruPlace& fru)
    : fruName(fru.Name()),
      folderPath(fru.FolderPath()),
      name(fru.FileName() + ".events"),
      folder(::openat(fru.Folder(), ".", O_PATH | O_DIRECTORY | O_CLOEXEC)) {
    if (!folder) {
        fail(*this, "cannot open its folder");
    }
}

CEventSocket::CEventSocket(const CFruPlace& fru, CConsole& console)
    : place_(fru), console_(console), socket_(makeSocket(place_)) {
    requireUnused(place_);
    const int folder = place_.folder.Get();
    // The name before it gets its own name, which is too long for an address. It is the same for
    // each run with these data: the next one removes what a killed one left.
    const std::string firstName =
        ".pni-host." + std::to_string(std::hash<std::string>()(place_.name));
    // The file gets at most the mode that the socket has before bind.
    const sockaddr_un address = addressOf(folder, "/" + firstName);
    ::unlinkat(folder, firstName.c_str(), 0);
    if (::fchmod(socket_.Get(), S_IRUSR | S_IWUSR) != 0 ||
        ::bind(socket_.Get(), generic(address), sizeof address) != 0) {
        fail(place_, "cannot create an event socket in its folder");
    }
    if (::renameat(folder, firstName.c_str(), folder, place_.name.c_str()) != 0) {
        const int error = errno;
        ::unlinkat(folder, firstName.c_str(), 0);
        errno = error;
        fail(place_, "cannot name its event socket");
    }
    const struct stat status = statusOf(place_);
    device_ = status.st_dev;
    inode_ = status.st_ino;
}

CEventSocket::~CEventSocket() {
    const struct stat status = statusOf(place_);
    if (status.st_dev == device_ && status.st_ino == inode_) {
        ::unlinkat(place_.folder.Get(), place_.name.c_str(), 0);
    }
}

void CEventSocket::Take(Clock::time_point now) {
    char message[longestMessage];
    const ssize_t got = ::recv(socket_.Get(), message, sizeof message, MSG_DONTWAIT | MSG_TRUNC);
    if (got < 0) {
        return;
    }
    const auto length = static_cast<std::size_t>(got);
    const std::string_view text(message, std::min(length, sizeof message));
    taken_ = length == text.size() ? hostEventOf(text) : std::nullopt;
    takenAt_ = now;
    if (!taken_) {
        console_.Error("unknown event ignored: \"" + printable(validUtf8(text)) + "\"");
    }
}

std::optional<EventReport> CEventSocket::NextReport(Clock::time_point /*now*/) {
    if (!taken_) {
        return std::nullopt;
    }
    const HostEvent event = *taken_;
    taken_.reset();
    return EventReport{event, "pni-host event"};
}

bool deliverEvent(const CFruPlace& fru, HostEvent event) {
    const EventPlace place(fru);
    const CFileDescriptor connected = connectTo(place);
    if (!connected) {
        return false;
    }
    ::setsockopt(connected.Get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    const std::string_view word = wordOf(event);
    if (::send(connected.Get(), word.data(), word.size(), MSG_NOSIGNAL) < 0) {
        if (errno == ECONNREFUSED) {
            return false;  // the host has just ended
        }
        if (errno == EAGAIN) {
            throw CHostError(place.fruName + ": its pni-host run does not read events");
        }
        fail(place, "cannot send the event");
    }
    return true;
}

}  // namespace em_pni
