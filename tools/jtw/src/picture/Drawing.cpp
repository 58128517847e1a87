#include "Drawing.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <unordered_map>

#include "Annotations.h"
#include "Failure.h"
#include "Jt.h"
#include "JtDrawing.h"
#include "JtMesh.h"
#include "JtwLeaf.h"

namespace tool {
namespace {

constexpr std::uint64_t kNodesOfPlace = 8;  // groups, instances, levels of detail

/// What a mesh comes from: one of them.
struct Source {
  JtShape* shape;
  VisPartNode* partWithWires;

  std::shared_ptr<const jt::Mesh> mesh() const {
    return shape ? shape->mesh() : jt::wireMesh(*partWithWires);
  }
};

/// A mesh to be drawn, with its own material or that of the path.
struct Item {
  std::size_t mesh;  ///< in the list of different ones
  bool isWires;
  jt::Matrix4 toRoot;
  Color color;
  bool usesVertexColors;
};

class Scene {
 public:
  Scene(JtPartition& partition, const DrawingRequest& request) : most_(request.mostPlaces) {
    jt::DrawingOptions options{.levelOfDetail = request.levelOfDetail,
                               .maxPaths = std::max(most_, kNodesOfPlace * most_)};
    options.isHidden = [](const JtNode& node) { return !JtwLeaf::isDisplayed(&node); };
    if (request.withAnnotations)
      options.onNode = [this](JtNode& node, const jt::Matrix4& toRoot) {
        if (!isFull()) annotations_.add(node, toRoot);
      };
    if (request.withWires)
      options.onWires = [this](const jt::DrawnWires& drawn) {
        add(drawn.part, {nullptr, drawn.part}, drawn.material, *drawn.toRoot);
      };
    const bool complete =
        jt::visitDrawnShapes(partition, options, [this](const jt::DrawnShape& drawn) {
          return add(drawn.shape, {drawn.shape, nullptr}, drawn.material, *drawn.toRoot);
        });
    if (!complete || isFull())
      throw Failure(ExitCode::input, "too_many_places",
                    "the scene graph unfolds into more than " + std::to_string(most_) +
                        " objects, each counted where it occurs; option: --max-places");
  }

  /// Decodes each shape once, on `jobs` threads.
  void decode(unsigned jobs, const std::function<void(double)>& progress,
              std::vector<std::string>& damaged);

  const std::vector<Item>& items() const noexcept { return items_; }
  const Annotations& annotations() const noexcept { return annotations_; }
  const jt::Mesh* mesh(const Item& item) const { return meshes_[item.mesh].get(); }

 private:
  bool isFull() const noexcept { return items_.size() + annotations_.occurrences() > most_; }
  /// @param node the shape, or the part that has the wires
  bool add(const JtNode* node, const Source& source, const JtMaterial* material,
           const jt::Matrix4& toRoot) {
    if (isFull()) return false;
    const auto [known, isNew] = indices_.try_emplace(node, sources_.size());
    if (isNew) sources_.push_back(source);
    constexpr Color kNoMaterial{0.72F, 0.74F, 0.78F, 1};
    items_.push_back({known->second, !source.shape, toRoot,
                      material ? material->diffuse() : kNoMaterial,
                      !material || !material->overrideVertexColors()});
    return true;
  }

  const std::uint64_t most_;
  std::unordered_map<const JtNode*, std::size_t> indices_;
  std::vector<Source> sources_;
  std::vector<std::shared_ptr<const jt::Mesh>> meshes_;
  std::vector<Item> items_;
  Annotations annotations_;
};

void Scene::decode(unsigned jobs, const std::function<void(double)>& progress,
                   std::vector<std::string>& damaged) {
  meshes_.resize(sources_.size());
  std::atomic<std::size_t> next{0};
  std::mutex reporting;
  const auto work = [&](bool reports) {
    for (std::size_t i = next++; i < sources_.size(); i = next++) {
      jt::setLastError({});
      meshes_[i] = sources_[i].mesh();
      const std::string error = meshes_[i] ? meshes_[i]->flaw() : jt::lastError();
      if (!error.empty()) {
        meshes_[i].reset();
        const std::lock_guard lock(reporting);
        damaged.push_back(error);
      }
      if (reports) progress(static_cast<double>(i + 1) / static_cast<double>(sources_.size()));
    }
  };
  std::vector<std::jthread> helpers;
  for (unsigned job = 1; job < std::min<std::size_t>(jobs, sources_.size()); ++job)
    helpers.emplace_back(work, false);
  work(true);
}

/// Puts the geometry of one item in front of a camera.
class Placement {
 public:
  Placement(const Camera& camera, const jt::Matrix4& toRoot) : camera_(camera) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const Vector row{toRoot[axis * 4], toRoot[axis * 4 + 1], toRoot[axis * 4 + 2]};
      axes_[axis] = camera.inView(row);
    }
    origin_ = camera.inView({toRoot[12], toRoot[13], toRoot[14]});
    // Normals go by the cofactors, so that they stay square to a surface that is stretched.
    for (std::size_t axis = 0; axis < 3; ++axis)
      normalAxes_[axis] = cross(axes_[(axis + 1) % 3], axes_[(axis + 2) % 3]);
  }

  Vector inView(const jt::Vec3f& p) const {
    Vector result = combined(axes_, p);
    for (std::size_t i = 0; i < 3; ++i) result[i] += origin_[i];
    return result;
  }
  Vector onScreen(const jt::Vec3f& p) const { return camera_.onScreen(inView(p)); }
  Vector normal(const jt::Vec3f& n) const { return combined(normalAxes_, n); }

