// Facts as lines and trees for people.
#pragma once

#include <string>
#include <vector>

#include "host/output/terminal.h"

namespace em_pni {

// A line and the lines below it. Texts may have any bytes.
struct TreeNode {
    std::string name;
    std::string facts{};  // behind the name
    std::vector<TreeNode> children{};
    Color color = Color::cyan;  // of the name; yellow = something is not as it should be
};

// The facts with commas between them. Leaves out empty ones.
std::string joinedFacts(const std::vector<std::string>& facts);

// "label fact"; empty without a fact.
std::string labelled(const std::string& label, const std::string& fact);

// UTF-8 lines with line characters before them.
std::string treeText(const std::vector<TreeNode>& nodes, const Terminal& terminal);

}  // namespace em_pni
