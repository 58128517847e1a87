// The node in the partition that represents the document's component: found, or built.

#include <unordered_map>
#include <vector>

#include "ApiErrStream.h"
#include "ApiObjType.h"
#include "DmKrUtilsGeomUtilities.h"
#include "DmKrUtilsInterface.h"
#include "JtPathAttributes.h"
#include "JtSwitch.h"
#include "JtwManager.h"
#include "JtwMeasurementUnits.h"
#include "JtwProperties.h"
#include "JtwRoot.h"
#include "JtwSceneGraph.h"
#include "JtwSharedAtoms.h"
#include "JtwTransforms.h"
#include "JtwTraverse.h"
#include "VisMetaDataNode.h"
#include "VisPartNode.h"

namespace jtw {
namespace {

constexpr std::uint32_t kProducerBit = 1U << 30;

bool hasPmiMode(const ApiDocumentRef& document) {
  return ApiDocument::doesHaveProperty(document, ApiDocument::PMI_MODE);
}

/// Marks JT data that this system did not write.
void markNativeJt(JtNode& node) {
  const auto key = jt::make<JtStringPropAtom>(JtString(kOriginateFromNativeJt));
  key->setStateFlags(key->stateFlags() & ~kProducerBit);
  node.addProperty(key.get(), jt::make<JtPtrPropAtom>().get(), true);
}

/// A transform that goes down from the component to what it holds.
struct Placement {
  jt::Matrix4 matrix;
  bool isFinal = false;  ///< transforms below it count only when they force
};

/// The node's own transform, taking its attributes off the node.
/// @return false when it has none that acts
bool takeTransforms(JtNode& node, Placement& own) {
  own.matrix = jt::localTransform(node, own.isFinal);
  bool found = false;
  for (int index = node.numAttributes() - 1; index >= 0; --index) {
    const auto* xform = jt::as<JtXform>(node.attribute(index));
    if (!xform) continue;
    found = found || !xform->hasState(JtAttributeState::ignore);
    node.removeAttribute(index);
  }
  return found;
}

/// Takes off the transforms that do not count below a final one.
void removeOverridden(JtNode& node) {
  for (int index = node.numAttributes() - 1; index >= 0; --index) {
    const auto* xform = jt::as<JtXform>(node.attribute(index));
    if (xform && !xform->hasState(JtAttributeState::force)) node.removeAttribute(index);
  }
}

/// Places what the node holds by `outer` beyond its own first transform.
void placeNode(JtNode& node, const Placement& outer) {
  if (outer.isFinal) removeOverridden(node);
  const int index = jt::firstAttribute<JtXform>(&node);
  if (index < 0) {
    const auto xform = jt::make<JtXform>(outer.matrix);
    if (outer.isFinal) xform->setFinal(true);
    node.appendAttribute(xform.get());
    return;
  }
  const auto* own = static_cast<const JtXform*>(node.attribute(index));
  jt::Matrix4 matrix;
  DmKrUtilsGeomUtilities::getJtMatrix4fOfXform(own, matrix);
  // A copy: other nodes may list the same attribute.
  const jt::Ref<JtBase> placed = own->clone();
  auto* xform = static_cast<JtXform*>(placed.get());
  DmKrUtilsInterface::setMatrix(xform, jt::multiply(matrix, outer.matrix));
  if (outer.isFinal) xform->setFinal(true);
  node.replaceAttribute(index, xform);
}

/// True when a transform on the child itself would also move it, or not move it, elsewhere.
bool needsGroupOfItsOwn(const JtNode& child, const JtNode& parent) {
  if (child.isOpaque()) return true;
  for (int index = 0; index < child.numParents(); ++index)
    if (child.parent(index) != &parent) return true;
  return false;
}

/// Places everything below `parent` by `outer`. A child that is listed twice is placed once; one
/// that must not be placed itself gets a group in front of each of its places.
void placeChildren(JtGroup& parent, const Placement& outer) {
  std::vector<jt::Ref<JtNode>> children;
  std::unordered_map<const JtNode*, bool> grouped;
  bool anyGroup = false;
  for (int index = 0; index < parent.numChildren(); ++index) {
    if (!parent.child(index)) continue;
    JtNode& child = *children.emplace_back(parent.child(index));
    const auto [entry, isNew] = grouped.try_emplace(&child, false);
    if (!isNew) continue;
    entry->second = needsGroupOfItsOwn(child, parent);
    anyGroup = anyGroup || entry->second;
    if (!entry->second) placeNode(child, outer);
  }
  if (!anyGroup) return;
  // All links are made anew: replacing one after the other would take the square of their number.
  while (parent.numChildren() > 0) parent.removeChild(parent.numChildren() - 1);
  for (const auto& child : children) {
    if (!grouped.at(child.get())) {
      parent.addChild(child.get());
      continue;
    }
    const auto group = jt::make<JtGroup>();
    placeNode(*group, outer);
    parent.addChild(group.get());
    group->addChild(child.get());
  }
}

}  // namespace
}  // namespace jtw

