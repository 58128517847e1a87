// Components: opening, saving, objects by address and expression, transactions, buffers.

#include <pybind11/stl.h>

#include <array>
#include <span>
#include <string_view>

#include "Bindings.h"
#include "JtSave.h"
#include "JtwEditError.h"
#include "JtwInspection.h"
#include "JtwSelection.h"
#include "JtwTree.h"
#include "JtwValueText.h"
#include "Library.h"
#include "Options.h"
#include "Values.h"

namespace binding {
namespace {

using ComponentClass = py::class_<OpenComponent, ComponentPtr>;

std::vector<NodeHandle> allNodes(const ComponentPtr& component) {
  std::vector<NodeHandle> handles;
  const auto& entries = component->objects().entries();
  handles.reserve(entries.size());
  for (const jtw::TreeEntry& entry : entries) handles.emplace_back(component, *entry.node);
  return handles;
}

std::vector<NodeHandle> select(const ComponentPtr& component, const std::string& expression) {
  const jtw::Objects& objects = component->objects();
  const jtw::Reading reading(component->root());
  return handlesOf(component, objects.nodes(jtw::Selection(expression).of(objects)));
}

bool contains(const ComponentPtr& component, const py::handle& what) {
  try {
    nodeOf(component, what).get();
    return true;
  } catch (const jtw::EditError& error) {
    if (error.code() == "ambiguous") return true;
    if (error.code() == "closed") throw;
    return false;
  }
}

std::string textOf(const ComponentPtr& component) {
  if (component->isClosed()) return "<jtw.Component '" + component->path() + "', closed>";
  return "<jtw.Component '" + component->path() + "', " +
         std::to_string(component->objects().entries().size()) + " objects>";
}

// --- Parts

/// A part as inspect() lists it, with its object.
struct Part {
  NodeHandle node;
  jtw::InspectedPart facts;
};

std::vector<Part> inspect(const ComponentPtr& component, const std::optional<std::string>& text,
                          const std::optional<std::string>& sort) {
  const jtw::Objects& objects = component->objects();
  std::optional<jtw::Selection> selection;
  if (text) selection.emplace(*text);
  std::optional<jtw::PartOrder> order;
  if (sort) order.emplace(*sort);
  std::vector<jtw::InspectedPart> found =
      jtw::inspectParts(objects, selection ? &*selection : nullptr);
  if (order) order->sort(found, objects);
  std::vector<Part> parts;
  parts.reserve(found.size());
  for (jtw::InspectedPart& part : found) {
    JtwNode& node = objects.node(part.index);
    parts.push_back({{component, node}, std::move(part)});
  }
  return parts;
}

void bindPart(py::module_& module) {
  py::class_<Part> part(module, "Part", "What the file states of one part: nothing is decoded.");
  const auto fact = [&part](const char* name, auto member, const char* text) {
    part.def_property_readonly(
        name, [member](const Part& self) { return self.facts.*member; }, text);
  };
  part.def_readonly("node", &Part::node, "The object of the component.");
  fact("path", &jtw::InspectedPart::path, "Its address by names.");
  fact("triangles", &jtw::InspectedPart::triangles,
       "Triangles of the finest level of detail; None when the file does not state it.");
  fact("vertices", &jtw::InspectedPart::vertices, "Vertices, likewise.");
  fact("lods", &jtw::InspectedPart::lods, "Levels of detail.");
  fact("bytes", &jtw::InspectedPart::bytes, "Bytes stored of all its segments.");
  fact("instances", &jtw::InspectedPart::instances, "In how many places it is shown.");
  fact("exact", &jtw::InspectedPart::exact, "Whether it has exact geometry.");
  fact("annotations", &jtw::InspectedPart::annotations, "Annotations in its product information.");
  fact("texture", &jtw::InspectedPart::texture, "Its first image; empty for none.");
  part.def_property_readonly(
      "unit", [](const Part& self) { return std::string(self.facts.unit); },
      "Name of its unit of length; empty when it has none.");
  part.def_property_readonly(
      "color",
      [](const Part& self) {
        return self.facts.material ? py::object(colorOf(*self.facts.material)) : py::none();
      },
      "Red, green, blue, alpha of its first shape in 0..1; None when none is set.");
  part.def_property_readonly(
      "bounds",
      [](const Part& self) { return boxOf(self.facts.bounds ? &*self.facts.bounds : nullptr); },
      "Lower and upper corner in the component, millimetres; None without extent.");
  part.def("__repr__", [](const Part& self) { return "<jtw.Part " + self.facts.path + ">"; });
}

// --- Buffers

constexpr std::array<std::pair<std::string_view, JtwRoot::JT_BUFFER>, 8> kBuffers{{
    {"kin", JtwRoot::JT_KIN_BUFFER},
    {"kin-modeling", JtwRoot::JT_KIN_MODELING_BUFFER},
    {"kin-techno", JtwRoot::JT_KIN_TECHNO_BUFFER},
    {"mop", JtwRoot::JT_MOP_BUFFER},
    {"dot-kin", JtwRoot::JT_DOT_KIN_BUFFER},
    {"gm-kin", JtwRoot::JT_GM_KIN_BUFFER},
    {"plc-logic", JtwRoot::JT_PLC_LOGIC_BLOCK},
    {"kin-techno-double", JtwRoot::JT_KIN_TECHNO_DOUBLE_BUFFER},
}};

/// The buffers of a component, as a mapping from their names to bytes.
struct Buffers {
  ComponentPtr component;

