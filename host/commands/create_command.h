// pni-host create: a new FRU image file that describes this machine.
#pragma once

#include <string>

#include "host/machine/image_builder.h"
#include "host/output/console.h"

namespace em_pni {

struct CreateOptions {
    std::string file;
    ImageFormat format;
    bool force = false;  // replace a file that is there
};

// exitFailed when the machine has no adapters or they cannot be read.
int createImage(const CreateOptions& options, CConsole& console);

}  // namespace em_pni
