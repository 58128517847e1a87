#include "Painter.h"

#include <algorithm>
#include <cmath>

#include "JtParallel.h"

namespace tool {
namespace {

constexpr std::size_t kPieceOfWork = 16'384;  // triangles, segments or points
constexpr double kEdgeLift = 3;               // samples
constexpr Color kEdge{0.08F, 0.08F, 0.1F, 1};

/// A corner of a triangle before it is on the canvas.
struct Vertex {
  Vector place;  // in view coordinates
  std::array<float, 3> normal;
  Color color;
  std::array<float, 2> coordinates;
};

template <std::size_t N>
std::array<float, N> between(const std::array<float, N>& a, const std::array<float, N>& b,
                             float t) {
  std::array<float, N> result;
  for (std::size_t i = 0; i < N; ++i) result[i] = a[i] + (b[i] - a[i]) * t;
  return result;
}

Vertex mix(const Vertex& a, const Vertex& b, double t) {
  const auto share = static_cast<float>(t);
  return {plus(a.place, minus(b.place, a.place), t), between(a.normal, b.normal, share),
          between(a.color, b.color, share), between(a.coordinates, b.coordinates, share)};
}

/// Puts the geometry of one item in front of a camera.
class Placement {
 public:
  Placement(const Camera& camera, const jt::Matrix4& toRoot) {
    for (std::size_t axis = 0; axis < 3; ++axis)
      axes_[axis] = camera.inView({toRoot[axis * 4], toRoot[axis * 4 + 1], toRoot[axis * 4 + 2]});
    origin_ = camera.inView({toRoot[12], toRoot[13], toRoot[14]});
    // Normals go by the cofactors, so that they stay square to a surface that is stretched.
    for (std::size_t axis = 0; axis < 3; ++axis)
      normalAxes_[axis] = cross(axes_[(axis + 1) % 3], axes_[(axis + 2) % 3]);
    isMirrored_ = dot(axes_[0], normalAxes_[0]) < 0;
  }

  Vector inView(const jt::Vec3f& p) const { return plus(combined(axes_, p), origin_); }
  Vector normal(const jt::Vec3f& n) const { return combined(normalAxes_, n); }
  bool isMirrored() const noexcept { return isMirrored_; }

 private:
  static Vector combined(const std::array<Vector, 3>& axes, const jt::Vec3f& v) {
    Vector result{};
    for (std::size_t axis = 0; axis < 3; ++axis)
      for (std::size_t i = 0; i < 3; ++i) result[i] += static_cast<double>(v[axis]) * axes[axis][i];
    return result;
  }

  std::array<Vector, 3> axes_;
  std::array<Vector, 3> normalAxes_;
  Vector origin_;
  bool isMirrored_;
};

/// Makes a list of the pieces of items.
class DrawListMaker {
 public:
  DrawListMaker(const Camera& camera, std::span<const HalfSpace> spaces, bool isCut, DrawList& list)
      : camera_(camera), spaces_(spaces), isCut_(isCut), list_(list) {}

  /// @param withContour also where they are cut, as edges
  void addTriangles(const Item& item, const jt::Mesh& mesh, std::size_t first, std::size_t end,
                    bool withContour) {
    const Placement placement(camera_, item.toRoot);
    const jt::Mesh::TextureChannel* coordinates = coordinatesOf(item, mesh);
    for (std::size_t i = first; i < end; ++i) {
      std::array<Vertex, 3> vertices;
      for (std::size_t k = 0; k < 3; ++k) {
        const std::size_t corner = i * 3 + k;
        vertices[k].place = placement.inView(mesh.positions[mesh.corners[corner]]);
        vertices[k].color = colorOf(item, mesh, corner);
        vertices[k].coordinates =
            coordinates ? coordinatesAt(*item.texture, *coordinates, mesh.records[corner])
                        : std::array<float, 2>{};
      }
      const Vector flat = flatNormal(vertices, placement);
      for (std::size_t k = 0; k < 3; ++k) {
        Vector normal{};
        if (!mesh.normals.empty())
          normal = unit(placement.normal(mesh.normals[mesh.records[i * 3 + k]]));
        const double length = dot(normal, normal);
        if (!(length > 0.5 && length < 2)) normal = flat;
        for (std::size_t axis = 0; axis < 3; ++axis)
          vertices[k].normal[axis] = static_cast<float>(normal[axis]);
      }
      add(vertices, coordinates ? item.texture->texture.get() : nullptr, placement.isMirrored(),
          withContour);
    }
  }

