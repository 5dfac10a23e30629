#include "host/output/text_tree.h"

#include "platform/text.h"

namespace em_pni {

namespace {

void append(std::string& text, const std::vector<TreeNode>& nodes, const std::string& indent,
            const Terminal& terminal) {
    for (const TreeNode& node : nodes) {
        const bool isLast = &node == &nodes.back();
        text += indent + (isLast ? "└─ " : "├─ ") +
                painted(printable(node.name), node.color, terminal) + printable(node.facts) + "\n";
        append(text, node.children, indent + (isLast ? "   " : "│  "), terminal);
    }
}

}  // namespace

std::string joinedFacts(const std::vector<std::string>& facts) {
    std::string all;
    for (const std::string& fact : facts) {
        if (!fact.empty()) {
            all += all.empty() ? fact : ", " + fact;
        }
    }
    return all;
}

std::string labelled(const std::string& label, const std::string& fact) {
    return fact.empty() ? fact : label + " " + fact;
}

std::string treeText(const std::vector<TreeNode>& nodes, const Terminal& terminal) {
    std::string text;
    append(text, nodes, "", terminal);
    return text;
}

}  // namespace em_pni
