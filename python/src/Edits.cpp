// Changes of components: what Python gives, as the requests of the library.

#include <pybind11/stl.h>

#include <string>

#include "Bindings.h"
#include "JtwEditError.h"
#include "JtwEdits.h"
#include "JtwRoot.h"
#include "Library.h"
#include "Values.h"

namespace binding {
namespace {

std::string keyText(const py::object& key) {
  return key.is_none() ? std::string("auto") : py::str(key).cast<std::string>();
}

std::string addressOf(const NodeHandle& node) {
  return node.get().type() == JtwNode::JT_ROOT_NODE ? "root" : settingText(py::cast(node));
}

/// Takes a setting that a request has a place of its own for.
std::string take(std::vector<jtw::Setting>& settings, const std::string& name) {
  std::string value;
  std::erase_if(settings, [&](jtw::Setting& setting) {
    if (setting.name != name) return false;
    value = std::move(setting.value);
    return true;
  });
  return value;
}

}  // namespace

NodeHandle nodeOf(const ComponentPtr& component, const py::handle& what) {
  if (py::isinstance<NodeHandle>(what)) {
    const auto& node = what.cast<const NodeHandle&>();
    if (node.component() != component)
      jtw::failRefused(component->path(), "unknown_key", "the object is one of another component");
    return node;
  }
  const bool isText = py::isinstance<py::str>(what);
  if (!isText && PyIndex_Check(what.ptr()) == 0)
    throw py::type_error("an object is named by its key, its address or itself");
  const jtw::ObjectAddress address(py::str(what).cast<std::string>());
  return {component, component->objects().object(address)};
}

std::vector<JtwNode*> nodesOf(const ComponentPtr& component, const py::handle& what) {
  const bool isOne = py::isinstance<NodeHandle>(what) || py::isinstance<py::str>(what) ||
                     PyIndex_Check(what.ptr()) != 0;
  std::vector<JtwNode*> nodes;
  if (isOne) {
    nodes.push_back(&nodeOf(component, what).get());
  } else {
    for (const py::handle item : what) nodes.push_back(&nodeOf(component, item).get());
  }
  return nodes;
}

/// When a value is wrong nothing is added.
NodeHandle addNode(const ComponentPtr& component, const std::string& kind, const py::object& parent,
                   const py::object& key, const py::dict& values) {
  jtw::Objects& objects = component->objects();
  jtw::AddRequest request{.kind = kind, .settings = settingsOf(values)};
  if (!parent.is_none()) request.parent = addressOf(nodeOf(component, parent));
  request.type = take(request.settings, "type");
  request.leader = take(request.settings, "leader");
  jtw::checkRequest(request);
  // The object is found again by its key; the parent may need one before it.
  objects.collection(jtw::ObjectAddress(request.parent));
  const ApiProtoKey made = objects.newKey(keyText(key));
  request.key = std::to_string(made.getAsLong());
  component->prepareChange();
  try {
    return {component, *jtw::addObject(objects, request).node};
  } catch (const jtw::EditError&) {
    JtwNode* node = nullptr;
    component->root().getNodeByKey(made, node);
    if (node) {
      component->objectsGone();
      jtw::removeObjects(objects, std::span<JtwNode* const>(&node, 1));
    }
    throw;
  }
}

void setNodes(const ComponentPtr& component, const py::handle& what, const py::dict& values) {
  const std::vector<jtw::Setting> settings = settingsOf(values);
  const std::vector<JtwNode*> nodes = nodesOf(component, what);
  component->prepareChange();
  jtw::setObjects(component->objects(), nodes, settings);
}

py::list removeNodes(const ComponentPtr& component, const py::handle& what) {
  component->prepareChange();
  const std::vector<JtwNode*> nodes = nodesOf(component, what);
  const jtw::RemoveResult result = jtw::removeObjects(component->objects(), nodes);
  component->objectsGone();
  return py::cast(result.removed);
}

void moveNodes(const ComponentPtr& component, const py::handle& what, const py::handle& parent,
               bool keepsPlace) {
  const std::vector<JtwNode*> nodes = nodesOf(component, what);
  const jtw::ObjectAddress address(addressOf(nodeOf(component, parent)));
  component->prepareChange();
  jtw::moveObjects(component->objects(), nodes, address, keepsPlace);
}

NodeHandle cloneNode(const NodeHandle& node, const py::object& key, bool withGeometry,
                     const py::dict& values) {
  const ComponentPtr& component = node.component();
  jtw::Objects& objects = component->objects();
  const std::vector<jtw::Setting> settings = settingsOf(values);
  JtwNode& original = node.get();
  component->prepareChange();
  JtwNode& copy = jtw::cloneObject(objects, original, keyText(key), withGeometry, {});
  try {
    JtwNode* const made = &copy;
    jtw::setObjects(objects, std::span<JtwNode* const>(&made, 1), settings);
  } catch (const jtw::EditError&) {
    JtwNode* const made = &copy;
    component->objectsGone();
    jtw::removeObjects(objects, std::span<JtwNode* const>(&made, 1));
    throw;
  }
  return {component, copy};
}

}  // namespace binding
