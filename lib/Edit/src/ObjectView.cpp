// What is shown of an object.

#include "ApiSysStringConvertors.h"
#include "JtFormatError.h"
#include "JtStorageLocation.h"
#include "JtwManager.h"
#include "JtwObjects.h"
#include "JtwRoot.h"

namespace jtw {

const char* kindName(JtwNode& node) {
  switch (node.type()) {
    case JtwNode::JT_ROOT_NODE:
      return "component";
    case JtwNode::JT_LINK_NODE:
      return "link";
    case JtwNode::JT_ENTITY_NODE:
      return "entity";
    case JtwNode::JT_FRAME_NODE:
      return "frame";
    case JtwNode::JT_BLOCK_NODE:
      return "block";
    case JtwNode::JT_SUB_DEVICE_NODE:
      return "sub-device";
    case JtwNode::JT_PMI_ANNOTATION_NODE:
      return "annotation";
  }
  return "unknown";
}

std::string nameOf(JtwNode& node) {
  return ApiSysStringConvertors::UnicodeToRWCString(node.name());
}

namespace {

/// The id of a new object, which only the file that it was saved to knows.
std::int32_t savedIdOf(JtwNode& node) {
  JtStorageLocation* const location = node.root() ? node.root()->getStorageLocation() : nullptr;
  if (!location || node.key().isNull()) return 0;
  try {
    JtPartition* opened = nullptr;
    JtPartition::openPartition(location, nullptr, opened, JtwManager::the().readLimits());
    const auto saved = jt::Ref<JtPartition>::adopt(opened);
    const JtNode* found = saved ? nodeOfKey(*saved, node.key()) : nullptr;
    return found ? found->objectId() : 0;
  } catch (const JtFormatError&) {
    return 0;  // there is no such file, yet
  }
}

}  // namespace

std::int32_t nodeIdOf(JtwNode& node) {
  if (node.isOfTypePMI() || !node.jtNode()) return 0;
  const std::int32_t id = node.jtNode()->objectId();
  return id != 0 ? id : savedIdOf(node);
}

std::string objectText(JtwNode& node) {
  if (!node.key().isNull()) return std::to_string(node.key().getAsLong());
  const std::int32_t id = nodeIdOf(node);
  return id == 0 ? "-" : "#" + std::to_string(id);
}

const char* unitOf(JtwNode& node) { return unitName(node.measurementUnitRatio()); }

RTTran3D listedLocation(JtwNode& node, JtwNode* parent) {
  return !parent || parent == node.parentNode() ? node.relLoc() : placement(node, *parent);
}

std::optional<long> keyNumber(const ApiProtoKey& key) {
  return key.isNull() ? std::nullopt : std::optional<long>(key.getAsLong());
}

ApiProtoKey attachmentOf(JtwNode& node) {
  ApiProtoKey parent;
  AttachmentType type = ATTACHMENT_DEFAULT;
  node.getAttachmentParent(parent, type);
  return parent;
}

}  // namespace jtw
