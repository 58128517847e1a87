// The scene graph of a JT file, without a component over it.

#include <pybind11/stl.h>

#include <unordered_set>

#include "Bindings.h"
#include "Jt.h"
#include "JtAssembly.h"
#include "JtFormatError.h"
#include "JtInspect.h"
#include "JtPartition.h"
#include "JtStackNodeIter.h"
#include "Library.h"
#include "MeshHandle.h"
#include "OpenFile.h"
#include "Options.h"
#include "PartCopies.h"
#include "Values.h"

namespace binding {

namespace {

using FilePtr = std::shared_ptr<OpenFile>;

/// A node of an opened file. It has a share of the file, and one of the node: a node that was
/// removed stays usable.
struct GraphNode {
  FilePtr file;
  jt::Ref<JtNode> node;

  GraphNode(FilePtr owner, JtNode* held) : file(std::move(owner)), node(held) {}
  GraphNode(const GraphNode&) = default;
  GraphNode(GraphNode&&) noexcept = default;
  GraphNode& operator=(const GraphNode&) = delete;
  GraphNode& operator=(GraphNode&&) = delete;
  ~GraphNode() {
    if (!node) return;
    const Locked lock;
    node = nullptr;
  }
};

std::vector<GraphNode> children(const GraphNode& self) {
  std::vector<GraphNode> nodes;
  for (int i = 0; i < self.node->numChildren(); ++i)
    nodes.emplace_back(self.file, self.node->child(i));
  return nodes;
}

std::vector<GraphNode> parents(const GraphNode& self) {
  std::vector<GraphNode> nodes;
  for (int i = 0; i < self.node->numParents(); ++i)
    nodes.emplace_back(self.file, self.node->parent(i));
  return nodes;
}

/// Each node once, however many paths lead to it.
std::vector<GraphNode> walk(const FilePtr& file, JtNode& start) {
  std::vector<GraphNode> nodes;
  std::unordered_set<const JtNode*> shared;
  const auto iterator = jt::make<JtStackNodeIter>();
  iterator->setPreVisit([&](JtNode* node) {
    if (node->numParents() > 1 && !shared.insert(node).second)
      return JtStackNodeIter::Next::skipChildren;
    nodes.emplace_back(file, node);
    return JtStackNodeIter::Next::descend;
  });
  iterator->run(&start);
  return nodes;
}

std::vector<std::string> attributes(const GraphNode& self) {
  std::vector<std::string> names;
  for (int i = 0; i < self.node->numAttributes(); ++i)
    names.push_back(jt::elementName(self.node->attribute(i)));
  return names;
}

py::object transform(const GraphNode& self) {
  for (int i = 0; i < self.node->numAttributes(); ++i)
    if (const auto* found = jt::as<JtXform>(self.node->attribute(i)))
      return matrixOf(found->matrix());
  return py::none();
}

py::object bounds(const GraphNode& self) {
  if (const auto* shape = jt::as<JtShape>(self.node.get())) {
    return boxOf(&shape->statistics().box);
  }
  if (const auto* partition = jt::as<JtPartition>(self.node.get())) {
    const auto box = partition->bounds();
    return boxOf(box ? &*box : nullptr);
  }
  return py::none();
}

std::vector<MeshHandle> meshes(const GraphNode& self, std::uint32_t level) {
  const Released released;
  return meshesBelow(*self.node, level);
}

void bindGraphNode(py::module_& module) {
  py::class_<GraphNode> node(module, "GraphNode", "A node of the scene graph of a file.");
  const auto fact = [&node](const char* name, const auto& get, const char* text) {
    node.def_property_readonly(name, get, py::call_guard<Locked>(), text);
  };
  fact(
      "type", [](const GraphNode& self) { return jt::elementName(self.node.get()); },
      "Its element in ISO 14306, such as \"Part Node\".");
  fact(
      "name", [](const GraphNode& self) { return Jt::name(self.node.get()).stringToMbs(); },
      "The text of its name, with the extension; empty when it has none.");
  fact(
      "id", [](const GraphNode& self) { return self.node->objectId(); },
      "Its object id in the file that it was read from; 0 for none.");
  fact("children", &children, "Its children.");
  fact("parents", &parents, "Its parents: a node may have several.");
  fact("attributes", &attributes, "The elements of its attributes, in order.");
  fact("transform", &transform,
       "Its first transform, a 4x4 matrix for column vectors in its unit of length; or None.");
  fact(
      "properties", [](const GraphNode& self) { return propertiesOf(*self.node); },
      "Its properties, by name.");
  fact(
      "metadata", [](const GraphNode& self) { return metadataOf(self.node.get()); },
      "Its metadata in a segment of its own, or None.");
  fact(
      "ignored", [](const GraphNode& self) { return self.node->isIgnored(); },
      "Whether it and what is below it is hidden on this path.");
  fact(
      "opaque", [](const GraphNode& self) { return self.node->isOpaque(); },
      "Whether the library could not read it; it is kept as it is.");
  fact("bounds", &bounds, "Stated extent of a shape or partition in its unit of length, or None.");
  node.def("meshes", &meshes, py::arg("level") = 0, "As Node.meshes().")
      .def(
          "walk", [](const GraphNode& self) { return walk(self.file, *self.node); },
          py::call_guard<Locked>(),
          "The node and everything below it, each once, parents before children.")
      .def(
          "__iter__", [](const GraphNode& self) { return py::iter(py::cast(children(self))); },
          py::call_guard<Locked>())
      .def(
          "__eq__",
          [](const GraphNode& self, const GraphNode& other) { return self.node == other.node; },
          py::is_operator())
      .def("__hash__",
           [](const GraphNode& self) { return std::hash<const void*>()(self.node.get()); })
      .def(
          "__repr__",
          [](const GraphNode& self) {
            return "<jtw.GraphNode " + jt::elementName(self.node.get()) + " '" +
                   Jt::name(self.node.get()).stringToMbs() + "'>";
          },
          py::call_guard<Locked>());
}

FilePtr openFile(const py::object& path) {
  const std::string file = pathOf(path);
  const Released released;
  return std::make_shared<OpenFile>(file);
}

jt::SaveReport save(const FilePtr& file, const py::object& path,
                    const std::optional<std::string>& version, bool dryRun) {
  const jt::SaveOptions options = saveOptions(version, dryRun);
  const std::string target = path.is_none() ? std::string() : pathOf(path);
  const Released released;
  JtPartition& top = file->top();
  if (target.empty()) return top.save(nullptr, options);
  return tool::saveCopy(
      top, top, jt::partFilesOf(top),
      {.input = file->path, .output = target, .changesParts = options.version.has_value()},
      options);
}

}  // namespace

void bindGraph(py::module_& module) {
  bindGraphNode(module);
  py::class_<OpenFile, FilePtr>(module, "File",
                                R"(A JT file as it is: its scene graph, with no component over it.

>>> with jtw.File(tiny) as file:
...     for node in file.root.walk():
...         print(node.type)
Partition Node
Meta Data Node
Instance Node
Part Node
Range LOD Node
Null Shape Node)")
      .def(py::init(&openFile), py::arg("path"),
           "Opens a file and the part files that it refers to. Raises Error.")
      .def_property_readonly(
          "root", [](const FilePtr& self) { return GraphNode(self, &self->top()); },
          py::call_guard<Locked>(), "The partition at the top.")
      .def_property_readonly(
          "path", [](const OpenFile& self) { return fileText(self.path); },
          "The path that it was opened with.")
      .def_property_readonly(
          "version", [](const OpenFile& self) { return self.top().version().text(); },
          py::call_guard<Locked>(), "JT version, such as \"9.5\".")
      .def_property_readonly(
          "notes", [](const OpenFile& self) { return self.top().notes(); },
          py::call_guard<Locked>(), "What was noticed while it was read.")
      .def_property_readonly(
          "parts", [](const OpenFile& self) { return jt::partFilesOf(self.top()); },
          py::call_guard<Locked>(), "The part files that it refers to.")
      .def("save", &save, py::arg("path") = py::none(), py::kw_only(),
           py::arg("version") = py::none(), py::arg("dry_run") = false,
           "Saves the file, or a copy with its part files; see Component.save().")
      .def(
          "close", [](OpenFile& self) { self.close(); }, py::call_guard<Locked>(),
          "Lets go of the file. Nodes that somebody has stay usable.")
      .def("__enter__", [](const FilePtr& self) { return self; })
      .def(
          "__exit__", [](OpenFile& self, const py::args&) { self.close(); },
          py::call_guard<Locked>())
      .def("__repr__", [](const OpenFile& self) { return "<jtw.File '" + self.path + "'>"; });
}

}  // namespace binding
