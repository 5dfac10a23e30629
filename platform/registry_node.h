// A key of the registry tree: its name, its values and the keys below it, both in the order in
// which they were added.
//
// A name is at most 255 bytes long and holds no control character. A key's name is not empty and
// holds no '\'; a value's name may be empty, does not begin with '[' and holds no '='. A text holds
// no newline and no NUL; no value is longer than 1 MiB. All else is kept byte for byte; what breaks
// these rules is refused, by whoever sets it and by whoever reads it. Names match exactly, letter
// case included.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace em_pni {

enum class RegistryType : int { text = 1, expandable = 2, binary = 3, integer = 4 };

// Bytes of a text: its characters, without a terminator (an expandable one is never expanded here).
// Bytes of an integer: four, lowest first.
struct RegistryData {
    RegistryType type = RegistryType::text;
    std::string bytes;
    friend bool operator==(const RegistryData&, const RegistryData&) = default;
};

RegistryData registryInteger(std::int32_t number);
// Nothing when `data` is no integer.
std::optional<std::int32_t> registryNumber(const RegistryData& data) noexcept;

constexpr char registrySeparator = '\\';  // between the names of a path

// The names along the path of a key, views of it; empty when one of them is refused or there are
// more than CRegistryNode::maxDepth.
std::vector<std::string_view> registryPathNames(std::string_view path);
bool isRegistryKeyName(std::string_view name) noexcept;
bool isRegistryValueName(std::string_view name) noexcept;
bool isRegistryData(const RegistryData& data) noexcept;

// Does not check names or data, and takes no lock: that is up to the owner of the tree. The owner
// also keeps the depth of the tree within maxDepth, which bounds every recursion over it.
class CRegistryNode {
  public:
    using Pointer = std::shared_ptr<CRegistryNode>;
    struct Value {
        std::string name;
        RegistryData data;
    };

    static constexpr std::size_t maxDepth = 32;  // levels, the top-level keys being the first

    explicit CRegistryNode(std::string_view name) : name_(name) {}

    // False once the key has been deleted; whoever still points at it must let go of it.
    [[nodiscard]] bool IsValid() const noexcept { return marker_ == validMarker; }
    [[nodiscard]] const std::string& Name() const noexcept { return name_; }
    [[nodiscard]] const std::vector<Value>& Values() const noexcept { return values_; }
    [[nodiscard]] const std::vector<Pointer>& Children() const noexcept { return children_; }

    // Null when there is none of this name.
    [[nodiscard]] const RegistryData* FindValue(std::string_view name) const noexcept;
    [[nodiscard]] Pointer FindChild(std::string_view name) const noexcept;

    // The caller knows that there is none of this name.
    void AddValue(std::string_view name, RegistryData data);
    Pointer AddChild(std::string_view name);

    void SetValue(std::string_view name, RegistryData data);
    // False when there is none of this name.
    bool DeleteValue(std::string_view name) noexcept;
    bool DeleteChild(std::string_view name) noexcept;
    // Marks this key and all below it as deleted and drops what they hold.
    void DeleteNode() noexcept;

    // The number under which the store has handed out this key; 0 = not at all.
    [[nodiscard]] int Handle() const noexcept { return handle_; }
    void SetHandle(int handle) noexcept { handle_ = handle; }

  private:
    static constexpr int validMarker = 666;

    int marker_ = validMarker;
    int handle_ = 0;
    std::string name_;
    std::vector<Value> values_;
    std::vector<Pointer> children_;
};

}  // namespace em_pni
