// Objects of a component: their values as attributes, the tree, properties of their JT nodes.

#include <pybind11/stl.h>

#include <cstdint>
#include <limits>

#include "Bindings.h"
#include "JtkwPMITypeMaps.h"
#include "JtwEditError.h"
#include "JtwLeaf.h"
#include "JtwPMIAnnotation.h"
#include "JtwPlacements.h"
#include "JtwTree.h"
#include "Library.h"
#include "Values.h"

namespace binding {
namespace {

using NodeClass = py::class_<NodeHandle>;

/// One value as the library has it, changed by the name that it has there.
template <class Get>
void value(NodeClass& node, const char* name, const Get& get, const char* text) {
  node.def_property(name, py::cpp_function(get, py::call_guard<Locked>()),
                    py::cpp_function(
                        [name](const NodeHandle& self, const py::object& given) {
                          py::dict values;
                          values[name] = given;
                          setNodes(self.component(), py::cast(self), values);
                        },
                        py::call_guard<Locked>()),
                    text);
}

template <class Get>
void fact(NodeClass& node, const char* name, const Get& get, const char* text) {
  node.def_property_readonly(name, get, py::call_guard<Locked>(), text);
}

std::optional<std::string> orNone(const std::string& text) {
  return text.empty() ? std::nullopt : std::optional<std::string>(text);
}

py::object color(const NodeHandle& self) {
  bool isDefault = true;
  const ApiGraColor found = jtw::colorOf(self.get(), isDefault);
  if (isDefault) return py::none();
  return colorOf(found);
}

std::optional<std::string> unit(const NodeHandle& self) {
  const char* const name = jtw::unitOf(self.get());
  return name ? std::optional<std::string>(name) : std::nullopt;
}

std::optional<float> unitRatio(const NodeHandle& self) {
  const float ratio = self.get().measurementUnitRatio();
  return ratio > 0 ? std::optional<float>(ratio) : std::nullopt;
}

std::optional<bool> displayed(const NodeHandle& self) {
  JtwNode& node = self.get();
  if (node.isCollection() != 0) return std::nullopt;
  return static_cast<JtwLeaf&>(node).displayState();
}

void bindValues(NodeClass& node) {
  value(
      node, "name", [](const NodeHandle& self) { return jtw::nameOf(self.get()); }, "Its name.");
  value(node, "color", color,
        R"(Red, green, blue, alpha in 0..1, of its own or from above; None for the default.

May be set to numbers, "#rrggbb" or the name of a color.

>>> component["Arm"].color = "#3050a0"
>>> [round(255 * x) for x in component["Arm"].color]
[48, 80, 160, 255])");
  value(node, "unit", unit,
        "Name of its unit of length, of its own or from above. Setting it keeps all sizes in "
        "numbers: what is below takes the unit over.");
  value(
      node, "placement",
      [](const NodeHandle& self) {
        JtwNode& object = self.get();
        return matrixOf(jtw::listedLocation(object, self.objects().parentOf(object)));
      },
      R"(Where it lies in its parent: a 4x4 matrix for column vectors, in millimetres.

May be set to a matrix, to three numbers, or to six: a place, and degrees about x, y and z.

>>> component["Arm"].placement = [100, 0, 50, 0, 0, 90]
>>> component["Arm"].placement[:3, 3]
array([100.,   0.,  50.]))");
  value(
      node, "attributes",
      [](const NodeHandle& self) { return std::string(self.get().attributes()); },
      "The host's text; empty when there is none.");
  value(
      node, "unique_id",
      [](const NodeHandle& self) { return orNone(self.get().globalUniqueId().getAsString()); },
      "The host's unique id; None when it has none.");
  value(
      node, "rel_string_id",
      [](const NodeHandle& self) { return orNone(self.get().relStringId()); },
      "An id that the host keeps; None when it has none.");
  value(node, "displayed", displayed,
        "Whether it is shown: of entities, frames and annotations; None for other kinds.");
  value(
      node, "preserved", [](const NodeHandle& self) { return self.get().isPreserved(false); },
      "Whether the host must keep it as it is: of entities, blocks and annotations.");
  value(
      node, "attached_to",
      [](const NodeHandle& self) -> py::object {
        const ApiProtoKey key = jtw::attachmentOf(self.get());
        JtwNode* found = nullptr;
        if (!key.isNull()) self.component()->root().getNodeByKey(key, found);
        if (!found) return py::none();
        return py::cast(NodeHandle(self.component(), *found));
      },
      "The object that it is attached to, or None.");
}

// --- The tree

NodeHandle handleOf(const NodeHandle& self, JtwNode& node) { return {self.component(), node}; }

py::object parent(const NodeHandle& self) {
  JtwNode* const above = self.objects().parentOf(self.get());
  if (!above) return py::none();
  return py::cast(handleOf(self, *above));
}

std::vector<NodeHandle> children(const NodeHandle& self) {
  return handlesOf(self.component(), jtw::children(self.component()->root(), self.get()));
}

std::vector<NodeHandle> childrenOfKind(const NodeHandle& self, JtwNode::JT_NODE_TYPE kind) {
  std::vector<JtwNode*> nodes = jtw::children(self.component()->root(), self.get());
  std::erase_if(nodes, [kind](JtwNode* node) { return node->type() != kind; });
  return handlesOf(self.component(), nodes);
}

std::vector<NodeHandle> subtree(const NodeHandle& self) {
  const jtw::Objects& objects = self.objects();
  const std::size_t first = self.index();
  const std::size_t end = objects.endOfSubtree(first);
  std::vector<NodeHandle> handles;
  handles.reserve(end - first);
  for (std::size_t i = first; i < end; ++i) handles.push_back(handleOf(self, objects.node(i)));
  return handles;
}

void bindTree(NodeClass& node) {
  fact(
      node, "key", [](const NodeHandle& self) { return jtw::keyNumber(self.get().key()); },
      "Its key, or None: objects of files from elsewhere get one when they are edited.");
  fact(
      node, "kind", [](const NodeHandle& self) { return std::string(jtw::kindName(self.get())); },
      "\"component\", \"block\", \"link\", \"sub-device\", \"entity\", \"frame\" or "
      "\"annotation\".");
  fact(
      node, "address",
      [](const NodeHandle& self) { return orNone(self.objects().address(self.index())); },
      "The shortest address that needs no names; None for a frame without key.");
  fact(
      node, "path", [](const NodeHandle& self) { return self.objects().path(self.index()); },
      "Its address by names, from the component down: \"/cell/Robot/Arm[2]\".");
  fact(node, "parent", parent, "The object that it is listed under; None for the component.");
  fact(node, "children", children,
       "The objects below it: in the order of the scene graph, then frames and annotations.");
  fact(
      node, "frames",
      [](const NodeHandle& self) { return childrenOfKind(self, JtwNode::JT_FRAME_NODE); },
      "The frames that hang on it.");
  fact(
      node, "pmi",
      [](const NodeHandle& self) { return childrenOfKind(self, JtwNode::JT_PMI_ANNOTATION_NODE); },
      "The annotations (PMI) that hang on it.");
  fact(
      node, "component", [](const NodeHandle& self) { return self.component(); },
      "The component that it is in.");
  fact(
      node, "place_count",
      [](const NodeHandle& self) { return self.objects().placeCount(self.index()); },
      "In how many places of the component it is shown.");
  node.def("walk", subtree, py::call_guard<Locked>(),
           "The object and everything below it, parents before children.")
      .def(
          "__iter__", [](const NodeHandle& self) { return py::iter(py::cast(children(self))); },
          py::call_guard<Locked>(), "Its children.");
}

// --- Places

void bindPlaces(NodeClass& node) {
  fact(node, "unit_ratio", unitRatio, "Millimetres in its unit of length; None for frames.");
  fact(
      node, "world_placement", [](const NodeHandle& self) { return matrixOf(self.get().absLoc()); },
      "Where it lies in the component: a 4x4 matrix for column vectors, in millimetres.");
  fact(
      node, "bounds",
      [](const NodeHandle& self) { return boxOf(self.component()->extent(self.index())); },
      "Extent with everything below it: lower and upper corner in the component, in millimetres; "
      "None for nothing. No geometry is decoded.");
  node.def(
      "placement_from",
      [](const NodeHandle& self, const NodeHandle& other) {
        return matrixOf(jtw::placementFrom(
            self.objects(), nodeOf(self.component(), py::cast(other)).index(), self.index()));
      },
      py::call_guard<Locked>(), py::arg("other"),
      R"(Where it lies as seen from another object: a 4x4 matrix, in millimetres.

>>> component["Finger"].placement_from(component["Arm"])[:3, 3]
array([  0.,  80., -50.]))");
}

// --- Properties of the JT node

JtNode& jtNodeOf(const NodeHandle& self) {
  JtNode* const node = self.jtNode();
  if (!node)
    jtw::failRefused(self.component()->path(), "no_node",
                     "frames and annotations have no JT node of their own");
  return *node;
}

/// What objects are made of has attributes of its own.
void checkName(const NodeHandle& self, const std::string& name) {
  if (name.empty() || name.starts_with("Kr") || name.starts_with("JT_PROP_"))
    jtw::failRefused(self.component()->path(), "reserved",
                     "the property '" + name + "' belongs to the library; see the attributes");
}

jt::Ref<JtPropAtom> atomFrom(const py::object& value) {
  if (py::isinstance<py::str>(value))
    return jt::make<JtStringPropAtom>(JtString(value.cast<std::string>()));
  if (py::isinstance<py::float_>(value)) return jt::make<JtFloatPropAtom>(value.cast<float>());
  if (py::isinstance<py::int_>(value))
    return jt::make<JtInt32PropAtom>(static_cast<int>(value.cast<std::int32_t>()));
  throw py::type_error("a property is a text, a number of single precision or of 32 bits");
}

void setProperty(const NodeHandle& self, const std::string& name, const py::object& value) {
  checkName(self, name);
  self.component()->prepareChange();
  const jt::Ref<JtPropAtom> atom = atomFrom(value);
  const auto key = jt::make<JtStringPropAtom>(JtString(name));
  if (!jtNodeOf(self).addProperty(key.get(), atom.get(), true))
    jtw::failRefused(self.component()->path(), "not_supported", "the node takes no properties");
}

void deleteProperty(const NodeHandle& self, const std::string& name) {
  checkName(self, name);
  self.component()->prepareChange();
  const auto key = jt::make<JtStringPropAtom>(JtString(name));
  if (!jtNodeOf(self).deleteProperty(key.get())) throw py::key_error(name);
}

void bindProperties(NodeClass& node) {
  fact(
      node, "properties", [](const NodeHandle& self) { return propertiesOf(jtNodeOf(self)); },
      "All properties of its JT node, those of the host among them.");
  fact(
      node, "metadata", [](const NodeHandle& self) { return metadataOf(&jtNodeOf(self)); },
      "The metadata of its JT node in a segment of its own, or None.");
  node.def(
          "__getitem__",
          [](const NodeHandle& self, const std::string& name) {
            const JtPropAtom* const atom = jtNodeOf(self).property(JtString(name));
            if (!atom) throw py::key_error(name);
            return atomOf(atom);
          },
          py::call_guard<Locked>(), py::arg("name"),
          R"(A property of its JT node: a text or a number. May be set and deleted.

>>> component["Arm"]["SUPPLIER"] = "Nordwerk"
>>> component["Arm"]["SUPPLIER"]
'Nordwerk')")
      .def("__setitem__", setProperty, py::call_guard<Locked>(), py::arg("name"), py::arg("value"))
      .def("__delitem__", deleteProperty, py::call_guard<Locked>(), py::arg("name"))
      .def(
          "__contains__",
          [](const NodeHandle& self, const std::string& name) {
            return jtNodeOf(self).property(JtString(name)) != nullptr;
          },
          py::call_guard<Locked>(), py::arg("name"));
}

// --- Annotations

JtwPMIAnnotation& annotationOf(const NodeHandle& self) {
  JtwNode& node = self.get();
  if (node.type() != JtwNode::JT_PMI_ANNOTATION_NODE)
    throw py::attribute_error(std::string("a ") + jtw::kindName(node) +
                              " has no such value; annotations have");
  return static_cast<JtwPMIAnnotation&>(node);
}

void bindAnnotation(NodeClass& node) {
  fact(
      node, "type",
      [](const NodeHandle& self) {
        return JtkwPMITypeMaps::the().getPMITypeName(
            annotationOf(self).annotationData().annotationType);
      },
      "Of an annotation: its type, such as \"Note\".");
  value(
      node, "text",
      [](const NodeHandle& self) {
        const auto& lines = annotationOf(self).annotationData().textLines;
        return std::vector<std::string>(lines.begin(), lines.end());
      },
      R"(Of an annotation: the lines of its text.

>>> note = component.add("annotation", type="Note", name="Surface", text=["Ra 0,8", "ground"])
>>> note.text
['Ra 0,8', 'ground'])");
  value(
      node, "size",
      [](const NodeHandle& self) {
        const int size = annotationOf(self).annotationData().graphics.fontSize;
        return size > 0 ? std::optional<int>(size) : std::nullopt;
      },
      "Of an annotation: size of its font, a whole number; None when none is set.");
  value(
      node, "layer",
      [](const NodeHandle& self) {
        const int layer = annotationOf(self).annotationData().layer;
        return layer < 0 ? std::nullopt : std::optional<int>(layer);
      },
      "Of an annotation: its layer, or None.");
}

// --- Edits

void bindEdits(NodeClass& node) {
  node.def(
          "set",
          [](const NodeHandle& self, const py::kwargs& values) {
            setNodes(self.component(), py::cast(self), values);
          },
          py::call_guard<Locked>(), "Changes several values at once; see Component.set().")
      .def(
          "add",
          [](const NodeHandle& self, const std::string& kind, const py::object& key,
             const py::kwargs& values) {
            return addNode(self.component(), kind, py::cast(self), key, values);
          },
          py::call_guard<Locked>(), py::arg("kind"), py::kw_only(), py::arg("key") = py::none(),
          "Adds an object below it; see Component.add().")
      .def(
          "remove",
          [](const NodeHandle& self) { return removeNodes(self.component(), py::cast(self)); },
          py::call_guard<Locked>(),
          "Removes it with everything below; returns the keys of what is gone.")
      .def(
          "move",
          [](const NodeHandle& self, const py::object& parent, bool keepsPlace) {
            moveNodes(self.component(), py::cast(self), parent, keepsPlace);
          },
          py::call_guard<Locked>(), py::arg("parent"), py::kw_only(), py::arg("keep_place") = false,
          "Moves it under another object; see Component.move().")
      .def(
          "clone",
          [](const NodeHandle& self, const py::object& key, bool geometry,
             const py::kwargs& values) { return cloneNode(self, key, geometry, values); },
          py::call_guard<Locked>(), py::kw_only(), py::arg("key") = py::none(),
          py::arg("geometry") = true,
          R"(Copies an entity, beside it, and returns the copy.

>>> component["Finger"].clone(name="Second finger", placement=[-20, 0, 0]).key
7)");
}

}  // namespace

void bindNode(py::module_& module) {
  NodeClass node(module, "Node",
                 "An object of a component. Its values are read from the scene graph when they are "
                 "asked for. After a rollback or a removal it finds its object again, or raises "
                 "Error \"gone\".");
  bindTree(node);
  bindValues(node);
  bindPlaces(node);
  bindProperties(node);
  bindAnnotation(node);
  bindEdits(node);
  node.def(
          "__eq__",
          [](const NodeHandle& self, const NodeHandle& other) {
            return self.component() == other.component() && self.identity() == other.identity();
          },
          py::is_operator())
      .def("__hash__",
           [](const NodeHandle& self) { return std::hash<const void*>()(self.identity()); })
      .def(
          "__repr__",
          [](const NodeHandle& self) -> std::string {
            try {
              JtwNode& object = self.get();
              return std::string("<jtw.Node ") + jtw::kindName(object) + " " +
                     jtw::objectText(object) + " '" + jtw::nameOf(object) + "'>";
            } catch (const jtw::EditError& error) {
              return "<jtw.Node, " + error.code() + ">";
            }
          },
          py::call_guard<Locked>());
}

}  // namespace binding