  static JtwRoot::JT_BUFFER find(const std::string& name) {
    for (const auto& [known, buffer] : kBuffers)
      if (known == name) return buffer;
    throw py::key_error(name);
  }
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& [name, buffer] : kBuffers)
      if (component->root().hasBuffer(buffer)) found.emplace_back(name);
    return found;
  }
  py::bytes get(const std::string& name) const {
    unsigned version = 0;
    unsigned size = 0;
    bool isFound = false;
    const RTAutoPtr<char> data = component->root().getBuffer(find(name), version, isFound, size);
    if (!isFound) throw py::key_error(name);
    return {data.get(), size};
  }
  void set(const std::string& name, const std::string& bytes) const {
    const JtwRoot::JT_BUFFER buffer = find(name);
    component->prepareChange();
    if (bytes.empty())
      jtw::failRefused(component->path(), "empty_buffer",
                       "an empty buffer cannot be kept; 'del' removes it");
    if (bytes.size() > 0x7fffffffU ||
        !component->root().setBuffer(buffer, bytes.data(), static_cast<unsigned>(bytes.size())))
      jtw::failRefused(component->path(), "too_large", "a buffer has at most 2147483647 bytes");
  }
  void remove(const std::string& name) const {
    if (!component->root().hasBuffer(find(name))) throw py::key_error(name);
    component->prepareChange();
    component->root().setBuffer(find(name), nullptr, 0);
  }
};

void bindBuffers(py::module_& module) {
  py::class_<Buffers>(module, "Buffers",
                      "The binary data that the host keeps on a component, by name.")
      .def("__getitem__", &Buffers::get, py::call_guard<Locked>())
      .def(
          "__setitem__",
          [](const Buffers& self, const std::string& name, const py::bytes& bytes) {
            self.set(name, bytes);
          },
          py::call_guard<Locked>())
      .def("__delitem__", &Buffers::remove, py::call_guard<Locked>())
      .def(
          "__contains__",
          [](const Buffers& self, const std::string& name) {
            for (const std::string& found : self.names())
              if (found == name) return true;
            return false;
          },
          py::call_guard<Locked>())
      .def(
          "__len__", [](const Buffers& self) { return self.names().size(); },
          py::call_guard<Locked>())
      .def(
          "__iter__", [](const Buffers& self) { return py::iter(py::cast(self.names())); },
          py::call_guard<Locked>())
      .def("keys", &Buffers::names, py::call_guard<Locked>(), "Names of the buffers that it has.");
}

// --- Transactions

/// `with component.transaction():`
struct Transaction {
  ComponentPtr component;
};

void bindTransaction(py::module_& module) {
  py::class_<Transaction>(
      module, "Transaction",
      "Changes that are made all or not at all: an exception in the block rolls them back.")
      .def(
          "__enter__",
          [](Transaction& self) {
            self.component->begin();
            return self.component;
          },
          py::call_guard<Locked>())
      .def(
          "__exit__",
          [](Transaction& self, const py::object& type, const py::object&, const py::object&) {
            // One that was rolled back by hand is over.
            if (!self.component->isInTransaction()) return;
            if (type.is_none())
              self.component->commit();
            else
              self.component->rollBack();
          },
          py::call_guard<Locked>());
}

// --- Opening and saving

ComponentPtr openComponent(const std::string& path) {
  const Released released;
  return OpenComponent::open(path);
}

