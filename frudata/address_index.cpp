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

AddressBytes bytesOf(const PhysicalAddress& address) {
    if (address.kind == PhysicalAddress::Kind::mac) {
        return address.mac;
    }
    const auto name = worldwideNameBytes(address.wwpn);
    return {name.begin(), name.end()};
}

}  // namespace

CModuleAddressIndex::CModuleAddressIndex(const CPniFruData& record) : record_(record) {
    record.Read([this](std::span<const std::uint8_t> bytes) {
        const CImageView image(bytes.data(), bytes.size());
        RecordFrame frame;
        if (locateFrame(image, frame) != FrameFault::none) {
            return;
        }
        CRecordCursor cursor(image, frame);
        while (cursor.NextModule()) {
            while (cursor.NextPort()) {
                while (cursor.NextFunction()) {
                    const std::uint8_t module = cursor.Module().position;
                    if (auto mac = manufactureMac(cursor.Function())) {
                        owners_.push_back({PhysicalAddress::Kind::mac, std::move(*mac), module});
                    } else if (const auto names = manufactureNames(cursor.Function())) {
                        owners_.push_back({names->kind, bytesOf(*names), module});
                    }
                }
            }
        }
    });
    std::sort(owners_.begin(), owners_.end(), [](const Owner& left, const Owner& right) {
        return std::tie(left.kind, left.bytes, left.module) <
               std::tie(right.kind, right.bytes, right.module);
    });
}

FoundModule CModuleAddressIndex::Find(const PhysicalAddress& address) const {
    if (trace::isOn(searchTraceLevel)) {
        return record_.FindModuleByAddress(address);
    }
    const AddressBytes bytes = bytesOf(address);
    const auto found =
        std::lower_bound(owners_.begin(), owners_.end(), std::tie(address.kind, bytes),
                         [](const Owner& owner, const auto& wanted) {
                             return std::tie(owner.kind, owner.bytes) < wanted;
                         });
    if (found == owners_.end() || found->kind != address.kind || found->bytes != bytes) {
        return {false, 0};
    }
    return {true, found->module};
}

}  // namespace em_pni
