#include "host/commands/commands.h"
#include "host/events/event_socket.h"
#include "host/output/host_error.h"

namespace em_pni {

int sendEvent(const EventOptions& options, CConsole& console) {
    if (!deliverEvent(CFruImage(options.file), options.event)) {
        throw CHostError(options.file + ": no pni-host run is using it");
    }
    console.Line("sent: " + textOf(options.event));
    return exitDone;
}

}  // namespace em_pni
