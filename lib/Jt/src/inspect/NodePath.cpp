#include "inspect/NodePath.h"

#include <vector>

#include "Jt.h"
#include "JtInspect.h"

namespace jt {

std::string pathOf(const JtNode& node) {
  std::vector<std::string> steps;
  for (const JtNode* at = &node; at; at = at->parent(0)) {
    if (as<JtPartition>(at)) continue;
    const std::string name = Jt::name(at).stringToMbs();
    steps.push_back(name.empty() ? elementName(at) : name);
  }
  std::string path;
  for (auto step = steps.rbegin(); step != steps.rend(); ++step) path += "/" + *step;
  return path.empty() ? "/" : path;
}

}  // namespace jt
