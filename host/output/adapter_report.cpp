#include "host/output/adapter_report.h"

#include "frudata/address_text.h"

namespace em_pni {

std::vector<AdapterReport> reportAdapters(const std::vector<CSystemAdapter>& adapters) {
    std::vector<AdapterReport> reports;
    reports.reserve(adapters.size());
    for (const CSystemAdapter& adapter : adapters) {
        reports.push_back(
            {adapter.Facts(), adapter.ClassName(), adapter.IsInfinibandAdapter(), adapter.Names()});
    }
    return reports;
}

std::string knownNameText(WorldWideName name) {
    return name == 0 ? std::string() : worldwideNameText(name);
}

}  // namespace em_pni
