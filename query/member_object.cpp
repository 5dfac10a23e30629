#include "query/member_object.h"

#include <algorithm>

namespace em_pni {
namespace {

rapidjson::Value nameValue(std::string_view staticName) {
    return rapidjson::Value(rapidjson::StringRef(
        staticName.data(), static_cast<rapidjson::SizeType>(staticName.size())));
}

}  // namespace

std::string fieldText(std::span<const std::uint8_t> field) {
    const auto end = std::find(field.begin(), field.end(), std::uint8_t{0});
    std::string text(field.begin(), end);
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < 0x20 || c > 0x7E; }, '?');
    return text;
}

void CMemberObject::AddAlways(Member member, std::uint32_t number) {
    value_.AddMember(nameValue(memberName(member)), rapidjson::Value(number), allocator_);
}

void CMemberObject::AddAlways(const char* literalName, rapidjson::Value value) {
    value_.AddMember(nameValue(literalName), value, allocator_);
}

void CMemberObject::Add(Member member, std::optional<std::uint32_t> number) {
    if (number) {
        AddValue(member, rapidjson::Value(*number));
    }
}

void CMemberObject::AddFlag(Member member, bool flag) {
    AddValue(member, rapidjson::Value(flag));
}

void CMemberObject::AddName(Member member, const char* staticName) {
    if (staticName != nullptr) {
        AddValue(member, nameValue(staticName));
    }
}

void CMemberObject::AddText(Member member, std::optional<std::string_view> text) {
    if (text && Selects(member)) {
        AddValue(member,
                 rapidjson::Value(text->data(), static_cast<rapidjson::SizeType>(text->size()),
                                  allocator_));
    }
}

void CMemberObject::AddValue(Member member, rapidjson::Value value) {
    if (Selects(member)) {
        value_.AddMember(nameValue(memberName(member)), value, allocator_);
        hasSelectedMembers_ = true;
    }
}

}  // namespace em_pni
