#include "query/answer_writer.h"

#include <algorithm>

namespace em_pni {
namespace {

rapidjson::SizeType sizeOf(std::string_view text) noexcept {
    return static_cast<rapidjson::SizeType>(text.size());
}

}  // namespace

std::string fieldText(std::span<const std::uint8_t> field) {
    const auto end = std::find(field.begin(), field.end(), std::uint8_t{0});
    std::string text(field.begin(), end);
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < 0x20 || c > 0x7E; }, '?');
    return text;
}

void CAnswerWriter::StartObject() {
    CountElement();
    counts_[++depth_] = 0;
    document_.StartObject();
}

void CAnswerWriter::EndObject() {
    document_.EndObject(counts_[depth_--]);
}

void CAnswerWriter::StartArray(std::string_view staticName) {
    StartMember(staticName);
    counts_[++depth_] = 0;
    document_.StartArray();
}

void CAnswerWriter::EndArray() {
    document_.EndArray(counts_[depth_--]);
}

void CAnswerWriter::StartMember(std::string_view staticName) {
    CountElement();
    document_.Key(staticName.data(), sizeOf(staticName), false);
}

void CAnswerWriter::AddAlways(std::string_view staticName, std::uint32_t number) {
    StartMember(staticName);
    document_.Uint(number);
}

void CAnswerWriter::AddAlways(std::string_view staticName, std::string_view text) {
    StartMember(staticName);
    document_.String(text.data(), sizeOf(text), true);
}

void CAnswerWriter::Add(Member member, std::optional<std::uint32_t> number) {
    if (number && Selects(member)) {
        AddAlways(memberName(member), *number);
    }
}

void CAnswerWriter::AddFlag(Member member, bool flag) {
    if (Selects(member)) {
        StartMember(memberName(member));
        document_.Bool(flag);
    }
}

void CAnswerWriter::AddName(Member member, const char* staticName) {
    if (staticName != nullptr && Selects(member)) {
        const std::string_view name = staticName;
        StartMember(memberName(member));
        document_.String(name.data(), sizeOf(name), false);
    }
}

void CAnswerWriter::AddText(Member member, const std::optional<std::string>& text) {
    if (text && Selects(member)) {
        AddAlways(memberName(member), *text);
    }
}

}  // namespace em_pni
