// Asks any record with any filter. The answer must be valid JSON. A filtered answer must be a part
// of the whole answer and hold only the requested members.
//
// Input: the text of the filter, then a NUL and the image. Without a NUL a sample record is used.
#include <algorithm>
#include <cstring>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "fuzz/fuzz_input.h"
#include "fuzz/record_mutator.h"
#include "query/pni_data.h"
#include "tests/record_builder.h"

using namespace em_pni;
using namespace em_pni::fuzz;

namespace {

using rapidjson::Value;

void requireJson(const rapidjson::Document& answer) {
    rapidjson::StringBuffer text;
    rapidjson::Writer writer(text);
    require(answer.Accept(writer), "an answer can be written");
    rapidjson::Document again;
    again.Parse(text.GetString(), text.GetSize());
    require(!again.HasParseError() && again == answer, "a written answer can be read again");
}

bool isPartOf(const Value& part, const Value& whole) {
    if (part.IsObject() && whole.IsObject()) {
        return std::all_of(part.MemberBegin(), part.MemberEnd(), [&whole](const auto& member) {
            const auto found = whole.FindMember(member.name);
            return found != whole.MemberEnd() && isPartOf(member.value, found->value);
        });
    }
    if (part.IsArray() && whole.IsArray()) {
        auto at = whole.Begin();
        return std::all_of(part.Begin(), part.End(), [&](const Value& element) {
            at = std::find_if(at, whole.End(),
                              [&element](const Value& one) { return isPartOf(element, one); });
            return at != whole.End() && (++at, true);
        });
    }
    return part == whole;
}

// Ids, address lists and the addresses in them are written without being requested.
bool isAsked(std::string_view name, const CMemberSelection& selection) {
    const auto member = findMemberByName(name);
    return !member || selection.Selects(*member) || *member == Member::ModuleId ||
           *member == Member::PortId || *member == Member::PhyFunctionId ||
           *member == Member::Address;
}

bool holdsOnly(const Value& value, const CMemberSelection& selection) {
    if (value.IsObject()) {
        return std::all_of(value.MemberBegin(), value.MemberEnd(), [&](const auto& member) {
            return isAsked({member.name.GetString(), member.name.GetStringLength()}, selection) &&
                   holdsOnly(member.value, selection);
        });
    }
    return !value.IsArray() || std::all_of(value.Begin(), value.End(), [&](const Value& element) {
        return holdsOnly(element, selection);
    });
}

void query(std::string_view filterText, std::span<const std::uint8_t> image) {
    rapidjson::Document whole;
    const bool isThere = CPNI_Data(image, nullptr).PniGetAllData(whole);
    if (isThere) {
        requireJson(whole);
    }
    CKrcpMessage request = krcp::makeRequest(krcp::readPniData, 0, 0, 0);
    krcp::setMember(request, "DA",
                    Value(rapidjson::StringRef(filterText.data(), filterText.size())));
    CPNI_DataFilter filter;
    if (!filter.Read(request) || !filter.IsFiltered()) {
        return;
    }
    (void)filter.Description();
    rapidjson::Document answer;
    require(CPNI_Data(image, &filter).PniGetAllData(answer) == isThere,
            "a filter does not decide whether there is an answer");
    if (isThere) {
        requireJson(answer);
        require(isPartOf(answer, whole), "a filtered answer is part of the whole");
        require(holdsOnly(answer, filter.Selection()),
                "a filtered answer holds only requested members");
    }
}

}  // namespace

std::size_t em_pni::fuzz::imageOffset(std::span<const std::uint8_t> input) {
    const auto end = std::find(input.begin(), input.end(), std::uint8_t{0});
    return static_cast<std::size_t>(end - input.begin()) + 1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Bytes record = test::sample("three-modules.fru");
    const std::size_t offset = imageOffset({data, size});
    const std::string_view text(reinterpret_cast<const char*>(data), std::min(offset - 1, size));
    query(text, offset > size ? std::span(record) : std::span(data + offset, size - offset));
    return 0;
}
