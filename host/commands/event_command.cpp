#include "host/commands/event_command.h"

#include "host/events/event_socket.h"

namespace em_pni {

int sendEvent(const EventOptions& options, CConsole& console) {
    if (!deliverEvent(CFruImage(options.file), options.event)) {
        throw CHostError(options.file + ": no pni-host run is at work on it");
    }
    console.Line("sent: " + textOf(options.event));
    return exitDone;
}

}  // namespace em_pni
