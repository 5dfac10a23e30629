#include <algorithm>
#include <cstdint>
#include <vector>

#include "host/commands/commands.h"
#include "host/commands/reading.h"
#include "host/output/host_error.h"

namespace em_pni {

int checkFiles(const CheckOptions& options, CConsole& console) {
    int result = exitDone;
    FruSource source = options.common;
    for (const std::string& path : options.paths) {
        source.path = path;
        try {
            const std::vector<std::uint8_t> bytes = copyOf(source, console)->Read();
            const auto fault = faultOf(CByteView(bytes));
            console.Line(path + ": " + fault.value_or("SUCCESS [0]"));
            result = std::max<int>(result, fault ? exitFailed : exitDone);
        } catch (const CHostError& error) {
            console.Error(error.what());
            result = exitUnusable;
        }
    }
    return result;
}

}  // namespace em_pni
