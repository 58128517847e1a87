#include "Jt.h"

#include <unordered_map>
#include <unordered_set>

#include "JtInstance.h"
#include "JtPartition.h"
#include "JtResidencyRequestManager.h"

const char* const Jt::jtPropName = "JT_PROP_NAME";
const char* const Jt::jtPropMeasurementUnits = "JT_PROP_MEASUREMENT_UNITS";

JtString Jt::name(const JtNode* node) {
  const auto* text =
      node ? jt::as<JtStringPropAtom>(node->property(JtString(jtPropName))) : nullptr;
  return text ? text->value() : JtString();
}

jt::Ref<JtNode> Jt::clone(const JtNode* node) {
  if (!node) return {};
  // Copies first, links second: depth does not matter, and a shared node stays shared.
  std::unordered_map<const JtNode*, jt::Ref<JtNode>> copies;
  std::vector<const JtNode*> order{node};
  for (std::size_t i = 0; i < order.size(); ++i) {
    if (copies.contains(order[i])) continue;
    const jt::Ref<JtBase> copy = order[i]->clone();
    copies.emplace(order[i], jt::Ref<JtNode>(static_cast<JtNode*>(copy.get())));
    for (int index = 0; index < jt::numOwnChildren(*order[i]); ++index) {
      const JtNode* child = jt::ownChild(*order[i], index);
      if (!copies.contains(child)) order.push_back(child);
    }
  }
  std::unordered_set<const JtNode*> linked;
  for (const JtNode* original : order) {
    if (!linked.insert(original).second) continue;
    JtNode* above = copies.at(original).get();
    for (int index = 0; index < jt::numOwnChildren(*original); ++index) {
      JtNode& below = *copies.at(jt::ownChild(*original, index));
      if (auto* group = jt::as<JtGroup>(above)) group->link(index, below);
      if (auto* instance = jt::as<JtInstance>(above)) instance->link(&below);
    }
  }
  return copies.at(node);
}

void JtLib::init() {}

void JtLib::fini() { JtResidencyRequestManager::instance().stop(); }
