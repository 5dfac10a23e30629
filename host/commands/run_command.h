// pni-host run: the module at work on a FRU image file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "host/machine/fru_image.h"
#include "host/output/console.h"

namespace em_pni {

struct RunOptions {
    std::string file;
    std::string module;                  // path; empty = the default place
    bool once = false;                   // one cycle, else until SIGINT or SIGTERM
    std::optional<std::uint32_t> cycle;  // milliseconds; none = as the module is configured
    bool watch = true;  // tell it when network or devices change; never with `once`
    std::size_t capacity = CFruImage::maxSize;  // bytes that the played controller can take
};

// exitFailed when a write to the file failed or the module holds no valid record.
int runModule(const RunOptions& options, CConsole& console);

}  // namespace em_pni
