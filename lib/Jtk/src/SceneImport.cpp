#include "SceneImport.h"

#include <string_view>
#include <utility>

#include "Jt.h"
#include "JtFormatError.h"
#include "JtInstance.h"
#include "JtLOD.h"
#include "JtPartition.h"
#include "JtSwitch.h"
#include "JtkEntityFactory.h"
#include "JtkMaterial.h"
#include "JtkTransform.h"
#include "JtkXTEntityFactory.h"
#include "NodeUnits.h"
#include "PMIScale.h"
#include "PartBreps.h"
#include "PartGeometry.h"
#include "VisPartNode.h"

namespace {

bool isGeometry(const JtNode& node) { return jt::as<JtShape>(&node) || jt::as<JtLOD>(&node); }

bool isStructure(const JtNode& node) {
  return jt::as<VisMetaDataNode>(&node) || jt::as<JtInstance>(&node);
}

/// True when shapes are all that is below a node.
bool hasGeometryOnly(const JtNode& top) {
  constexpr std::size_t kMostNodes = 100'000;
  std::vector<const JtNode*> open{&top};
  bool hasShape = false;
  for (std::size_t i = 0; i < open.size() && i < kMostNodes; ++i) {
    const JtNode* node = open[i];
    if (isStructure(*node) || jt::as<JtPartition>(node)) return false;
    hasShape = hasShape || jt::as<JtShape>(node);
    for (int index = 0; index < node->numChildren(); ++index)
      if (const JtNode* child = node->child(index)) open.push_back(child);
  }
  return hasShape;
}

/// True for a node that says nothing itself: what is below takes its place.
bool isTransparent(const JtNode& node) {
  if (isStructure(node) || isGeometry(node) || node.numAttributes() > 0 || node.isIgnored() ||
      jtk::hasBreps(node))
    return false;
  return jt::as<JtPartition>(&node) || jt::as<JtSwitch>(&node) || Jt::name(&node).isEmpty();
}

/// The children that are shown, in order.
std::vector<JtNode*> shownChildren(const JtNode& node) {
  std::vector<JtNode*> children;
  if (const auto* alternatives = jt::as<JtSwitch>(&node)) {
    if (JtNode* child = alternatives->child(alternatives->selectedChild()))
      children.push_back(child);
    return children;
  }
  for (int i = 0; i < node.numChildren(); ++i)
    if (JtNode* child = node.child(i)) children.push_back(child);
  return children;
}

/// The node that is imported in place of one that has a single place to go: below an instance, or
/// at the top.
JtNode* contentOf(JtNode* node) {
  constexpr int kMostLevels = 100'000;
  for (int level = 0; level < kMostLevels && isTransparent(*node); ++level) {
    const auto children = shownChildren(*node);
    if (children.size() != 1) break;
    node = children.front();
  }
  return node;
}

/// A name without the extension that marks what the toolkit made of a node, when that is empty.
JtString withoutMark(const JtString& name) {
  for (const std::u16string_view mark : {u".part;;:", u".asm;;:"})
    if (name.units().ends_with(mark))
      return JtString(name.units().substr(0, name.length() - mark.size()));
  return name;
}

bool isAddressKey(const JtString& key) {
  return key == JtString("JtNodeAddress") || key == JtString("JtNodeAddressLHS");
}

}  // namespace

jt::Ref<JtkHierarchy> JtkSceneImport::run(JtNode* node) {
  if (!node) return {};
  JtNode* const content = contentOf(node);
  open_.push_back({jt::Ref<JtNode>(content), nullptr, nullptr, jtk::inheritedScale(*content)});
  while (!open_.empty()) {
    const Item item = std::move(open_.back());
    open_.pop_back();
    import(item);
  }
  return std::move(top_);
}

void JtkSceneImport::attach(const Item& item, JtkHierarchy* made) {
  if (item.assembly)
    item.assembly->addChild(made);
  else if (item.instance)
    item.instance->setChild(made);
  else
    top_ = jt::Ref<JtkHierarchy>(made);
}

void JtkSceneImport::import(const Item& item) {
  if (const auto known = made_.find(item.node.get()); known != made_.end()) {
    if (known->second) attach(item, known->second.get());
    return;
  }
  const bool isInPlace = item.assembly || item.instance;
  if (isInPlace && item.assembly && isTransparent(*item.node)) {
    pushChildren(item, *item.node, nullptr, jtk::ownScale(*item.node).value_or(item.scale));
    return;
  }
  JtNode* node = item.node.get();
  if (importer_.before_ && importer_.before_(node) == JtkCADImporter::SKIP) {
    made_[item.node.get()] = nullptr;
    return;
  }
  if (!node) return;
  const jt::Ref<JtNode> held(node);
  const double scale = jtk::ownScale(*node).value_or(item.scale);
  const jt::Ref<JtkHierarchy> made = make(*node, scale);
  made_[item.node.get()] = made;
  attach(item, made.get());
  pushChildren(item, *node, made.get(), scale);
  JtkRefCounted* entity = made.get();
  if (importer_.after_) importer_.after_(node, made.get(), entity);
}