  void addLines(const Item& item, const jt::Mesh& mesh, std::size_t first, std::size_t end) {
    const Placement placement(camera_, item.toRoot);
    for (std::size_t line = first; line < end; ++line)
      for (std::size_t i = mesh.starts[line]; i + 1 < mesh.starts[line + 1]; ++i)
        add(placement.inView(mesh.positions[mesh.corners[i]]),
            placement.inView(mesh.positions[mesh.corners[i + 1]]), colorOf(item, mesh, i),
            item.lineWidth);
  }

  void addPoints(const Item& item, const jt::Mesh& mesh, std::size_t first, std::size_t end) {
    const Placement placement(camera_, item.toRoot);
    for (std::size_t i = mesh.starts[first]; i < mesh.starts[end]; ++i) {
      const Vector place = placement.inView(mesh.positions[mesh.corners[i]]);
      const auto isOutside = [&place](const HalfSpace& s) { return !(s.outside(place) <= 0); };
      if (!isFinite(place) || std::ranges::any_of(spaces_, isOutside)) continue;
      list_.dots.push_back(
          {camera_.onScreen(place), opaque(colorOf(item, mesh, i)), item.pointSize});
    }
  }

  void addEdges(const Item& item, const jt::Mesh& mesh, std::span<const Edge> edges) {
    const Placement placement(camera_, item.toRoot);
    for (const auto& [from, to] : edges)
      add(camera_.raised(placement.inView(mesh.positions[from]), kEdgeLift),
          camera_.raised(placement.inView(mesh.positions[to]), kEdgeLift), kEdge, 1);
  }

 private:
  static Color opaque(const Color& color) { return {color[0], color[1], color[2], 1}; }

  static Color colorOf(const Item& item, const jt::Mesh& mesh, std::size_t corner) {
    if (mesh.colors.empty() || !item.usesVertexColors) return item.color;
    return mesh.colors[mesh.records[corner]];
  }

  static const jt::Mesh::TextureChannel* coordinatesOf(const Item& item, const jt::Mesh& mesh) {
    if (!item.texture) return nullptr;
    const auto found =
        std::ranges::find(mesh.textures, item.texture->channel, &jt::Mesh::TextureChannel::channel);
    return found != mesh.textures.end() && found->components >= 2 ? &*found : nullptr;
  }

  static std::array<float, 2> coordinatesAt(const PlacedTexture& texture,
                                            const jt::Mesh::TextureChannel& channel,
                                            std::uint32_t record) {
    const float* at = &channel.values[record * static_cast<std::size_t>(channel.components)];
    const auto& m = texture.transform;
    const auto row = [&](std::size_t i) { return at[0] * m[i] + at[1] * m[4 + i] + m[12 + i]; };
    const float share = row(3) != 0 ? row(3) : 1;
    return {row(0) / share, row(1) / share};
  }

  static Vector flatNormal(const std::array<Vertex, 3>& v, const Placement& placement) {
    const Vector normal = unit(cross(minus(v[1].place, v[0].place), minus(v[2].place, v[0].place)));
    return placement.isMirrored() ? minus({}, normal) : normal;
  }

  /// Where a polygon was cut.
  void addContour() {
    const double near = 0.05 / camera_.scale();
    const auto isOnPlane = [&](const Vertex& v) {
      return std::abs(spaces_.back().outside(v.place)) < near;
    };
    for (std::size_t i = 0; i < polygon_.size(); ++i) {
      const Vertex& a = polygon_[i];
      const Vertex& b = polygon_[(i + 1) % polygon_.size()];
      if (isOnPlane(a) && isOnPlane(b))
        list_.lines.push_back({camera_.onScreen(camera_.raised(a.place, kEdgeLift)),
                               camera_.onScreen(camera_.raised(b.place, kEdgeLift)), kEdge, 1});
    }
  }

