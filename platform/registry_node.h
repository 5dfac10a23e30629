// A key of the registry tree: its name, its values and the keys below it, in the order in which
// they were added.
//
// A name has at most 255 bytes and no control character. The name of a key is not empty and has no
// '\'. The name of a value may be empty, does not begin with '[' and has no '='. A text has no
// newline and no NUL. A value has at most 1 MiB. Other bytes are kept as they are. Names are
// compared with case.
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

// The bytes of a text are its characters without a terminator. Expandable texts are not expanded.
// The bytes of an integer are four, little-endian.
struct RegistryData {
    RegistryType type = RegistryType::text;
    std::string bytes;
    friend bool operator==(const RegistryData&, const RegistryData&) = default;
};

RegistryData registryInteger(std::int32_t number);
// Returns no value when `data` is not an integer.
std::optional<std::int32_t> registryNumber(const RegistryData& data) noexcept;

constexpr char registrySeparator = '\\';  // between the names of a path

// The names in the path of a key, as views of `path`. Returns none when a name is not allowed or
// there are more than CRegistryNode::maxDepth.
std::vector<std::string_view> registryPathNames(std::string_view path);
bool isRegistryKeyName(std::string_view name) noexcept;
bool isRegistryValueName(std::string_view name) noexcept;
bool isRegistryData(const RegistryData& data) noexcept;

// The owner of the tree checks names and data and takes the lock. It also keeps the depth of the
// tree within maxDepth, because functions recurse over the tree.
class CRegistryNode {
  public:
    using Pointer = std::shared_ptr<CRegistryNode>;
    struct Value {
        std::string name;
        RegistryData data;
    };

    static constexpr std::size_t maxDepth = 32;  // levels; a top-level key is at level 1

    explicit CRegistryNode(std::string_view name) : name_(name) {}

    // False when the key has been deleted. Holders of a pointer must then drop it.
    [[nodiscard]] bool IsValid() const noexcept { return marker_ == validMarker; }
    [[nodiscard]] const std::string& Name() const noexcept { return name_; }
    [[nodiscard]] const std::vector<Value>& Values() const noexcept { return values_; }
    [[nodiscard]] const std::vector<Pointer>& Children() const noexcept { return children_; }

    // Return null when there is no such name.
    [[nodiscard]] const RegistryData* FindValue(std::string_view name) const noexcept;
    [[nodiscard]] Pointer FindChild(std::string_view name) const noexcept;

    // The name must not exist yet.
    void AddValue(std::string_view name, RegistryData data);
    Pointer AddChild(std::string_view name);

    void SetValue(std::string_view name, RegistryData data);
    // Return false when there is no such name.
    bool DeleteValue(std::string_view name) noexcept;
    bool DeleteChild(std::string_view name) noexcept;
    // Marks this key and all keys below it as deleted and clears them.
    void DeleteNode() noexcept;

    // The handle of this key in its store; 0 = none yet.
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
