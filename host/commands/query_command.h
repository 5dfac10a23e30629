// pni-host query: the inventory in a FRU image file as the module tells it.
#pragma once

#include <string>

#include "host/output/console.h"
#include "host/session/inventory_request.h"

namespace em_pni {

struct QueryOptions {
    std::string file;
    std::string module;  // path; empty = the default place
    InventoryFilter filter;
    bool tree = false;
};

// The file stays as it is, whatever the module would change in it.
int queryFile(const QueryOptions& options, CConsole& console);

}  // namespace em_pni
