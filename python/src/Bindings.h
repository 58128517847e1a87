#pragma once

#include <pybind11/pybind11.h>

#include <memory>
#include <vector>

#include "NodeHandle.h"
#include "OpenComponent.h"

// What the module is made of: each function adds the classes and functions of one file.

namespace binding {

void bindReports(pybind11::module_& module);
void bindComponent(pybind11::module_& module);
void bindNode(pybind11::module_& module);
void bindMesh(pybind11::module_& module);
void bindGraph(pybind11::module_& module);
void bindCompare(pybind11::module_& module);
void bindPicture(pybind11::module_& module);
void bindConvert(pybind11::module_& module);

using ComponentPtr = std::shared_ptr<OpenComponent>;

/// The object that a key, an address or an object itself names. Throws EditError.
NodeHandle nodeOf(const ComponentPtr& component, const pybind11::handle& what);
/// The objects that one of these, or a list of them, names.
std::vector<JtwNode*> nodesOf(const ComponentPtr& component, const pybind11::handle& what);

/// Edits, with what Python gives for values. Throw EditError.
NodeHandle addNode(const ComponentPtr& component, const std::string& kind,
                   const pybind11::object& parent, const pybind11::object& key,
                   const pybind11::dict& values);
void setNodes(const ComponentPtr& component, const pybind11::handle& what,
              const pybind11::dict& values);
pybind11::list removeNodes(const ComponentPtr& component, const pybind11::handle& what);
void moveNodes(const ComponentPtr& component, const pybind11::handle& what,
               const pybind11::handle& parent, bool keepsPlace);
NodeHandle cloneNode(const NodeHandle& node, const pybind11::object& key, bool withGeometry,
                     const pybind11::dict& values);

}  // namespace binding
