#include "frudata/address_index.h"

#include <algorithm>
#include <compare>
#include <numeric>
#include <optional>

#include "frudata/address_text.h"
#include "frudata/record_cursor.h"

namespace em_pni {
namespace {

using Kind = PhysicalAddress::Kind;

constexpr int checkTraceLevel = 5;  // of the lines about compared addresses

// The words of the trace lines about one kind of address.
struct SearchWords {
    const char* operation;
    const char* word;
    const char* operationWhenMissing;
};

const SearchWords& wordsOf(Kind kind) noexcept {
    static constexpr SearchWords mac = {"FindModuleByMacAddress", "MAC", "FindModuleByWwpnAddress"};
    static constexpr SearchWords wwpn = {"FindModuleByWWPNAddress", "WWPN",
                                         "FindModuleByWWPNAddress"};
    return kind == Kind::mac ? mac : wwpn;
}

void traceSearched(const PhysicalAddress& wanted) {
    const SearchWords& words = wordsOf(wanted.kind);
    PNI_TRACE(5, "\nCPniFruData         : %s() : Searched %s - '%s'", words.operation, words.word,
              physicalAddressText(wanted).c_str());
}

void traceCheck(const PhysicalAddress& stored) {
    const SearchWords& words = wordsOf(stored.kind);
    PNI_TRACE(checkTraceLevel, "\nCPniFruData         : %s() : Check module %s - '%s'",
              words.operation, words.word, physicalAddressText(stored).c_str());
}

FoundModule endSearch(Kind kind, const std::optional<FunctionPlace>& place) noexcept {
    const SearchWords& words = wordsOf(kind);
    if (!place) {
        PNI_TRACE(4, "\nCPniFruData         : %s() : %s Address not found.",
                  words.operationWhenMissing, words.word);
        return {false, 0};
    }
    PNI_TRACE(4, "\nCPniFruData         : %s() : Found %s Address at mod %u port %u func %u",
              words.operation, words.word, place->module, place->port, place->function);
    return {true, place->module};
}

// The order of the index. Compares only what belongs to the kind.
std::weak_ordering compare(const PhysicalAddress& left, const PhysicalAddress& right) noexcept {
    if (left.kind != right.kind) {
        return left.kind <=> right.kind;
    }
    if (left.kind == Kind::mac) {
        return left.mac <=> right.mac;
    }
    return left.wwpn <=> right.wwpn;
}

FunctionPlace placeOf(const CRecordCursor& cursor) noexcept {
    return {cursor.Module().position, cursor.Port().position, cursor.Function().Position()};
}

}  // namespace

bool beginAddressSearch(const PhysicalAddress& wanted) noexcept {
    PNI_TRACE(5, "\nCPniFruData         : %s() : Start.", wordsOf(wanted.kind).operation);
    if (wanted.kind == Kind::mac && wanted.mac.IsEmpty()) {
        PNI_TRACE(1,
                  "\nCPniFruData         : FindModuleByMacAddress() : Called with invalid searched "
                  "MAC Address.");
        return false;
    }
    // A stored text that is no name reads as 0. It must not match.
    return wanted.kind == Kind::mac || wanted.wwpn != 0;
}

FoundModule searchModule(CByteView image, const PhysicalAddress& wanted) {
    traceSearched(wanted);
    std::optional<FunctionPlace> place;
    forEachFunction(image, [&](const CRecordCursor& cursor) {
        const auto stored = manufactureAddress(cursor.Function(), wanted.kind);
        if (stored) {
            traceCheck(*stored);
            if (std::is_eq(compare(*stored, wanted))) {
                place = placeOf(cursor);
            }
        }
        return place.has_value();
    });
    return endSearch(wanted.kind, place);
}

CModuleAddressIndex::CModuleAddressIndex(CByteView image) {
    forEachFunction(image, [this](const CRecordCursor& cursor) {
        for (const Kind kind : {Kind::mac, Kind::wwn}) {
            if (const auto address = manufactureAddress(cursor.Function(), kind)) {
                owners_.push_back({*address, placeOf(cursor)});
            }
        }
    });
    sorted_.resize(owners_.size());
    std::iota(sorted_.begin(), sorted_.end(), std::size_t{0});
    std::stable_sort(sorted_.begin(), sorted_.end(), [this](std::size_t left, std::size_t right) {
        return std::is_lt(compare(owners_[left].address, owners_[right].address));
    });
}

FoundModule CModuleAddressIndex::Find(const PhysicalAddress& address) const {
    return searchKnownKind(address, [this](const PhysicalAddress& wanted) {
        return beginAddressSearch(wanted) ? Search(wanted) : FoundModule(false, 0);
    });
}

FoundModule CModuleAddressIndex::Search(const PhysicalAddress& wanted) const {
    traceSearched(wanted);
    const auto found =
        std::lower_bound(sorted_.begin(), sorted_.end(), wanted,
                         [this](std::size_t owner, const PhysicalAddress& address) {
                             return std::is_lt(compare(owners_[owner].address, address));
                         });
    const Owner* const owner = found != sorted_.end() ? &owners_[*found] : nullptr;
    const bool isFound = owner != nullptr && std::is_eq(compare(owner->address, wanted));
    if (trace::isOn(checkTraceLevel)) {
        // A walk compares the owners in front of the match, and the match.
        const std::size_t compared = isFound ? *found + 1 : owners_.size();
        for (std::size_t i = 0; i < compared; ++i) {
            if (owners_[i].address.kind == wanted.kind) {
                traceCheck(owners_[i].address);
            }
        }
    }
    return endSearch(wanted.kind, isFound ? std::optional(owner->place) : std::nullopt);
}

}  // namespace em_pni
