// pni-host event: tells a running pni-host of an event, as if the machine had brought it.
#pragma once

#include <string>

#include "host/events/host_event.h"
#include "host/output/console.h"

namespace em_pni {

struct EventOptions {
    HostEvent event = HostEvent::deviceAdded;
    std::string file;  // the image that the other is at work on
};

int sendEvent(const EventOptions& options, CConsole& console);

}  // namespace em_pni
