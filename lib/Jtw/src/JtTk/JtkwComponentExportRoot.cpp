#include "JtkwComponentExportRoot.h"

#include <algorithm>
#include <memory>
#include <string>

#include "ApiSysStringConvertors.h"
#include "Jt.h"
#include "JtInstance.h"
#include "JtkHierarchy.h"
#include "JtkwImporter.h"
#include "JtwProperties.h"
#include "JtwUtils.h"
#include "VisPartNode.h"

namespace {

std::unique_ptr<JtkwImporter> componentImporter;
unsigned entityCounter = 0;

const JtString* nameOf(const JtNode& node) { return jtw::stringProperty(&node, Jt::jtPropName); }

void setName(JtNode& node, const JtString& name) {
  jtw::setString(&node, Jt::jtPropName, name, true);
}

/// A node without name gets none: it may be given a whole one.
void addExtension(JtNode& node) {
  const JtString* name = nameOf(node);
  if (!name || name->isEmpty() || JtkwComponentExportRoot::hasJtkExtension(&node)) return;
  const bool isPart = node.typeID() == VisPartNode::classTypeID();
  if (!isPart && node.typeID() != VisMetaDataNode::classTypeID()) return;
  setName(node, JtString(std::u16string(name->units()) + (isPart ? u".part;;:" : u".asm;;:")));
}

/// Brings a name of ISO 8859-1 characters into the form of the other names.
void encodeAnew(JtNode& node) {
  const JtString* name = nameOf(node);
  if (!name || name->isAscii()) return;
  if (std::ranges::any_of(name->units(), [](char16_t unit) { return unit > 0xff; })) return;
  JtString encoded;
  JtwUtilsConvertRWCStringToJtString(
      ApiSysStringConvertors::UnicodeToRWCString(JtwUtilsGetNamePropertyAsRWWString(&node)),
      encoded);
  if (!encoded.isEmpty() && encoded != *name) setName(node, encoded);
}

void nameEntity(JtNode& node) {
  const JtString* name = nameOf(node);
  if (!jt::as<VisPartNode>(&node) || (name && !name->isEmpty())) return;
  const auto* instance = jt::as<JtInstance>(node.parent(0));
  const JtString* occurrence = instance ? nameOf(*instance) : nullptr;
  if (occurrence && !occurrence->isEmpty()) return;
  setName(node, JtString("entity" + std::to_string(++entityCounter)));
}

}  // namespace

void JtkwComponentExportRoot::initImporter() {
  if (componentImporter) return;
  componentImporter = std::make_unique<JtkwImporter>();
  componentImporter->setLoadOption(JtkCADImporter::STRUCTURE);
  componentImporter->setPropertyCallback(&JtkwComponentExportRoot::propertiesCB);
  componentImporter->setPreActionCallback(&JtkwComponentExportRoot::preActionCB);
  componentImporter->setPostActionCallback(&JtkwComponentExportRoot::postActionCB);
  componentImporter->setOption(JtkCADImporter::FIRST_RESERVED, 0);
}

void JtkwComponentExportRoot::deleteImporter() { componentImporter = nullptr; }

bool JtkwComponentExportRoot::importHierarchy(const ApiKey& key, const ApiKey& parentKey,
                                              JtNode* node) {
  entityCounter = 0;
  if (!componentImporter) return false;
  jt::Ref<JtkHierarchy> imported = componentImporter->importHierarchy(node);
  if (!imported) return false;
  JtkHierarchy* const hierarchy = imported.release();
  if (!attachToHierarchy(parentKey, hierarchy)) {
    keepLoose(hierarchy);
    return false;
  }
  if (key != parentKey) addNodeToMapByKey(key, hierarchy);
  return true;
}

bool JtkwComponentExportRoot::hasJtkExtension(JtNode* node) {
  static const RWCRegexp part("\\.part;[-0-9]*;[-0-9]*:$");
  static const RWCRegexp assembly("\\.asm;[-0-9]*;[-0-9]*:$");
  const bool isPart = jt::as<VisPartNode>(node) != nullptr;
  if (!isPart && !jt::as<VisMetaDataNode>(node)) return false;
  const RWClassicCString name =
      ApiSysStringConvertors::UnicodeToRWCString(JtwUtilsGetNamePropertyAsRWWString(node));
  return (isPart ? part : assembly).isFoundIn(name);
}

int JtkwComponentExportRoot::preActionCB(JtNode*& node) {
  if (!node) return JtkCADImporter::SKIP;
  addExtension(*node);
  encodeAnew(*node);
  nameEntity(*node);
  const bool isHiddenInPart = node->isIgnored() && jt::as<VisPartNode>(node->parent(0));
  return isHiddenInPart ? JtkCADImporter::SKIP : JtkCADImporter::GO_ON;
}

int JtkwComponentExportRoot::propertiesCB(JtkProperty* property, JtkHierarchy* hierarchy) {
  return JtkwImporter::propertiesCB(property, hierarchy);
}

int JtkwComponentExportRoot::postActionCB(JtNode* node, JtkHierarchy* /*hierarchy*/,
                                          JtkRefCounted*& entity) {
  saveJTOnJtkNode(node, entity);
  return JtkCADImporter::GO_ON;
}
