// pni-host adapters: the network and Fibre Channel adapters of this machine.
#pragma once

#include "host/output/console.h"

namespace em_pni {

struct AdaptersOptions {
    bool json = false;
};

// exitFailed when the machine's PCI functions cannot be read.
int listAdapters(const AdaptersOptions& options, CConsole& console);

}  // namespace em_pni
