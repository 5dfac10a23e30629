// pni-host check: whether FRU image files hold a valid record.
#pragma once

#include <string>
#include <vector>

#include "host/output/console.h"

namespace em_pni {

struct CheckOptions {
    std::vector<std::string> files;
};

// A line for each file. exitUnusable when one cannot be read, else exitFailed when one is not
// valid.
int checkFiles(const CheckOptions& options, CConsole& console);

}  // namespace em_pni
