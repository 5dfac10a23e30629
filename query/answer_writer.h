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

// Returns the text of a fixed-size field of the record, up to its first NUL. Replaces each byte
// that is not printable ASCII by '?'.
std::string fieldText(std::span<const std::uint8_t> field);

// Calls the document's functions for SAX events: it allocates each object once, at its final size.
// Each Start needs its End. Use it in a generator for Document::Populate.
class CAnswerWriter {
  public:
    // Both must outlive this object.
    CAnswerWriter(rapidjson::Document& document, const CMemberSelection& selection) noexcept
        : document_(document), selection_(selection) {}

    void StartObject();
    void EndObject();
    void StartArray(std::string_view staticName);
    void EndArray();

    // Add a member whether it is selected or not.
    void AddAlways(std::string_view staticName, std::uint32_t number);
    void AddAlways(std::string_view staticName, std::string_view text);

    // Add a member when it is selected and has a value.
    void Add(Member member, std::optional<std::uint32_t> number);
    void AddFlag(Member member, bool flag);
    void AddName(Member member, const char* staticName);
    void AddText(Member member, const std::optional<std::string>& text);

    [[nodiscard]] bool Selects(Member member) const noexcept { return selection_.Selects(member); }

  private:
    static constexpr std::size_t maxDepth = 16;  // levels; an answer has nine

    void CountElement() noexcept { ++counts_[depth_]; }
    void StartMember(std::string_view staticName);

    rapidjson::Document& document_;
    const CMemberSelection& selection_;
    std::array<rapidjson::SizeType, maxDepth> counts_{};  // members or elements at each level
    std::size_t depth_ = 0;
};

}  // namespace em_pni
