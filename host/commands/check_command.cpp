#include <algorithm>
#include <cstdint>

#include "frudata/pni_fru.h"
#include "host/commands/commands.h"
#include "host/output/host_error.h"

namespace em_pni {

int checkFiles(const CheckOptions& options, CConsole& console) {
    int result = exitDone;
    for (const std::string& file : options.files) {
        try {
            const std::vector<std::uint8_t> bytes = readFruFile(file);
            const std::uint32_t code = pniValidateFru(bytes.data(), bytes.size());
            console.Line(file + ": " + pniResultText(code) + " [" + std::to_string(code) + "]");
            result = std::max<int>(result, code == 0 ? exitDone : exitFailed);
        } catch (const CHostError& error) {
            console.Error(error.what());
            result = exitUnusable;
        }
    }
    return result;
}

}  // namespace em_pni
