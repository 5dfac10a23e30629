#include "host/output/adapter_report.h"

#include "frudata/address_text.h"

namespace em_pni {

std::string knownNameText(WorldWideName name) {
    return name == 0 ? std::string() : worldwideNameText(name);
}

}  // namespace em_pni