  void add(const std::array<Vertex, 3>& vertices, const Texture* texture, bool isMirrored,
           bool withContour) {
    for (const Vertex& vertex : vertices)
      if (!isFinite(vertex.place)) return;
    const auto isOutside = [&](const HalfSpace& space) {
      return std::ranges::any_of(vertices,
                                 [&](const Vertex& v) { return space.outside(v.place) > 0; });
    };
    if (!std::ranges::any_of(spaces_, isOutside)) {
      add(vertices[0], vertices[1], vertices[2], texture, isMirrored);
      return;
    }
    polygon_.assign(vertices.begin(), vertices.end());
    clip(polygon_, spaces_);
    if (withContour) addContour();
    for (std::size_t i = 2; i < polygon_.size(); ++i)
      add(polygon_[0], polygon_[i - 1], polygon_[i], texture, isMirrored);
  }

  void add(const Vertex& a, const Vertex& b, const Vertex& c, const Texture* texture,
           bool isMirrored) {
    Triangle& made = list_.triangles.emplace_back();
    made.texture = texture;
    made.isMatter = false;
    const Vertex* from[] = {&a, &b, &c};
    for (std::size_t i = 0; i < 3; ++i)
      made.corners[i] = {camera_.onScreen(from[i]->place), from[i]->normal, from[i]->color,
                         from[i]->coordinates};
    if (!isCut_) return;
    const auto& [p, q, r] = made.corners;
    // On the canvas y goes down: what is counter-clockwise looks at the eye with a negative area.
    const double area = (q.place[0] - p.place[0]) * (r.place[1] - p.place[1]) -
                        (q.place[1] - p.place[1]) * (r.place[0] - p.place[0]);
    if ((area > 0) == isMirrored) return;
    constexpr float kMatter = 0.62F;
    made.isMatter = true;
    made.texture = nullptr;
    for (Corner& corner : made.corners)
      for (std::size_t i = 0; i < 3; ++i) corner.color[i] *= kMatter;
  }

  void add(Vector from, Vector to, const Color& color, float width) {
    if (!isFinite(from) || !isFinite(to) || !clip(from, to, spaces_)) return;
    list_.lines.push_back({camera_.onScreen(from), camera_.onScreen(to), opaque(color), width});
  }