 private:
  static Vector combined(const std::array<Vector, 3>& axes, const jt::Vec3f& v) {
    Vector result{};
    for (std::size_t axis = 0; axis < 3; ++axis)
      for (std::size_t i = 0; i < 3; ++i) result[i] += static_cast<double>(v[axis]) * axes[axis][i];
    return result;
  }

  const Camera& camera_;
  std::array<Vector, 3> axes_;
  std::array<Vector, 3> normalAxes_;
  Vector origin_;
};

/// Draws the meshes of a scene.
class Painter {
 public:
  Painter(Rasterizer& canvas, const Camera& camera) : canvas_(canvas), camera_(camera) {}

  void paint(const Item& item, const jt::Mesh& mesh) {
    const Placement placement(camera_, item.toRoot);
    if (mesh.kind == jt::Mesh::Kind::triangles) {
      paintTriangles(item, mesh, placement);
      return;
    }
    const bool lines = mesh.kind == jt::Mesh::Kind::polylines;
    for (std::size_t i = 0; i + 1 < mesh.starts.size(); ++i)
      for (std::size_t corner = mesh.starts[i]; corner < mesh.starts[i + 1]; ++corner)
        paintCorner(item, mesh, placement, corner, lines && corner > mesh.starts[i]);
  }

 private:
  static Color colorOf(const Item& item, const jt::Mesh& mesh, std::size_t corner) {
    if (mesh.colors.empty() || !item.usesVertexColors) return item.color;
    return mesh.colors[mesh.records[corner]];
  }

  void paintTriangles(const Item& item, const jt::Mesh& mesh, const Placement& placement) {
    for (std::size_t first = 0; first + 2 < mesh.corners.size(); first += 3) {
      std::array<Corner, 3> corners;
      for (std::size_t i = 0; i < 3; ++i) {
        corners[i].place = placement.onScreen(mesh.positions[mesh.corners[first + i]]);
        corners[i].color = colorOf(item, mesh, first + i);
      }
      const Vector flat = flatNormal(corners);
      for (std::size_t i = 0; i < 3; ++i) {
        Vector normal{};
        if (!mesh.normals.empty())
          normal = unit(placement.normal(mesh.normals[mesh.records[first + i]]));
        const double length = dot(normal, normal);
        corners[i].normal = length > 0.5 && length < 2 ? normal : flat;
      }
      canvas_.triangle(corners[0], corners[1], corners[2]);
    }
  }

  /// Square to the triangle, in view coordinates: on the screen y goes down, and the depth has
  /// another scale than the picture.
  Vector flatNormal(const std::array<Corner, 3>& corners) const {
    const auto edge = [&](std::size_t to) {
      const Vector& a = corners[0].place;
      const Vector& b = corners[to].place;
      return Vector{b[0] - a[0], a[1] - b[1], (b[2] - a[2]) * camera_.scale()};
    };
    return unit(cross(edge(1), edge(2)));
  }

  void paintCorner(const Item& item, const jt::Mesh& mesh, const Placement& placement,
                   std::size_t corner, bool joined) {
    const Vector place = placement.onScreen(mesh.positions[mesh.corners[corner]]);
    const Color color = colorOf(item, mesh, corner);
    if (joined) {
      canvas_.line(placement.onScreen(mesh.positions[mesh.corners[corner - 1]]), place, color);
    } else {
      canvas_.point(place, color);
    }
  }

  Rasterizer& canvas_;
  const Camera& camera_;
};

bool isOpaque(const Item& item) { return item.color[3] >= 0.996F; }

void count(const Item& item, const jt::Mesh& mesh, Drawing& drawing) {
  if (item.isWires) {
    drawing.wires += mesh.primitiveCount();
    return;
  }
  ++drawing.shapes;
  std::size_t& primitives = mesh.kind == jt::Mesh::Kind::triangles   ? drawing.triangles
                            : mesh.kind == jt::Mesh::Kind::polylines ? drawing.polylines
                                                                     : drawing.points;
  primitives += mesh.primitiveCount();
}

}  // namespace

Drawing drawScene(JtPartition& partition, const DrawingRequest& request,
                  const std::function<void(double)>& progress) {
  Camera camera(request.view);
  Drawing drawing;
  Scene scene(partition, request);
  scene.decode(
      request.jobs, [&progress](double share) { progress(share / 2); }, drawing.damaged);

  for (const Item& item : scene.items()) {
    const jt::Mesh* mesh = scene.mesh(item);
    if (!mesh) continue;
    const Placement placement(camera, item.toRoot);
    for (const jt::Vec3f& position : mesh->positions) camera.include(placement.inView(position));
  }
  scene.annotations().include(camera);
  Rasterizer canvas(request.width, request.height, request.background);
  camera.fit(canvas.width(), canvas.height());

  Painter painter(canvas, camera);
  std::size_t painted = 0;
  for (const Rasterizer::Pass pass :
       {Rasterizer::Pass::opaque, Rasterizer::Pass::nearest, Rasterizer::Pass::mix}) {
    canvas.begin(pass);
    if (pass == Rasterizer::Pass::opaque)
      scene.annotations().draw(canvas, camera, canvas.width() / static_cast<double>(request.width));
    for (const Item& item : scene.items()) {
      if (isOpaque(item) != (pass == Rasterizer::Pass::opaque)) continue;
      if (const jt::Mesh* mesh = scene.mesh(item)) painter.paint(item, *mesh);
      if (pass != Rasterizer::Pass::nearest)
        progress(0.5 +
                 0.5 * static_cast<double>(++painted) / static_cast<double>(scene.items().size()));
    }
  }
  for (const Item& item : scene.items())
    if (const jt::Mesh* mesh = scene.mesh(item)) count(item, *mesh, drawing);
  drawing.annotationLines = scene.annotations().size();
  drawing.image = canvas.image();
  return drawing;
}

}  // namespace tool
