// The commands of pni-host. Each function returns the exit code of the program; a CHostError means
// exitUnusable.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/events/host_event.h"
#include "host/machine/fru_image.h"
#include "host/machine/image_builder.h"
#include "host/output/console.h"
#include "host/session/inventory_request.h"

namespace em_pni {

struct AdaptersOptions {
    bool json = false;
};

// Lists the adapters of this machine. exitFailed when its PCI functions cannot be read.
int listAdapters(const AdaptersOptions& options, CConsole& console);

struct CheckOptions {
    std::vector<std::string> files;
};

// Prints a line for each file. exitUnusable when a file cannot be read, else exitFailed when an
// image is not valid.
int checkFiles(const CheckOptions& options, CConsole& console);

struct CreateOptions {
    std::string file;
    ImageFormat format;
    bool force = false;  // replace an existing file
};

// Creates an image that describes this machine. exitFailed when the machine has no adapters or they
// cannot be read.
int createImage(const CreateOptions& options, CConsole& console);

struct EventOptions {
    HostEvent event = HostEvent::deviceAdded;
    std::string file;  // image of the running pni-host
};

// Sends an event to the running pni-host of an image.
int sendEvent(const EventOptions& options, CConsole& console);

struct QueryOptions {
    std::string file;
    std::string module;  // path; empty = the default module
    InventoryFilter filter;
    bool tree = false;
};

// Prints the inventory in an image. The file never changes. exitFailed when the module refuses.
int queryFile(const QueryOptions& options, CConsole& console);

struct RunOptions {
    std::string file;
    std::string module;                  // path; empty = the default module
    bool once = false;                   // one cycle; else until SIGINT or SIGTERM
    std::optional<std::uint32_t> cycle;  // milliseconds; no value = as the module is configured
    std::uint32_t writeInterval = 5000;  // milliseconds from a write to the next address event
    bool watch = true;                   // report changes of network and devices; not with `once`
    std::size_t capacity = CFruImage::maxSize;  // of the played controller, in bytes
};

// Runs the module on an image. exitFailed when a write failed or the module has no valid record.
int runModule(const RunOptions& options, CConsole& console);

}  // namespace em_pni
