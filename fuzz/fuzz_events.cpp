// The input is a message to the event socket of a running host. Each of its lines is a message too.
#include <sstream>
#include <sys/socket.h>
#include <sys/un.h>

#include "fuzz/fuzz_input.h"
#include "host/events/event_socket.h"
#include "platform/text.h"
#include "tests/temp_directory.h"

using namespace em_pni;
using namespace em_pni::fuzz;

namespace {

constexpr int maxLines = 8;

class CRunningHost {
  public:
    CRunningHost() {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        folder_.File("a.fru.events").copy(address.sun_path, sizeof address.sun_path - 1);
        require(::connect(sender_.Get(), reinterpret_cast<const sockaddr*>(&address),
                          sizeof address) == 0,
                "the socket can be reached");
    }
    void Receive(std::string_view message) {
        const auto now = CIEventSource::Clock::time_point();
        errors_.str("");
        if (::send(sender_.Get(), message.data(), message.size(), MSG_DONTWAIT) < 0) {
            return;  // longer than the kernel allows
        }
        socket_.Take(now);
        const auto report = socket_.NextReport(now);
        require(!socket_.NextReport(now), "a message is one event at most");
        require(report.has_value() == hostEventOf(message).has_value(), "a word is an event");
        if (report) {
            require(wordOf(report->event) == message && errors_.str().empty(), "the same event");
            (void)messageOf(report->event);
            return;
        }
        const std::string error = errors_.str();
        require(error.ends_with('\n') && validUtf8(error) == error &&
                    printable({error.data(), error.size() - 1}) + "\n" == error,
                "an error is one printable line");
    }

  private:
    test::CTempDirectory folder_{"/dev/shm"};
    CFruPlace place_{{.path = folder_.Write("a.fru", "A")}, CFruPlace::Use::write};
    std::ostringstream errors_;
    CConsole console_{errors_, errors_};
    CEventSocket socket_{place_, console_};
    CFileDescriptor sender_{::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CRunningHost host;
    std::string_view text(reinterpret_cast<const char*>(data), size);
    host.Receive(text);
    for (int i = 0; i < maxLines && !text.empty(); ++i) {
        host.Receive(takeUntil(text, '\n'));
    }
    return 0;
}
