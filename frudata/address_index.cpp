#include "frudata/address_index.h"

#include <algorithm>
#include <tuple>

#include "frudata/function_addresses.h"
#include "frudata/record_cursor.h"
#include "frudata/worldwide_name.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

constexpr int searchTraceLevel = 4;  // the lowest at which a search that finds nothing says so

}  // namespace

CModuleAddressIndex::CModuleAddressIndex(const CPniFruData& record) : record_(record) {
    record.Read([this](std::span<const std::uint8_t> bytes) {
        const CByteView image(bytes.data(), bytes.size());
        RecordFrame frame;
        if (locateFrame(image, frame) != FrameFault::none) {
            return;
        }
        CRecordCursor cursor(image, frame);
        while (cursor.NextModule()) {
            while (cursor.NextPort()) {
                while (cursor.NextFunction()) {
                    const std::uint8_t module = cursor.Module().position;
                    if (const auto mac = manufactureMac(cursor.Function())) {
                        owners_.push_back({PhysicalAddress::Kind::mac, *mac, 0, module});
                    } else if (const auto names = manufactureNames(cursor.Function())) {
                        owners_.push_back({names->kind, MacAddress(), names->wwpn, module});
                    }
                }
            }
        }
    });
    std::sort(owners_.begin(), owners_.end(), [](const Owner& left, const Owner& right) {
        return std::tie(left.kind, left.mac, left.wwpn, left.module) <
               std::tie(right.kind, right.mac, right.wwpn, right.module);
    });
}

FoundModule CModuleAddressIndex::Find(const PhysicalAddress& address) const {
    if (trace::isOn(searchTraceLevel)) {
        return record_.FindModuleByAddress(address);
    }
    const Owner wanted{address.kind, address.mac, address.wwpn, 0};
    const auto key = [](const Owner& owner) { return std::tie(owner.kind, owner.mac, owner.wwpn); };
    const auto found = std::lower_bound(
        owners_.begin(), owners_.end(), wanted,
        [&key](const Owner& left, const Owner& right) { return key(left) < key(right); });
    if (found == owners_.end() || key(*found) != key(wanted)) {
        return {false, 0};
    }
    return {true, found->module};
}

}  // namespace em_pni
