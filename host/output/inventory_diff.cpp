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

LabelledItems labelItems(const InventoryLevel& level, const Value& list) {
    LabelledItems items;
    std::map<std::string, unsigned> seen;
    for (rapidjson::SizeType i = 0; i < list.Size(); ++i) {
        const Value* const id = krcp::findMember(list[i], level.id);
        std::string label = joined(level.label, id != nullptr ? valueText(*id) : indexText(i));
        if (const unsigned count = ++seen[label]; count > 1) {
            label.append(" (").append(std::to_string(count)).append(")");
        }
        items.emplace_back(std::move(label), &list[i]);
    }
    return items;
}

std::string itemTitle(const std::string& label, const Value& item) {
    const std::string name = textMember(item, "ModuleName");
    return name.empty() ? label : label + " \"" + name + "\"";
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

class CDifferences {
  public:
    void CompareValues(const std::string& path, std::string_view name, const Value& before,
                       const Value& after);
    std::vector<std::string> lines;

  private:
    void CompareMembers(const std::string& path, const Value& before, const Value& after);
    void CompareItems(const std::string& path, const InventoryLevel& level, const Value& before,
                      const Value& after);
    void CompareLists(const std::string& path, const Value& before, const Value& after);
    void Add(const char* what, const std::string& text) { lines.push_back(what + text); }
    void Changed(const std::string& path, const Value& before, const Value& after) {
        Add("changed: ", path + ": " + valueText(before) + " -> " + valueText(after));
    }
};

void CDifferences::CompareValues(const std::string& path, std::string_view name,
                                 const Value& before, const Value& after) {
    if (before == after) {
        return;
    }
    const std::string memberPath = joined(path, printable(name));
    if (before.IsObject() && after.IsObject()) {
        CompareMembers(memberPath, before, after);
    } else if (before.IsArray() && after.IsArray()) {
        const auto* const level =
            std::find_if(inventoryLevels.begin(), inventoryLevels.end(),
                         [name](const InventoryLevel& known) { return name == known.list; });
        if (level != inventoryLevels.end()) {
            CompareItems(path, *level, before, after);
        } else {
            CompareLists(memberPath, before, after);
        }
    } else {
        Changed(memberPath.empty() ? "inventory" : memberPath, before, after);
    }
}

void CDifferences::CompareMembers(const std::string& path, const Value& before,
                                  const Value& after) {
    for (const auto& member : before.GetObject()) {
        const std::string name(member.name.GetString(), member.name.GetStringLength());
        const Value* const now = krcp::findMember(after, name.c_str());
        if (now == nullptr) {
            Add("removed: ", joined(path, printable(name)) + " " + valueText(member.value));
        } else {
            CompareValues(path, name, member.value, *now);
        }
    }
    for (const auto& member : after.GetObject()) {
        const std::string name(member.name.GetString(), member.name.GetStringLength());
        if (krcp::findMember(before, name.c_str()) == nullptr) {
            Add("added: ", joined(path, printable(name)) + " " + valueText(member.value));
        }
    }
}

void CDifferences::CompareItems(const std::string& path, const InventoryLevel& level,
                                const Value& before, const Value& after) {
    const LabelledItems old = labelItems(level, before);
    const LabelledItems now = labelItems(level, after);
    const std::map<std::string, const Value*> oldByLabel(old.begin(), old.end());
    const std::map<std::string, const Value*> nowByLabel(now.begin(), now.end());
    for (const auto& [label, item] : old) {
        if (const auto found = nowByLabel.find(label); found != nowByLabel.end()) {
            CompareValues(joined(path, label), "", *item, *found->second);
        } else {
            Add("removed: ", joined(path, itemTitle(label, *item)));
        }
    }
    for (const auto& [label, item] : now) {
        if (!oldByLabel.contains(label)) {
            Add("added: ", joined(path, itemTitle(label, *item)));
        }
    }
}

void CDifferences::CompareLists(const std::string& path, const Value& before, const Value& after) {
    const std::vector<std::string> old = elementTexts(before);
    const std::vector<std::string> now = elementTexts(after);
    const std::vector<std::string> removed = without(old, now);
    const std::vector<std::string> added = without(now, old);
    for (const std::string& text : removed) {
        Add("removed: ", joined(path, text));
    }
    for (const std::string& text : added) {
        Add("added: ", joined(path, text));
    }
    if (removed.empty() && added.empty()) {
        Changed(path, before, after);  // only the order differs
    }
}

}  // namespace

std::vector<std::string> inventoryDifferences(const Value& before, const Value& after) {
    CDifferences differences;
    differences.CompareValues("", "", before, after);
    return std::move(differences.lines);
}

}  // namespace em_pni
