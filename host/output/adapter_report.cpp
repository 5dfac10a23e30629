#include "host/output/adapter_report.h"

#include <array>
#include <cstdio>

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

std::string idText(std::uint16_t id) {
    std::array<char, 8> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%04x", unsigned{id}));
    return text.data();
}

}  // namespace em_pni
