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
#include "host/machine/fru_place.h"
#include "host/machine/image_builder.h"
#include "host/output/console.h"
#include "host/output/run_log.h"
#include "host/session/inventory_request.h"

namespace em_pni {

struct AdaptersOptions {
    bool json = false;
};

// Lists the adapters of this machine. exitFailed when its PCI functions cannot be read.
int listAdapters(const AdaptersOptions& options, CConsole& console);

struct BackupOptions {
    FruSource source;
    std::string file;    // to create
    bool force = false;  // replace an existing file
};

// Copies FRU data to a file.
int backUp(const BackupOptions& options, CConsole& console);

struct CheckOptions {
    FruSource common;                // FRU id and state folder for all of them
    std::vector<std::string> paths;  // "-" = standard input
    bool json = false;
};

// Prints a line for each. exitUnusable when FRU data cannot be read, else exitFailed when an image
// is not valid.
int checkFiles(const CheckOptions& options, CConsole& console);

struct CreateOptions {
    std::string file;
    ImageFormat format;
    bool force = false;  // replace an existing file
    bool json = false;
};

// Creates an image that describes this machine. exitFailed when the machine has no adapters or they
// cannot be read.
int createImage(const CreateOptions& options, CConsole& console);

struct DiffOptions {
    FruSource source;
    std::string module;  // path; empty = the default module
    bool cards = true;   // add new cards and remove those that are gone
    bool json = false;
};

// Prints what the module would change. The FRU data never change. exitFailed when it would change
// something, exitUnusable when it cannot tell.
int showDifference(const DiffOptions& options, CConsole& console);

struct EventOptions {
    HostEvent event = HostEvent::deviceAdded;
    FruSource source;  // of the running pni-host
};

// Sends an event to the running pni-host of FRU data.
int sendEvent(const EventOptions& options, CConsole& console);

struct QueryOptions {
    FruSource source;
    std::string module;  // path; empty = the default module
    InventoryFilter filter;
    bool tree = false;
};

// Prints the inventory in FRU data. They never change. exitFailed when the module refuses.
int queryFile(const QueryOptions& options, CConsole& console);

struct RestoreOptions {
    std::string file;
    FruSource target;
    bool force = false;  // although the image is not valid, or changes another area
};

// Copies a file to FRU data.
int restore(const RestoreOptions& options, CConsole& console);

struct RunOptions {
    FruSource source;
    std::string module;                  // path; empty = the default module
    bool once = false;                   // one cycle; else until SIGINT or SIGTERM
    std::optional<std::uint32_t> cycle;  // milliseconds; no value = as the module is configured
    std::uint32_t writeInterval = 5000;  // milliseconds from a write to the next address event
    bool cards = true;                   // at the start, add new cards and remove missing ones
    bool watch = true;                   // report changes of network and devices; not with `once`
    std::size_t capacity = CFruImage::maxSize;  // of the record, in bytes
    RunLogStyle style;
};

// Runs the module on FRU data. exitFailed when a write failed or the module has no valid record.
int runModule(const RunOptions& options, CConsole& console);

struct StorageOptions {
    bool json = false;
    bool tree = false;  // the default
};

// Lists the storage of this machine. What cannot be read is left out or unknown.
int listStorage(const StorageOptions& options, CConsole& console);

}  // namespace em_pni
