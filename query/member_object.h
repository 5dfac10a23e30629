// One JSON object of an answer, filled member by member.
#pragma once

#include <cstdint>
#include <optional>
#include <rapidjson/document.h>
#include <span>
#include <string>
#include <string_view>

#include "query/member_names.h"

namespace em_pni {

// The text of a fixed-size field of the record: up to the first NUL, with '?' for every byte that
// is no printable ASCII character.
std::string fieldText(std::span<const std::uint8_t> field);

class CMemberObject {
  public:
    using Allocator = rapidjson::Document::AllocatorType;

    // Both are borrowed; the object's value lives in the allocator.
    CMemberObject(const CMemberSelection& selection, Allocator& allocator) noexcept
        : selection_(selection), allocator_(allocator), value_(rapidjson::kObjectType) {}

    // Whatever the selection says.
    void AddAlways(Member member, std::uint32_t number);
    void AddAlways(const char* literalName, rapidjson::Value value);

    // When selected, and when there is something to write.
    void Add(Member member, std::optional<std::uint32_t> number);
    void AddFlag(Member member, bool flag);
    void AddName(Member member, const char* staticName);
    void AddText(Member member, std::optional<std::string_view> text);
    void AddValue(Member member, rapidjson::Value value);

    [[nodiscard]] bool Selects(Member member) const noexcept { return selection_.Selects(member); }
    // Whether a member was written that depends on the selection.
    [[nodiscard]] bool HasSelectedMembers() const noexcept { return hasSelectedMembers_; }
    [[nodiscard]] Allocator& GetAllocator() const noexcept { return allocator_; }
    // The finished object.
    [[nodiscard]] rapidjson::Value Take() { return std::move(value_); }

  private:
    const CMemberSelection& selection_;
    Allocator& allocator_;
    rapidjson::Value value_;
    bool hasSelectedMembers_ = false;
};

}  // namespace em_pni
