// Writes an answer into a JSON document, member by member.
#pragma once

#include <array>
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

// Feeds the document's events, so that every object is allocated once, at its final size. Starts
// and ends must pair; the document takes the value over in Populate.
class CAnswerWriter {
  public:
    // Both are borrowed.
    CAnswerWriter(rapidjson::Document& document, const CMemberSelection& selection) noexcept
        : document_(document), selection_(selection) {}

    void StartObject();
    void EndObject();
    void StartArray(std::string_view staticName);
    void EndArray();

    // Whatever the selection says.
    void AddAlways(std::string_view staticName, std::uint32_t number);
    void AddAlways(std::string_view staticName, std::string_view text);

    // When selected, and when there is something to write.
    void Add(Member member, std::optional<std::uint32_t> number);
    void AddFlag(Member member, bool flag);
    void AddName(Member member, const char* staticName);
    void AddText(Member member, const std::optional<std::string>& text);

    [[nodiscard]] bool Selects(Member member) const noexcept { return selection_.Selects(member); }

  private:
    static constexpr std::size_t maxDepth = 16;  // an answer has nine levels

    void CountElement() noexcept { ++counts_[depth_]; }
    void StartMember(std::string_view staticName);

    rapidjson::Document& document_;
    const CMemberSelection& selection_;
    std::array<rapidjson::SizeType, maxDepth> counts_{};  // members or elements at each level
    std::size_t depth_ = 0;
};

}  // namespace em_pni
