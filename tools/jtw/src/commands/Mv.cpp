#include <string>

#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "JtwPMI.h"
#include "NodeView.h"
#include "Session.h"
#include "ValueText.h"

namespace tool {
namespace {

/// Hangs the object under its new parent, which is none of those below it.
bool reparent(const Component& component, JtwNode& node, JtwNode& parent) {
  if (!node.isOfTypePMI()) return node.setParent(parent.key());
  JtwCollection* old = static_cast<JtwPMI&>(node).collection();
  if (!node.setParent(parent.key())) return false;
  if (node.type() == JtwNode::JT_FRAME_NODE) storeFrames(component, old);
  return true;
}

void refuse(const Component& component, const std::string& message) {
  failRefused(component.document(), "not_supported", message);
}

}  // namespace

ExitCode runMv(Session& session) {
  const Arguments& arguments = session.arguments();
  const ObjectName name(session.argument(1));
  const std::string* parentText = arguments.value("parent");
  if (!parentText) failUsage("--parent names the object that it moves under");
  const ObjectName parentName(*parentText);

  Component component(session, session.argument(0), !arguments.has("dry-run"));
  const std::size_t index = component.find(name);
  JtwNode& node = *component.entries()[index].node;
  if (index == 0) refuse(component, "the component itself cannot be moved");
  if (node.type() == JtwNode::JT_PMI_ANNOTATION_NODE)
    refuse(component, "changes of an annotation cannot be saved");
  const std::size_t parentIndex = component.findCollection(parentName);
  JtwNode& parent = *component.entries()[parentIndex].node;
  if (parentIndex >= index && parentIndex < component.endOfSubtree(index))
    failRefused(component.document(), "cycle",
                "object " + name.text + " would be moved below itself");

  const std::uint64_t places = component.placeCount(index);
  const bool keepsPlace = arguments.has("keep-place");
  const RTTran3D place =
      keepsPlace ? node.absLoc() : listedLocation(node, component.listedParent(index));
  const float unit = node.measurementUnitRatio();
  if (!component.ensureOwnKey(index) || !reparent(component, node, parent))
    refuse(component, "object " + name.text +
                          " cannot be moved there: one of the two is not part of this file, or it "
                          "is above the other in a second place");
  if (!node.isOfTypePMI()) node.forgetCached();
  const RTTran3D location = keepsPlace ? parent.absLoc().inverse() * place : place;
  if (!isStorable(location)) refuse(component, "its place cannot be expressed in its new parent");
  jtw::setPlacement(node, location);
  if (node.type() == JtwNode::JT_FRAME_NODE)
    storeFrames(component, &static_cast<JtwCollection&>(parent));
  if (node.measurementUnitRatio() != unit)
    session.warn(component.document() + ": object " + name.text +
                 " has no unit of its own and is read in that of its new parent");

  component.relist();
  const ApiProtoKey key = node.key();
  const std::string keyName = std::to_string(key.getAsLong());
  return saveAndReport(
      session, component, "moved " + keyName + " under " + std::to_string(parent.key().getAsLong()),
      [&](JsonWriter& json) {
        json.member("parent", parent.key().getAsLong());
        writeNodeResult(json, component, component.find(ObjectName(keyName)));
      },
      places);
}

}  // namespace tool
