// Meshes as numpy arrays.

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <algorithm>

#include "Bindings.h"
#include "JtGroup.h"
#include "JtShape.h"
#include "JtwEditError.h"
#include "Library.h"
#include "MeshHandle.h"
#include "Values.h"

namespace binding {
namespace {

using Rows = std::vector<py::ssize_t>;

/// An array over memory of a mesh: read only, and keeps the mesh alive.
template <class T>
py::array view(const MeshHandle& self, const T* data, const Rows& shape) {
  using Owner = std::shared_ptr<const jt::Mesh>;
  const py::capsule owner(new Owner(self.mesh),
                          [](void* held) { delete static_cast<Owner*>(held); });
  py::array_t<T> array(shape, data, owner);
  array.attr("flags").attr("writeable") = false;
  return array;
}

py::ssize_t size(std::size_t count) { return static_cast<py::ssize_t>(count); }

template <std::size_t N>
py::array rows(const MeshHandle& self, const std::vector<std::array<float, N>>& values) {
  return view(self, values.empty() ? nullptr : values.front().data(),
              {size(values.size()), size(N)});
}

/// Indices as numpy users have them. No mesh has as many vertices as the sign takes away.
py::array indices(const MeshHandle& self, const std::vector<std::uint32_t>& values,
                  std::size_t columns) {
  const auto* const data = reinterpret_cast<const std::int32_t*>(values.data());
  if (columns == 0) return view(self, data, {size(values.size())});
  return view(self, data, {size(values.size() / columns), size(columns)});
}

const char* kindOf(const MeshHandle& self) {
  switch (self.mesh->kind) {
    case jt::Mesh::Kind::triangles:
      return "triangles";
    case jt::Mesh::Kind::polylines:
      return "polylines";
    case jt::Mesh::Kind::points:
      return "points";
  }
  return "";
}

std::size_t columnsOf(const MeshHandle& self) {
  constexpr std::size_t kCorners = 3;
  return self.mesh->kind == jt::Mesh::Kind::triangles ? kCorners : 0;
}

py::dict textures(const MeshHandle& self) {
  py::dict channels;
  for (const jt::Mesh::TextureChannel& channel : self.mesh->textures) {
    const auto columns = static_cast<std::size_t>(channel.components);
    channels[py::int_(channel.channel)] =
        view(self, channel.values.data(), {size(channel.values.size() / columns), size(columns)});
  }
  return channels;
}

void bindArrays(py::class_<MeshHandle>& mesh) {
  mesh.def_property_readonly(
          "positions", [](const MeshHandle& self) { return rows(self, self.mesh->positions); },
          R"(Positions: n x 3 numbers of single precision, in coordinates of the shape.

The array shares the memory of the mesh, is read only, and stays valid when the file is closed.)")
      .def_property_readonly(
          "triangles",
          [](const MeshHandle& self) {
            if (columnsOf(self) == 0) throw py::attribute_error("a mesh of lines has no triangles");
            return indices(self, self.mesh->corners, columnsOf(self));
          },
          "Rows of `positions`, three a triangle, counter-clockwise seen from outside: m x 3.")
      .def_property_readonly(
          "corners", [](const MeshHandle& self) { return indices(self, self.mesh->corners, 0); },
          "Rows of `positions`, one for each corner of each primitive.")
      .def_property_readonly(
          "starts", [](const MeshHandle& self) { return indices(self, self.mesh->starts, 0); },
          "Of polylines and points: where each begins in `corners`, and one closing entry.")
      .def_property_readonly(
          "records",
          [](const MeshHandle& self) { return indices(self, self.mesh->records, columnsOf(self)); },
          "Rows of `normals`, `colors` and `textures`, for each corner; empty without them.")
      .def_property_readonly(
          "normals", [](const MeshHandle& self) { return rows(self, self.mesh->normals); },
          "Unit vectors that `records` point to; empty when there are none.")
      .def_property_readonly(
          "colors", [](const MeshHandle& self) { return rows(self, self.mesh->colors); },
          "Red, green, blue, alpha in 0..1 that `records` point to; empty when there are none.")
      .def_property_readonly("textures", &textures,
                             "Texture coordinates that `records` point to, by channel.")
      .def_property_readonly(
          "groups",
          [](const MeshHandle& self) {
            return view(self, self.mesh->groups.data(), {size(self.mesh->groups.size())});
          },
          "Face group of each primitive; empty when all are 0.");
}

std::vector<MeshHandle> meshesOf(const NodeHandle& self, std::uint32_t level) {
  const auto held = [&self] {
    const Locked lock;
    return jt::Ref<JtNode>(self.jtNode());
  }();
  if (!held) return {};
  const Released released;
  return meshesBelow(*held, level);
}

template <class T>
using Table = py::array_t<T, py::array::c_style | py::array::forcecast>;

template <class T>
void checkRows(const Table<T>& table, const char* name) {
  if (table.ndim() != 2 || table.shape(1) != 3)
    throw py::value_error(std::string(name) + " is no array with three columns");
}

void addMesh(const NodeHandle& self, const Table<float>& positions,
             const Table<std::int64_t>& triangles) {
  checkRows(positions, "positions");
  checkRows(triangles, "triangles");
  auto* const group = jt::as<JtGroup>(self.jtNode());
  if (!group || self.get().type() != JtwNode::JT_ENTITY_NODE)
    jtw::failRefused(
        self.component()->path(), "not_supported",
        "geometry is added to entities, not to a " + std::string(jtw::kindName(self.get())));
  const auto mesh = std::make_shared<jt::Mesh>();
  mesh->positions.resize(static_cast<std::size_t>(positions.shape(0)));
  if (!mesh->positions.empty())
    std::copy_n(positions.data(), positions.size(), mesh->positions.front().data());
  mesh->corners.reserve(static_cast<std::size_t>(triangles.size()));
  for (py::ssize_t i = 0; i < triangles.size(); ++i) {
    const std::int64_t corner = triangles.data()[i];
    if (corner < 0 || corner >= positions.shape(0))
      throw py::index_error("triangles names position " + std::to_string(corner) + " of " +
                            std::to_string(positions.shape(0)));
    mesh->corners.push_back(static_cast<std::uint32_t>(corner));
  }
  self.component()->prepareChange();
  if (!group->addChild(jt::makeShape(mesh).get()))
    jtw::failRefused(self.component()->path(), "not_supported", "the entity takes no geometry");
}

}  // namespace

void bindMesh(py::module_& module) {
  py::class_<MeshHandle> mesh(module, "Mesh",
                              "The geometry of one shape in one place, as numpy arrays.");
  bindArrays(mesh);
  mesh.def_property_readonly("kind", &kindOf, "\"triangles\", \"polylines\" or \"points\".")
      .def_property_readonly(
          "placement", [](const MeshHandle& self) { return matrixOf(self.placement); },
          R"(From the coordinates of the shape to those of the object that was asked for its meshes.

A 4x4 matrix for column vectors. Lengths are in the unit of that object, see Node.unit_ratio.)")
      .def_property_readonly(
          "color",
          [](const MeshHandle& self) {
            return self.color ? py::object(py::tuple(py::cast(*self.color))) : py::none();
          },
          "Red, green, blue, alpha of its material in 0..1; None when it has none.")
      .def_readonly("part", &MeshHandle::part, "Name of the part that it belongs to.")
      .def("__len__", [](const MeshHandle& self) { return self.mesh->primitiveCount(); })
      .def("__repr__", [](const MeshHandle& self) {
        return std::string("<jtw.Mesh, ") + std::to_string(self.mesh->primitiveCount()) + " " +
               kindOf(self) + ">";
      });
  // Added here, where meshes are known.
  py::class_<NodeHandle> node(module.attr("Node"));
  node.def("meshes", &meshesOf, py::arg("level") = 0,
           R"(The meshes that a viewer shows of the object and of what is below it.

Each is decoded once, and kept while the file is open or somebody has it. Raises Error when one
cannot be read. level is that of detail, 0 the finest.)")
      .def(
          "add_mesh", &addMesh, py::call_guard<Locked>(), py::arg("positions"),
          py::arg("triangles"),
          R"(Adds triangles to an entity, in its unit of length: n x 3 numbers, m x 3 rows of these.

>>> corners = np.array([[0, 0, 0], [30, 0, 0], [0, 40, 0], [0, 0, 60]])
>>> component["Finger"].add_mesh(corners, [[0, 2, 1], [0, 1, 3], [1, 2, 3], [2, 0, 3]])
>>> component["Finger"].meshes()
[<jtw.Mesh, 4 triangles>])");
}

}  // namespace binding
