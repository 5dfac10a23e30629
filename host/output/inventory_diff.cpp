#include "host/output/inventory_diff.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <string_view>
#include <utility>

#include "em_pni/krcp_message.h"
#include "host/output/inventory_text.h"
#include "platform/text.h"

namespace em_pni {

namespace {

using rapidjson::Value;
using LabelledItems = std::vector<std::pair<std::string, const Value*>>;

std::string joined(const std::string& path, const std::string& name) {
    return path.empty() || name.empty() ? path + name : path + " " + name;
}

std::string indexText(rapidjson::SizeType index) {
    return std::string("[").append(std::to_string(index)).append("]");
}

// The items with their ids.
LabelledItems labelItems(const InventoryLevel& level, const Value& list) {
    LabelledItems items;
    std::map<std::string, unsigned> seen;
    for (rapidjson::SizeType i = 0; i < list.Size(); ++i) {
        const Value* const id = krcp::findMember(list[i], level.id);
        std::string label = id != nullptr ? valueText(*id) : indexText(i);
        if (const unsigned count = ++seen[label]; count > 1) {
            label.append(" (").append(std::to_string(count)).append(")");
        }
        items.emplace_back(std::move(label), &list[i]);
    }
    return items;
}

// Removes from `texts` one equal text for each of `others`.
std::vector<std::string> without(std::vector<std::string> texts,
                                 const std::vector<std::string>& others) {
    for (const std::string& other : others) {
        if (const auto found = std::find(texts.begin(), texts.end(), other); found != texts.end()) {
            texts.erase(found);
        }
    }
    return texts;
}

std::vector<std::string> elementTexts(const Value& list) {
    std::vector<std::string> texts;
    for (const Value& element : list.GetArray()) {
        texts.push_back(valueText(element));
    }
    return texts;
}

// The objects around a difference: a change without kind, member and values.
InventoryChange inside(InventoryChange place, std::size_t depth, const std::string& label,
                       const Value& item) {
    place.path = joined(place.path, joined(inventoryLevels[depth].label, label));
    switch (depth) {
        case 0:
            place.module = label;
            place.slot = slotText(item);
            break;
        case 1:
            place.port = label;
            break;
        default:
            place.function = label;
            place.pciAddress = pciText(item);
            break;
    }
    return place;
}

class CDifferences {
  public:
    void CompareValues(const InventoryChange& place, std::string_view name, const Value& before,
                       const Value& after);
    std::vector<InventoryChange> changes;

  private:
    using Kind = InventoryChange::Kind;

    void CompareMembers(const InventoryChange& place, const Value& before, const Value& after);
    void CompareItems(const InventoryChange& place, std::size_t depth, const Value& before,
                      const Value& after);
    void CompareLists(const InventoryChange& place, const Value& before, const Value& after);
    void Add(Kind kind, InventoryChange change, std::string before, std::string after) {
        change.kind = kind;
        change.before = std::move(before);
        change.after = std::move(after);
        changes.push_back(std::move(change));
    }
    void AddItem(Kind kind, InventoryChange change, const Value& item) {
        change.title = textMember(item, "ModuleName");
        Add(kind, std::move(change), "", "");
    }
    static InventoryChange Member(InventoryChange place, std::string_view name) {
        place.member = joined(place.member, printable(name));
        return place;
    }
};

void CDifferences::CompareValues(const InventoryChange& place, std::string_view name,
                                 const Value& before, const Value& after) {
    if (before == after) {
        return;
    }
    const InventoryChange member = Member(place, name);
    if (before.IsObject() && after.IsObject()) {
        CompareMembers(member, before, after);
    } else if (before.IsArray() && after.IsArray()) {
        const auto* const level =
            std::find_if(inventoryLevels.begin(), inventoryLevels.end(),
                         [name](const InventoryLevel& known) { return name == known.list; });
        if (level != inventoryLevels.end()) {
            CompareItems(place, static_cast<std::size_t>(level - inventoryLevels.begin()), before,
                         after);
        } else {
            CompareLists(member, before, after);
        }
    } else {
        Add(Kind::changed, member, valueText(before), valueText(after));
    }
}

void CDifferences::CompareMembers(const InventoryChange& place, const Value& before,
                                  const Value& after) {
    for (const auto& member : before.GetObject()) {
        const std::string name(member.name.GetString(), member.name.GetStringLength());
        const Value* const now = krcp::findMember(after, name.c_str());
        if (now == nullptr) {
            Add(Kind::removed, Member(place, name), valueText(member.value), "");
        } else {
            CompareValues(place, name, member.value, *now);
        }
    }
    for (const auto& member : after.GetObject()) {
        const std::string name(member.name.GetString(), member.name.GetStringLength());
        if (krcp::findMember(before, name.c_str()) == nullptr) {
            Add(Kind::added, Member(place, name), "", valueText(member.value));
        }
    }
}

void CDifferences::CompareItems(const InventoryChange& place, std::size_t depth,
                                const Value& before, const Value& after) {
    const InventoryLevel& level = inventoryLevels[depth];
    const LabelledItems old = labelItems(level, before);
    const LabelledItems now = labelItems(level, after);
    const std::map<std::string, const Value*> oldByLabel(old.begin(), old.end());
    const std::map<std::string, const Value*> nowByLabel(now.begin(), now.end());
    for (const auto& [label, item] : old) {
        if (const auto found = nowByLabel.find(label); found != nowByLabel.end()) {
            CompareValues(inside(place, depth, label, *found->second), "", *item, *found->second);
        } else {
            AddItem(Kind::removed, inside(place, depth, label, *item), *item);
        }
    }
    for (const auto& [label, item] : now) {
        if (!oldByLabel.contains(label)) {
            AddItem(Kind::added, inside(place, depth, label, *item), *item);
        }
    }
}

void CDifferences::CompareLists(const InventoryChange& place, const Value& before,
                                const Value& after) {
    const std::vector<std::string> old = elementTexts(before);
    const std::vector<std::string> now = elementTexts(after);
    const std::vector<std::string> removed = without(old, now);
    const std::vector<std::string> added = without(now, old);
    for (const std::string& text : removed) {
        Add(Kind::removed, place, text, "");
    }
    for (const std::string& text : added) {
        Add(Kind::added, place, "", text);
    }
    if (removed.empty() && added.empty()) {
        // Only the order differs.
        Add(Kind::changed, place, valueText(before), valueText(after));
    }
}

}  // namespace

std::string_view wordOf(InventoryChange::Kind kind) noexcept {
    switch (kind) {
        case InventoryChange::Kind::added:
            return "added";
        case InventoryChange::Kind::removed:
            return "removed";
        case InventoryChange::Kind::changed:
            break;
    }
    return "changed";
}

std::string textOf(const InventoryChange& change) {
    std::string text = change.path;
    if (!change.title.empty()) {
        text = joined(text, '"' + change.title + '"');
    }
    std::string place;
    for (const std::string& fact : {change.slot, change.interface, change.pciAddress}) {
        if (!fact.empty()) {
            place.append(place.empty() ? "(" : ", ").append(fact);
        }
    }
    text = joined(joined(text, place.empty() ? place : place + ")"), change.member);
    if (change.kind == InventoryChange::Kind::changed) {
        return (text.empty() ? "inventory" : text) + ": " + change.before + " -> " + change.after;
    }
    return joined(text, change.before + change.after);
}

std::vector<InventoryChange> inventoryDifferences(const Value& before, const Value& after) {
    CDifferences differences;
    differences.CompareValues({}, "", before, after);
    return std::move(differences.changes);
}

}  // namespace em_pni
