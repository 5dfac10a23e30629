#include "platform/registry_node.h"

#include <algorithm>
#include <utility>

#include "platform/bytes.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

constexpr std::size_t maxName = 255;                       // bytes
constexpr std::size_t maxData = std::size_t{1024} * 1024;  // bytes
constexpr std::size_t integerSize = 4;

bool isName(std::string_view name) noexcept {
    return name.size() <= maxName && std::none_of(name.begin(), name.end(), [](char c) {
               return static_cast<unsigned char>(c) < 0x20;
           });
}

template <typename Values>
auto findValue(Values& values, std::string_view name) noexcept {
    return std::find_if(values.begin(), values.end(),
                        [&](const auto& value) { return value.name == name; });
}

template <typename Children>
auto findChild(Children& children, std::string_view name) noexcept {
    return std::find_if(children.begin(), children.end(),
                        [&](const auto& child) { return child->Name() == name; });
}

}  // namespace

RegistryData registryInteger(std::int32_t number) {
    RegistryData data{RegistryType::integer, {}};
    auto rest = static_cast<std::uint32_t>(number);
    for (std::size_t i = 0; i < integerSize; ++i, rest >>= 8U) {
        data.bytes.push_back(static_cast<char>(rest & 0xFFU));
    }
    return data;
}

std::optional<std::int32_t> registryNumber(const RegistryData& data) noexcept {
    if (data.type != RegistryType::integer || data.bytes.size() != integerSize) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(CByteView(data.bytes).U32(0));
}

bool isRegistryKeyName(std::string_view name) noexcept {
    return isName(name) && !name.empty() && name.find('\\') == std::string_view::npos;
}

bool isRegistryValueName(std::string_view name) noexcept {
    return isName(name) && !name.starts_with('[') && name.find('=') == std::string_view::npos;
}

bool isRegistryData(const RegistryData& data) noexcept {
    if (data.bytes.size() > maxData) {
        return false;
    }
    switch (data.type) {
        case RegistryType::text:
        case RegistryType::expandable:
            return data.bytes.find_first_of(std::string_view("\n\0", 2)) == std::string::npos;
        case RegistryType::binary:
            return true;
        case RegistryType::integer:
            return data.bytes.size() == integerSize;
    }
    return false;
}

std::vector<std::string_view> registryPathNames(std::string_view path) {
    std::vector<std::string_view> names;
    for (;;) {
        const std::size_t cut = std::min(path.find(registrySeparator), path.size());
        names.push_back(path.substr(0, cut));
        if (!isRegistryKeyName(names.back()) || names.size() > CRegistryNode::maxDepth) {
            return {};
        }
        if (cut == path.size()) {
            return names;
        }
        path.remove_prefix(cut + 1);
    }
}

const RegistryData* CRegistryNode::FindValue(std::string_view name) const noexcept {
    const auto found = findValue(values_, name);
    return found != values_.end() ? &found->data : nullptr;
}

CRegistryNode::Pointer CRegistryNode::FindChild(std::string_view name) const noexcept {
    const auto found = findChild(children_, name);
    return found != children_.end() ? *found : nullptr;
}

void CRegistryNode::AddValue(std::string_view name, RegistryData data) {
    values_.push_back({std::string(name), std::move(data)});
}

CRegistryNode::Pointer CRegistryNode::AddChild(std::string_view name) {
    return children_.emplace_back(std::make_shared<CRegistryNode>(name));
}

void CRegistryNode::SetValue(std::string_view name, RegistryData data) {
    const auto found = findValue(values_, name);
    if (found != values_.end()) {
        found->data = std::move(data);
    } else {
        AddValue(name, std::move(data));
    }
}

bool CRegistryNode::DeleteValue(std::string_view name) noexcept {
    const auto found = findValue(values_, name);
    if (found == values_.end()) {
        return false;
    }
    values_.erase(found);
    return true;
}

bool CRegistryNode::DeleteChild(std::string_view name) noexcept {
    const auto found = findChild(children_, name);
    if (found == children_.end()) {
        return false;
    }
    (*found)->DeleteNode();
    children_.erase(found);
    return true;
}

void CRegistryNode::DeleteNode() noexcept {
    PNI_TRACE(5, "CRegistryNode::deleteNode \"%s\"\n", name_.c_str());
    marker_ = 0;
    for (const Pointer& child : children_) {
        child->DeleteNode();
    }
    children_.clear();
    values_.clear();
}

}  // namespace em_pni