jt::SaveReport save(const ComponentPtr& component, const py::object& path,
                    const std::optional<std::string>& version, bool dryRun) {
  const jt::SaveOptions options = saveOptions(version, dryRun);
  const std::string target = path.is_none() ? std::string() : pathOf(path);
  const auto write = [&] {
    const Released released;
    return target.empty() ? component->save(options) : component->saveTo(target, options);
  };
  jt::SaveReport report = write();
  showWarnings();
  return report;
}

void bindOpening(py::module_& module) {
  module.def(
      "open",
      [](const py::object& path) {
        ComponentPtr component = openComponent(pathOf(path));
        showWarnings();
        return component;
      },
      py::arg("path"),
      R"(Opens a component: a component folder (cell.kpak) or a JT file.

Objects are there at once; geometry is read when it is asked for. Each call gives a component of
its own, also for one file. Raises Error.

>>> with jtw.open(cell) as component:
...     print(component.root.name)
cell)");
  module.def(
      "new",
      [](const py::object& path, const std::string& unit, bool replace) {
        const std::string name = pathOf(path);
        const float ratio = jtw::parseUnit("unit", unit);
        const Locked lock;
        return OpenComponent::create(name, ratio, replace);
      },
      py::arg("path"), py::kw_only(), py::arg("unit") = "mm", py::arg("replace") = false,
      R"(Makes an empty component with the key 1. Nothing is on disk before save().

path     where it is saved: a component folder (.kpak, .co, .cor) or a JT file
unit     its unit of length, such as "mm" or "in"
replace  take the place of a component that is there already

>>> component = jtw.new(folder / "stand.kpak")
>>> arm = component.add("block", name="Arm", placement=[100, 0, 50])
>>> component.save().file.endswith("stand.kpak/stand.jt")
True)");
}

void bindAccess(ComponentClass& component) {
  component
      .def_property_readonly(
          "root", [](const ComponentPtr& self) { return NodeHandle(self, self->root()); },
          py::call_guard<Locked>(), "The component as an object.")
      .def("__getitem__", &nodeOf, py::call_guard<Locked>(), py::arg("address"),
           R"(The object with that key or address. Raises Error "unknown_key" or "ambiguous".

An address is a key, "/cell/Robot/Arm[2]", "root", "#12" for a node of the file, or a name that only
one object has.

>>> component[3].name
'Arm'
>>> component["/cell/Base/Arm"] == component["Arm"]
True)")
      .def("__contains__", &contains, py::call_guard<Locked>(), py::arg("address"))
      .def(
          "get",
          [](const ComponentPtr& self, const py::object& address,
             const py::object& fallback) -> py::object {
            try {
              return py::cast(nodeOf(self, address));
            } catch (const jtw::EditError& error) {
              if (error.code() != "unknown_key") throw;
              return fallback;
            }
          },
          py::call_guard<Locked>(), py::arg("address"), py::arg("default") = py::none(),
          "The object with that key or address; `default` where there is none.")
      .def(
          "__len__", [](const ComponentPtr& self) { return self->objects().entries().size(); },
          py::call_guard<Locked>())
      .def(
          "__iter__", [](const ComponentPtr& self) { return py::iter(py::cast(allNodes(self))); },
          py::call_guard<Locked>(), "All objects, each once, parents before children.")
      .def("select", &select, py::call_guard<Locked>(), py::arg("expression"),
           R"(The objects that an expression holds for, in the order of the tree.

>>> [node.name for node in component.select("kind=entity and not name='C*'")]
['Finger'])")
      .def("inspect", &inspect, py::call_guard<Locked>(), py::kw_only(),
           py::arg("select") = py::none(), py::arg("sort") = py::none(),
           R"(What the file states of each part: triangles, bytes, bounds. Nothing is decoded.

select  only the parts that this expression holds for
sort    a member such as "triangles", and ",desc" behind it for the greatest first)");
}

