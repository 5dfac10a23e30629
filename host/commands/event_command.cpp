#include "host/commands/commands.h"
#include "host/events/event_socket.h"
#include "host/output/host_error.h"

namespace em_pni {

int sendEvent(const EventOptions& options, CConsole& console) {
    const CFruPlace place(options.source, CFruPlace::Use::read);
    if (place.Folder() < 0 || !deliverEvent(place, options.event)) {
        throw CHostError(place.Name() + ": no pni-host run is using it");
    }
    console.Line("sent: " + textOf(options.event));
    return exitDone;
}

}  // namespace em_pni
