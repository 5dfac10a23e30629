#include "platform/registry_format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <unordered_map>
#include <unordered_set>

namespace em_pni {
namespace {

constexpr std::string_view hexDigits = "0123456789abcdef";

struct TypeMark {
    RegistryType type;
    std::string_view mark;
};
constexpr std::array<TypeMark, 4> typeMarks{{{RegistryType::text, "=s="},
                                             {RegistryType::expandable, "=es="},
                                             {RegistryType::binary, "=b="},
                                             {RegistryType::integer, "=d="}}};

std::string formatValue(std::string_view name, const RegistryData& data) {
    const auto* const type =
        std::find_if(typeMarks.begin(), typeMarks.end(),
                     [&](const TypeMark& candidate) { return candidate.type == data.type; });
    std::string line(name);
    line.append(type->mark);
    if (data.type == RegistryType::integer) {
        line.append(std::to_string(registryNumber(data).value_or(0)));
    } else if (data.type == RegistryType::binary) {
        for (const char c : data.bytes) {
            const auto byte = static_cast<unsigned char>(c);
            line.push_back(hexDigits[byte >> 4U]);
            line.push_back(hexDigits[byte & 0xFU]);
            line.push_back(' ');
        }
    } else {
        line.append(data.bytes);
    }
    return line.append("\n");
}

void appendKeys(std::string& text, const CRegistryNode& parent, const std::string& parentPath) {
    for (const auto& child : parent.Children()) {
        if (!child->IsValid()) {
            continue;
        }
        const std::string path =
            parentPath.empty() ? child->Name() : parentPath + registrySeparator + child->Name();
        text.append("[").append(path).append("]\n");
        for (const auto& value : child->Values()) {
            text.append(formatValue(value.name, value.data));
        }
        appendKeys(text, *child, path);
    }
}

std::optional<RegistryData> parseBinary(std::string_view text) {
    constexpr std::size_t step = 3;  // two digits and a blank
    if (text.size() % step != 0) {
        return std::nullopt;
    }
    RegistryData data{RegistryType::binary, {}};
    data.bytes.reserve(text.size() / step);
    for (; !text.empty(); text.remove_prefix(step)) {
        const std::size_t high = hexDigits.find(text[0]);
        const std::size_t low = hexDigits.find(text[1]);
        if (high == std::string_view::npos || low == std::string_view::npos || text[2] != ' ') {
            return std::nullopt;
        }
        data.bytes.push_back(static_cast<char>(high << 4U | low));
    }
    return data;
}

std::optional<RegistryData> parseInteger(std::string_view text) {
    std::int32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || stop != end) {
        return std::nullopt;
    }
    return registryInteger(number);
}

std::optional<RegistryData> parseData(RegistryType type, std::string_view text) {
    switch (type) {
        case RegistryType::binary:
            return parseBinary(text);
        case RegistryType::integer:
            return parseInteger(text);
        default:
            return RegistryData{type, std::string(text)};
    }
}

// Builds a tree line by line.
class CReader {
  public:
    explicit CReader(CRegistryNode& root) : root_(root) {}

    // Returns false when the line is not allowed here.
    bool Read(std::string_view line) {
        return line.size() >= 2 && line.front() == '[' && line.back() == ']'
                   ? OpenKey(line.substr(1, line.size() - 2))
                   : AddValue(line);
    }

  private:
    struct Key {
        CRegistryNode* node;
        std::size_t depth;
    };

    bool OpenKey(std::string_view path) {
        const std::size_t cut = path.rfind(registrySeparator);
        Key parent{&root_, 0};
        if (cut != std::string_view::npos) {
            const auto known = keys_.find(path.substr(0, cut));
            if (known == keys_.end()) {
                return false;
            }
            parent = known->second;
        }
        const auto name = path.substr(cut == std::string_view::npos ? 0 : cut + 1);
        if (!isRegistryKeyName(name) || parent.depth >= CRegistryNode::maxDepth ||
            keys_.contains(path)) {
            return false;
        }
        current_ = parent.node->AddChild(name).get();
        keys_.emplace(path, Key{current_, parent.depth + 1});
        valueNames_ = {};
        return true;
    }

    bool AddValue(std::string_view line) {
        const std::size_t end = std::min(line.find('='), line.size());
        const std::string_view name = line.substr(0, end);
        const std::string_view rest = line.substr(end);
        const auto* const type = std::find_if(
            typeMarks.begin(), typeMarks.end(),
            [&](const TypeMark& candidate) { return rest.starts_with(candidate.mark); });
        if (current_ == nullptr || type == typeMarks.end() || !isRegistryValueName(name) ||
            !valueNames_.insert(name).second) {
            return false;
        }
        auto data = parseData(type->type, rest.substr(type->mark.size()));
        if (!data || !isRegistryData(*data)) {
            return false;
        }
        current_->AddValue(name, std::move(*data));
        return true;
    }

    CRegistryNode& root_;
    CRegistryNode* current_ = nullptr;
    // Indexes, so that a file with very many siblings does not take quadratic time.
    std::unordered_map<std::string_view, Key> keys_;   // by path
    std::unordered_set<std::string_view> valueNames_;  // of the values of the current key
};

}  // namespace

std::string formatRegistry(const CRegistryNode& root) {
    std::string text;
    appendKeys(text, root, {});
    return text;
}

CRegistryNode::Pointer parseRegistry(std::string_view text) {
    if (text.empty() || text.back() != '\n') {
        return nullptr;
    }
    auto root = std::make_shared<CRegistryNode>("");
    CReader reader(*root);
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        if (!reader.Read(text.substr(0, end))) {
            return nullptr;
        }
        text.remove_prefix(end + 1);
    }
    return root->Children().empty() ? nullptr : root;
}

}  // namespace em_pni
