#include "query/data_filter.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "module/krcp_trace.h"
#include "platform/text.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

constexpr std::array<std::pair<std::string_view, ModuleTechnology>, 6> technologies = {{
    {"CNA", ModuleTechnology::cna},
    {"FC", ModuleTechnology::fc},
    {"IB", ModuleTechnology::ib},
    {"Eth", ModuleTechnology::eth},
    {"NIC", ModuleTechnology::eth},
    {"SAS", ModuleTechnology::sas},
}};

std::string_view textOf(const rapidjson::Value& string) noexcept {
    return {string.GetString(), string.GetStringLength()};
}

// The characters of a byte array; nothing unless all its elements are integers.
std::optional<std::string> textOfRaw(const rapidjson::Value& raw) {
    std::string text;
    for (const rapidjson::Value& element : raw.GetArray()) {
        if (!element.IsInt64()) {
            return std::nullopt;
        }
        text.push_back(static_cast<char>(static_cast<unsigned char>(element.GetInt64())));
    }
    return text;
}

std::optional<std::string> filterText(const CKrcpMessage& request) {
    const rapidjson::Value* const data = krcp::findData(request);
    if (data == nullptr) {
        return std::nullopt;
    }
    if (data->IsString()) {
        return std::string(textOf(*data));
    }
    const rapidjson::Value* const raw = krcp::findMember(*data, "RAW");
    return raw != nullptr && raw->IsArray() ? textOfRaw(*raw) : std::nullopt;
}

// The object that holds the filters: the document's only member when that is an object.
const rapidjson::Value& filterObject(const rapidjson::Value& document) noexcept {
    if (document.MemberCount() == 1 && document.MemberBegin()->value.IsObject()) {
        return document.MemberBegin()->value;
    }
    return document;
}

}  // namespace

bool CPNI_DataFilter::Read(const CKrcpMessage& request) {
    const auto text = filterText(request);
    if (!text) {
        return true;
    }
    rapidjson::Document document;
    // Iterative: the text may be nested as deep as it is long.
    document.Parse<rapidjson::kParseIterativeFlag>(text->data(), text->size());
    if (document.HasParseError() || !document.IsObject()) {
        return true;
    }
    const rapidjson::Value& filters = filterObject(document);
    const rapidjson::Value* const moduleFilter = krcp::findMember(filters, "ModuleFilter");
    if (moduleFilter != nullptr && moduleFilter->IsObject() && !ReadModuleFilter(*moduleFilter)) {
        return false;
    }
    const rapidjson::Value* const resultFilter = krcp::findMember(filters, "ResultFilter");
    return resultFilter == nullptr || !resultFilter->IsArray() || ReadResultFilter(*resultFilter);
}

bool CPNI_DataFilter::ReadModuleFilter(const rapidjson::Value& filter) {
    const rapidjson::Value* const wanted = krcp::findMember(filter, "TechnologyType");
    const auto known =
        std::find_if(technologies.begin(), technologies.end(), [wanted](const auto& technology) {
            return wanted != nullptr && wanted->IsString() &&
                   equalIgnoringCase(technology.first, textOf(*wanted));
        });
    if (known == technologies.end()) {
        PNI_TRACE(5, "CPNI_DATA::AppendFilterDescription  Error! Invalid module filter");
        technology_ = ModuleTechnology::none;
        return false;
    }
    technology_ = known->second;
    for (const auto& member : filter.GetObject()) {
        moduleFilterText_.append("\n-").append(textOf(member.name)).append(" = ");
        moduleFilterText_.append(krcp::jsonText(member.value));
    }
    return true;
}

bool CPNI_DataFilter::ReadResultFilter(const rapidjson::Value& names) {
    for (const rapidjson::Value& name : names.GetArray()) {
        const auto member = name.IsString() ? findMemberByName(textOf(name)) : std::nullopt;
        if (!member) {
            PNI_TRACE(2, "\nEM_PNI (REQUEST)  :   Result filter error - unknown field '%s'",
                      name.IsString() ? name.GetString() : "?");
            PNI_TRACE(2, "\nEM_PNI (REQUEST)  :   Failed to add members. Clearing ...");
            selection_.Clear();
            return false;
        }
        selection_.Add(*member);
    }
    return true;
}

std::string CPNI_DataFilter::Description() const {
    std::string description;
    if (technology_ != ModuleTechnology::none) {
        description.append("\nModuleFilter:").append(moduleFilterText_);
    }
    if (!selection_.IsEmpty()) {
        description.append("\nResultFilter:");
        for (std::size_t i = 0; i < memberCount; ++i) {
            if (selection_.IsListed(static_cast<Member>(i))) {
                description.append("\n-").append(memberName(static_cast<Member>(i)));
            }
        }
    }
    return description.empty() ? "No filter" : description;
}

}  // namespace em_pni
