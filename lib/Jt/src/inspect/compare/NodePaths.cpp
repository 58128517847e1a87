#include <vector>

#include "Jt.h"
#include "JtInspect.h"
#include "JtNodePath.h"
#include "JtPartition.h"
#include "inspect/compare/Values.h"

namespace jt {

std::string escapedStep(std::string_view name) {
  std::string text;
  text.reserve(name.size());
  for (const char c : name) {
    if (c == '/' || c == '[' || c == '\\') text += '\\';
    text += c;
  }
  return text;
}

std::string stepName(const JtNode& node) {
  std::string name = Jt::name(&node).stringToMbs();
  return name.empty() ? elementName(&node) : name;
}

NodePaths::NodePaths(std::string_view keyProperty) : keyProperty_(std::string(keyProperty)) {}

bool NodePaths::isRepeated(const JtNode& parent, const std::string& name) {
  const auto [entry, isNew] = names_.try_emplace(&parent);
  auto& names = entry->second;
  for (int i = 0; isNew && i < numOwnChildren(parent); ++i) {
    const JtNode* child = ownChild(parent, i);
    const auto [named, isFirst] = names.emplace(stepName(*child), child);
    if (!isFirst && named->second != child) named->second = nullptr;
  }
  const auto found = names.find(name);
  return found != names.end() && !found->second;
}

std::string NodePaths::step(const JtNode& parent, const JtNode& child) {
  return step(parent, child, keyProperty_.isEmpty() ? nullptr : child.property(keyProperty_));
}

std::string NodePaths::step(const JtNode& parent, const JtNode& child, const JtPropAtom* key) {
  const std::string name = stepName(child);
  std::string text = escapedStep(name);
  if (!isRepeated(parent, name)) return text;
  if (key) return text + "[key " + compare_detail::atomText(*key) + "]";
  if (const std::int32_t id = child.objectId()) return text + "[#" + std::to_string(id) + "]";
  int index = 0;
  while (ownChild(parent, index) != &child) ++index;
  return text + "[child " + std::to_string(index) + "]";
}

std::string NodePaths::path(const JtNode& node) {
  std::vector<std::string> steps;
  for (const JtNode* at = &node; at; at = at->parent(0)) {
    if (as<JtPartition>(at)) continue;
    steps.push_back(at->parent(0) ? step(*at->parent(0), *at) : escapedStep(stepName(*at)));
  }
  std::string path;
  for (auto step = steps.rbegin(); step != steps.rend(); ++step) path += "/" + *step;
  return path.empty() ? "/" : path;
}

}  // namespace jt