void JtkSceneImport::pushChildren(const Item& item, JtNode& node, JtkHierarchy* made,
                                  double scale) {
  Item below = item;
  below.scale = scale;
  if (made) {
    if (made->isOfType(JtkEntity::PART)) return;
    const bool isInstance = made->isOfType(JtkEntity::INSTANCE);
    below.instance = isInstance ? static_cast<JtkInstance*>(made) : nullptr;
    below.assembly = isInstance ? nullptr : static_cast<JtkAssembly*>(made);
  }
  const std::vector<JtNode*> children = shownChildren(node);
  for (std::size_t i = children.size(); i-- > 0;) {
    below.node = jt::Ref<JtNode>(below.instance ? contentOf(children[i]) : children[i]);
    open_.push_back(below);
  }
}

jt::Ref<JtkHierarchy> JtkSceneImport::make(JtNode& node, double scale) const {
  const JtString name = withoutMark(Jt::name(&node));
  jt::Ref<JtkHierarchy> made;
  const bool isPlainGroup = !isStructure(node) && !isGeometry(node);
  if (jt::as<VisPartNode>(&node) || isGeometry(node) || (isPlainGroup && hasGeometryOnly(node))) {
    JtkPart* part = JtkEntityFactory::createPart(name.stringToMbs().c_str(), 0, 0);
    made = jt::Ref<JtkHierarchy>(part);
    part->setSceneGraphName(name);
    const bool isExact = importer_.load_ == JtkCADImporter::EXACT;
    if (importer_.load_ != JtkCADImporter::STRUCTURE) jtk::addGeometry(*part, node, scale, isExact);
  } else if (jt::as<JtInstance>(&node)) {
    made = jt::Ref<JtkHierarchy>(JtkEntityFactory::createInstance(name, nullptr));
  } else {
    made = jt::Ref<JtkHierarchy>(JtkEntityFactory::createAssembly(name, 0, 0));
  }
  takeValues(*made, node, scale);
  return made;
}

void JtkSceneImport::takeValues(JtkHierarchy& made, JtNode& node, double scale) const {
  made.setHidden(node.isIgnored());
  if (!made.isOfType(JtkEntity::INSTANCE)) {
    made.setUnits(jtk::MILLIMETERS);
    takePMI(static_cast<JtkUnitHierarchy&>(made), node, scale);
  }
  JtPropAtom* key = nullptr;
  JtPropAtom* value = nullptr;
  for (int i = 0; node.getProperty(i, key, value); ++i)
    if (const auto* text = jt::as<JtStringPropAtom>(key); text && value)
      takeProperty(made, text->value(), *value);
  // Those of geometry go to the shapes.
  if (isGeometry(node)) return;
  for (int i = 0; i < node.numAttributes(); ++i) takeAttribute(made, *node.attribute(i), scale);
}

void JtkSceneImport::takeProperty(JtkHierarchy& made, const JtString& key,
                                  JtPropAtom& value) const {
  static const JtString name(Jt::jtPropName);
  static const JtString units(Jt::jtPropMeasurementUnits);
  // Addresses in a file are those of a process that ended long ago.
  if (key == name || key == units || isAddressKey(key)) return;
  if (const auto* late = jt::as<JtLateLoadedPropAtom>(&value)) {
    const bool isShape = late->segmentType() >= 6 && late->segmentType() <= 16;
    const bool isBrep = JtkBrep::isSegmentType(late->segmentType());
    // That of parts is loaded with their shapes.
    if (isShape || (isBrep && (made.isOfType(JtkEntity::PART) ||
                               importer_.load_ == JtkCADImporter::TESSELLATION)))
      return;
  }
  const auto property = jt::make<JtkProperty>(key, jt::Ref<JtPropAtom>(&value));
  if (!importer_.onProperty_ || importer_.onProperty_(property.get(), &made) != 0)
    made.addProperty(property.get());
}

void JtkSceneImport::takeAttribute(JtkHierarchy& made, JtAttribute& attribute, double scale) const {
  if (auto* material = jt::as<JtMaterial>(&attribute)) {
    made.addAttribute(jt::make<JtkMaterial>(material).get());
  } else if (auto* transform = jt::as<JtXform>(&attribute)) {
    if (scale == 1) {
      made.addAttribute(jt::make<JtkTransform>(transform).get());
      return;
    }
    const jt::Ref<JtBase> copy = transform->clone();
    auto* scaled = jt::as<JtXform>(copy.get());
    scaled->setMatrix(jtk::scaledTransform(transform->matrix(), scale));
    made.addAttribute(jt::make<JtkTransform>(scaled).get());
  } else {
    made.addAttribute(jt::make<JtkAttribute>(&attribute).get());
  }
}

/// PMI that cannot be read stays with its property, to be copied as it is.
void JtkSceneImport::takePMI(JtkUnitHierarchy& made, JtNode& node, double scale) const {
  auto* holder = jt::as<VisMetaDataNode>(&node);
  PMIDataManager* pmi = holder ? holder->pmi() : nullptr;
  if (!pmi) return;
  try {
    made.load(scale == 1 ? pmi : jtk::scaledPMI(*pmi, scale).get());
  } catch (const JtFormatError& error) {
    jt::setLastError(error.what());
  }
}