void bindEdits(ComponentClass& component) {
  component
      .def(
          "add",
          [](const ComponentPtr& self, const std::string& kind, const py::object& parent,
             const py::object& key,
             const py::kwargs& values) { return addNode(self, kind, parent, key, values); },
          py::call_guard<Locked>(), py::arg("kind"), py::kw_only(), py::arg("parent") = py::none(),
          py::arg("key") = py::none(),
          R"(Adds an object and returns it. When a value is wrong, nothing is added.

kind    "block", "link", "sub-device", "entity", "frame" or "annotation"
parent  what it hangs under; the component itself when not given
key     its key; the next free one when not given
values  as in set(); of an annotation also type="Note" and leader=[x, y, z]

>>> component.add("frame", parent="Arm", name="Tip", placement=[0, 0, 80]).kind
'frame')")
      .def(
          "set",
          [](const ComponentPtr& self, const py::object& nodes, const py::kwargs& values) {
            setNodes(self, nodes, values);
          },
          py::call_guard<Locked>(), py::arg("nodes"),
          R"(Changes objects, all alike; everything is checked before the first is changed.

Values: name, color ("#c07020", a name, or numbers in 0..1), unit, placement (three numbers in
millimetres, six with degrees about x, y and z, or a 4x4 matrix), attributes, unique_id,
rel_string_id, displayed, preserved, attached_to; of annotations also text, size, layer, plane,
background_color, geometry_color.

>>> component.set(component.select("kind=entity"), color="red"))")
      .def("remove", &removeNodes, py::call_guard<Locked>(), py::arg("nodes"),
           "Removes objects with everything below them; returns the keys of what is gone.")
      .def("move", &moveNodes, py::call_guard<Locked>(), py::arg("nodes"), py::arg("parent"),
           py::kw_only(), py::arg("keep_place") = false,
           R"(Moves objects under another one.

keep_place  they stay where they are in the component; else their placement stays the same)")
      .def(
          "transaction", [](const ComponentPtr& self) { return Transaction{self}; },
          R"(A block of changes that is made as a whole, and can be undone.

>>> with component.transaction():
...     component["Arm"].name = "Boom"
>>> component.undo()
True
>>> component["Arm"].name
'Arm')")
      .def("undo", &OpenComponent::undo, py::call_guard<Locked>(),
           "Undoes the last transaction; False when there is none.")
      .def("redo", &OpenComponent::redo, py::call_guard<Locked>(),
           "Redoes the transaction that was undone last; False when there is none.")
      .def_property_readonly("undo_count", &OpenComponent::undoCount, py::call_guard<Locked>(),
                             "How many transactions can be undone.")
      .def_property_readonly("redo_count", &OpenComponent::redoCount, py::call_guard<Locked>(),
                             "How many can be redone.");
}

}  // namespace

void bindComponent(py::module_& module) {
  bindPart(module);
  bindBuffers(module);
  bindTransaction(module);
  bindOpening(module);
  ComponentClass component(module, "Component",
                           "An open component: a tree of objects over the data of a JT file.");
  bindAccess(component);
  bindEdits(component);
  component
      .def("save", &save, py::arg("path") = py::none(), py::kw_only(),
           py::arg("version") = py::none(), py::arg("dry_run") = false,
           R"(Saves the component where it came from, or a copy of it to another file.

What nobody touched is kept byte for byte. The old file or the new one is there afterwards.

version  JT version, such as "9.5"; the component's own when not given
dry_run  only report what would be done

>>> report = component.save(folder / "copy.jt", version="9.5")
>>> report.version, report.lost_geometry
('9.5', []))")
      .def("close", &OpenComponent::close, py::call_guard<Locked>(),
           "Closes it. What was not saved is lost; its objects raise Error \"closed\".")
      .def_property_readonly("closed", &OpenComponent::isClosed, "Whether it was closed.")
      .def("__enter__", [](const ComponentPtr& self) { return self; })
      .def(
          "__exit__", [](OpenComponent& self, const py::args&) { self.close(); },
          py::call_guard<Locked>())
      .def_property_readonly(
          "path", [](const OpenComponent& self) { return fileText(self.path()); },
          "The path that it was opened with.")
      .def_property_readonly(
          "version", [](const ComponentPtr& self) { return self->partition().version().text(); },
          py::call_guard<Locked>(), "JT version of the file, such as \"10.0\".")
      .def_property_readonly("notes", &OpenComponent::notes, py::call_guard<Locked>(),
                             "What was noticed while the file was read.")
      .def_property_readonly(
          "buffers", [](const ComponentPtr& self) { return Buffers{self}; },
          R"(The binary data that the host keeps on the component.

>>> component.buffers["kin"] = bytes([1, 2, 3])
>>> dict(component.buffers)
{'kin': b'\x01\x02\x03'})")
      .def("__repr__", &textOf, py::call_guard<Locked>());
}

}  // namespace binding