  const Camera& camera_;
  std::span<const HalfSpace> spaces_;
  bool isCut_;
  DrawList& list_;
  std::vector<Vertex> polygon_;
};

}  // namespace

Painter::Painter(Rasterizer& canvas, const Camera& camera, const std::optional<HalfSpace>& section,
                 unsigned jobs)
    : canvas_(canvas), camera_(camera), section_(section), jobs_(jobs) {
  if (camera.hasPerspective()) spaces_.push_back({{0, 0, 1}, camera.nearLimit()});
  if (section) spaces_.push_back(*section);
}

std::vector<Painter::Work> Painter::divide(const Scene& scene, Kind kind) const {
  std::vector<Work> all(1);
  const auto add = [&all](const Piece& piece, std::size_t size) {
    if (all.back().size > 0 && all.back().size + size > kPieceOfWork) all.emplace_back();
    all.back().pieces.push_back(piece);
    all.back().size += size;
  };
  for (const Item& item : scene.items()) {
    const jt::Mesh* mesh = scene.mesh(item);
    if (!mesh) continue;
    const bool isSurface = mesh->kind == jt::Mesh::Kind::triangles;
    if (kind == Kind::lines) {
      const auto edges = scene.edges(item);
      if (!edges.empty()) add({&item, mesh, edges, 0, 0}, edges.size());
      // Lines and points have no translucency.
      if (!isSurface) add({&item, mesh, {}, 0, mesh->primitiveCount()}, mesh->corners.size());
      continue;
    }
    if (!isSurface || item.isOpaque() != (kind == Kind::opaque)) continue;
    const std::size_t count = mesh->primitiveCount();
    for (std::size_t first = 0; first < count; first += kPieceOfWork) {
      const std::size_t end = std::min(count, first + kPieceOfWork);
      add({&item, mesh, {}, first, end}, end - first);
    }
  }
  return all;
}

void Painter::paint(std::span<const DrawList> lists) {
  const std::size_t bands = jobs_ > 1 ? std::size_t{jobs_} * 4 : 1;
  jt::inParallel(jobs_, bands, [&](std::size_t i) {
    for (const DrawList& list : lists) canvas_.draw(list, canvas_.band(i, bands));
  });
}

void Painter::paint(const DrawList& list) { paint(std::span(&list, 1)); }

void Painter::paint(const Scene& scene, Rasterizer::Pass pass,
                    const std::function<void(double)>& progress) {
  canvas_.begin(pass);
  if (pass != Rasterizer::Pass::opaque) return paint(scene, Kind::translucent, progress);
  paint(scene, Kind::opaque, progress);
  if (section_) liftMatter();
  paint(scene, Kind::lines, [](double) {});
}

void Painter::paint(const Scene& scene, Kind kind, const std::function<void(double)>& progress) {
  const std::vector<Work> all = divide(scene, kind);
  // As many at a time as keep the threads busy and the memory small.
  const std::size_t group = std::size_t{std::max(1U, jobs_)} * 2;
  std::vector<DrawList> lists(group);
  for (std::size_t first = 0; first < all.size(); first += group) {
    const std::size_t count = std::min(group, all.size() - first);
    jt::inParallel(jobs_, count, [&](std::size_t i) {
      DrawList& list = lists[i];
      list.triangles.clear();
      list.lines.clear();
      list.dots.clear();
      DrawListMaker maker(camera_, spaces_, section_ && kind == Kind::opaque, list);
      for (const Piece& piece : all[first + i].pieces) {
        const Item& item = *piece.item;
        if (!piece.edges.empty())
          maker.addEdges(item, *piece.mesh, piece.edges);
        else if (piece.mesh->kind == jt::Mesh::Kind::triangles)
          maker.addTriangles(item, *piece.mesh, piece.first, piece.end,
                             section_ && !scene.edges(item).empty());
        else if (piece.mesh->kind == jt::Mesh::Kind::polylines)
          maker.addLines(item, *piece.mesh, piece.first, piece.end);
        else
          maker.addPoints(item, *piece.mesh, piece.first, piece.end);
      }
    });
    paint(std::span(lists).first(count));
    progress(static_cast<double>(first + count) / static_cast<double>(all.size()));
  }
}

void Painter::liftMatter() {
  // Three places on the plane give its depth everywhere in the picture.
  const Vector& n = section_->normal;
  const Vector middle = plus({}, n, section_->offset / dot(n, n));
  const Vector side = unit(std::abs(n[0]) < 0.5 ? cross(n, {1, 0, 0}) : cross(n, {0, 1, 0}));
  const double length = 1 / camera_.scale();
  std::array<Vector, 3> places{middle, plus(middle, side, length),
                               plus(middle, unit(cross(n, side)), length)};
  for (Vector& place : places) {
    if (camera_.hasPerspective() && !(place[2] < camera_.nearLimit())) return;
    place = camera_.onScreen(place);
  }
  const Vector u = minus(places[1], places[0]);
  const Vector v = minus(places[2], places[0]);
  const Vector across = cross(u, v);
  constexpr double kAlong = 1e-6;
  if (!(std::abs(across[2]) > kAlong)) return;  // seen from the side, it covers nothing
  const double x = -across[0] / across[2];
  const double y = -across[1] / across[2];
  canvas_.liftMatter({x, y, places[0][2] - x * places[0][0] - y * places[0][1]});
}

}  // namespace tool