bool JtwRoot::initializeComponentNode(const ApiDocumentRef& document) {
  if (partition_->numChildren() == 1) handleKrJtSwitch();

  auto structure = ApiDocument::STRUCTURE_PLAIN;
  const bool asComponent = loadingRep_ <= JT_LOAD_PLAIN || jtw::hasPmiMode(document);
  if (VisMetaDataNode* component = findComponentNode()) {
    isJtKR_ = true;
    setJtNode(component);
    structure = readStructure(document, *component);
  } else if (asComponent) {
    buildComponentNode();
  } else {
    setJtNode(partition_.get());
  }
  forgetCached();

  if (asComponent) handleXformOnComponent(jt::as<VisMetaDataNode>(jtNode()));
  if (partition_->numChildren() > 0)
    DmKrUtilsInterface::cleanupUnusedAttributes(partition_->child(0));
  JtwManager::the().insertDocumentStructure(document, structure);
  return true;
}

VisMetaDataNode* JtwRoot::findComponentNode() const { return jtw::componentOf(*partition_); }

ApiDocument::Structure JtwRoot::readStructure(const ApiDocumentRef& document,
                                              VisMetaDataNode& component) {
  if (!component.ensureMetaData()) {
    RWClassicCString location;
    RWClassicCString name;
    JtwManager::getFileNameFromDocument(document, location, name);
    apiErr << ApiErrCode("JT_INITIALIZE_ENSURE_METADATA_FAILED")
           << ApiErrPosition(__FILE__, "JtwRoot::initializeComponentNode", __LINE__)
           << location + name << endErr;
    return ApiDocument::STRUCTURE_PLAIN;
  }
  const bool plain =
      attributes().empty() && !hasBuffer(JT_KIN_MODELING_BUFFER) && !hasBuffer(JT_KIN_BUFFER);
  return plain ? ApiDocument::STRUCTURE_PLAIN : ApiDocument::STRUCTURE_HOST_DATA;
}

void JtwRoot::buildComponentNode() {
  JtPartition& partition = *partition_;
  JtwMeasurementUnitsInterface::recordScales(partition, loadingRep_ == JT_LOAD_WITH_UNIT_PROPERTY);

  // A part is never taken for the component: it is one of the objects in it, and it would not be
  // found again when the file is opened the next time.
  JtNode* const only = partition.numChildren() == 1 ? partition.child(0) : nullptr;
  jt::Ref<VisMetaDataNode> component(jt::as<VisPartNode>(only) ? nullptr
                                                               : jt::as<VisMetaDataNode>(only));
  const bool isNew = !component;
  if (isNew) component = jt::make<VisMetaDataNode>();

  const auto type = jt::make<JtStringPropAtom>(JtString(ApiObjType(ApiObjType::COMPONENT).text()));
  component->addProperty(jtw::keyAtom(jtw::Key::objType), type.get(), true);
  partition.addProperty(jtw::keyAtom(jtw::Key::objType), type.get(), true);
  if (!isJtKR_) jtw::markNativeJt(partition);

  const RWClassicWString name = JtwNode::name(&partition);
  setJtNode(component.get());
  // A node that was there keeps the only name there is.
  if (isNew || !name.empty()) setName(name);
  if (!isNew) return;
  jtw::moveChildren(partition, *component);
  partition.addChild(component.get());
}

void JtwRoot::handleKrJtSwitch() {
  hasKrSwitch_ = false;
  const jt::Ref<JtSwitch> found(jt::as<JtSwitch>(partition_->child(0)));
  if (!found) return;
  for (int index = 0; index < found->numProperties() && !hasKrSwitch_; ++index) {
    JtPropAtom* key = nullptr;
    JtPropAtom* value = nullptr;
    if (!found->getProperty(index, key, value)) break;
    const auto* text = jt::as<JtStringPropAtom>(key);
    hasKrSwitch_ = text && text->value() == JtString(jtw::kSwitch);
  }
  if (!hasKrSwitch_) return;
  const jt::Ref<JtNode> chosen(found->representation(loadingRep_ != JT_LOAD_ALTERNATE_REP));
  partition_->removeChild(0);
  partition_->addChild(chosen.get());
}

void JtwRoot::handleXformOnComponent(VisMetaDataNode* component) {
  jtw::Placement outer;
  if (!component || component->isOpaque() || !jtw::takeTransforms(*component, outer)) return;
  jtw::placeChildren(*component, outer);
}

RWClassicWString JtwRoot::name() {
  const RWClassicWString own = jtNode() ? JtwNode::name(jtNode()) : RWClassicWString();
  return own.empty() && partition_ ? JtwNode::name(partition_.get()) : own;
}

RTTran3D JtwRoot::absLoc() { return RTTran3D::unit; }

RTTran3D JtwRoot::relLoc() {
  JtwNode::relLoc();  // fills the cache that the unit ratio and internalRelLoc() live from
  return RTTran3D::unit;
}

RTTran3D JtwRoot::internalRelLoc() { return JtwNode::relLoc(); }

ApiGraColor JtwRoot::evaluateColor(bool& isDefault) {
  if (!colorEvaluated_) {
    for (JtNode* node = jtNode(); node && colorIsDefault_; node = node->parent(0))
      colorIsDefault_ = !computeNodeColor(node, color_);
    colorEvaluated_ = true;
  }
  isDefault = colorIsDefault_;
  return color_;
}
