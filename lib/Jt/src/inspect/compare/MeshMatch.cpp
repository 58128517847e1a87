#include "MeshMatch.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

#include "Values.h"

namespace jt::compare_detail {

namespace {

/// One mesh as a list of primitives: triangles, polylines, single points.
class Primitives {
 public:
  explicit Primitives(const Mesh& mesh) : mesh_(mesh) {}

  std::size_t count() const noexcept {
    return mesh_.kind == Mesh::Kind::points ? mesh_.corners.size() : mesh_.primitiveCount();
  }
  /// Number of a primitive's first corner, and of its corners.
  std::pair<std::size_t, std::size_t> corners(std::size_t primitive) const {
    switch (mesh_.kind) {
      case Mesh::Kind::triangles:
        return {3 * primitive, 3};
      case Mesh::Kind::polylines:
        return {mesh_.starts[primitive], mesh_.starts[primitive + 1] - mesh_.starts[primitive]};
      case Mesh::Kind::points:
        break;
    }
    return {primitive, 1};
  }
  const Vec3f& position(std::size_t corner) const { return mesh_.positions[mesh_.corners[corner]]; }
  const Mesh& mesh() const noexcept { return mesh_; }

 private:
  const Mesh& mesh_;
};

template <class T, std::size_t N>
bool areClose(const std::array<T, N>& a, const std::array<T, N>& b, double tolerance) {
  return std::equal(a.begin(), a.end(), b.begin(),
                    [&](T x, T y) { return isClose(x, y, tolerance); });
}

/// @pre both meshes have the same attribute arrays
bool areCornersClose(const Primitives& a, std::size_t cornerA, const Primitives& b,
                     std::size_t cornerB, double tolerance) {
  if (!areClose(a.position(cornerA), b.position(cornerB), tolerance)) return false;
  const Mesh& meshA = a.mesh();
  const Mesh& meshB = b.mesh();
  if (meshA.records.empty() || meshB.records.empty()) return true;
  const std::size_t recordA = meshA.records[cornerA];
  const std::size_t recordB = meshB.records[cornerB];
  if (!meshA.normals.empty() &&
      !areClose(meshA.normals[recordA], meshB.normals[recordB], tolerance))
    return false;
  if (!meshA.colours.empty() &&
      !areClose(meshA.colours[recordA], meshB.colours[recordB], tolerance))
    return false;
  for (std::size_t i = 0; i < meshA.textures.size(); ++i) {
    const auto parts = static_cast<std::size_t>(meshA.textures[i].components);
    for (std::size_t part = 0; part < parts; ++part)
      if (!isClose(meshA.textures[i].values[recordA * parts + part],
                   meshB.textures[i].values[recordB * parts + part], tolerance))
        return false;
  }
  return true;
}

bool arePartners(const Primitives& a, std::size_t primitiveA, const Primitives& b,
                 std::size_t primitiveB, double tolerance) {
  const auto [firstA, countA] = a.corners(primitiveA);
  const auto [firstB, countB] = b.corners(primitiveB);
  if (countA != countB) return false;
  const std::size_t rotations = a.mesh().kind == Mesh::Kind::triangles ? 3 : 1;
  for (std::size_t rotation = 0; rotation < rotations; ++rotation) {
    bool fits = true;
    for (std::size_t i = 0; fits && i < countA; ++i)
      fits = areCornersClose(a, firstA + i, b, firstB + (i + rotation) % countB, tolerance);
    if (fits) return true;
  }
  return false;
}

std::uint64_t mix(std::uint64_t hash, std::uint64_t value) noexcept {
  hash = (hash ^ value) * 0x9e3779b97f4a7c15ULL;
  return hash ^ (hash >> 31);
}

/// Bits that are equal for equal numbers.
std::uint64_t exactBits(float value) noexcept {
  if (std::isnan(value)) return 1;
  return value == 0 ? 0 : std::bit_cast<std::uint32_t>(value);
}

/// Primitives of one mesh by where they are, so that partners are found near by.
class Places {
 public:
  Places(const Primitives& primitives, double tolerance) : tolerance_(tolerance) {
    rows_.reserve(primitives.count());
    for (std::size_t i = 0; i < primitives.count(); ++i)
      rows_.push_back(
          {isExact() ? exactKey(primitives, i) : cellKey(cellsOf(center(primitives, i))),
           static_cast<std::uint32_t>(i)});
    std::sort(rows_.begin(), rows_.end());
  }

  /// Calls visit(primitive) for what may be a partner of a primitive of another mesh, until it
  /// returns true. Whether it did.
  template <class Visit>
  bool anyNear(const Primitives& other, std::size_t primitive, Visit visit) const {
    if (isExact()) return anyInCell(exactKey(other, primitive), visit);
    const std::array<double, 3> middle = center(other, primitive);
    // A little more than the tolerance: sums are rounded.
    const double reach = tolerance_ * (1 + 1e-6);
    const Cells low = cellsOf({middle[0] - reach, middle[1] - reach, middle[2] - reach});
    const Cells high = cellsOf({middle[0] + reach, middle[1] + reach, middle[2] + reach});
    // Both ends along each axis: cells are wider than what is within reach.
    for (unsigned corner = 0; corner < 8; ++corner) {
      Cells cells = low;
      bool isNew = true;
      for (std::size_t axis = 0; axis < 3; ++axis) {
        if (((corner >> axis) & 1U) == 0) continue;
        isNew = isNew && high[axis] != low[axis];
        cells[axis] = high[axis];
      }
      if (isNew && anyInCell(cellKey(cells), visit)) return true;
    }
    return false;
  }

 private:
  using Cells = std::array<std::int64_t, 3>;
  using Row = std::pair<std::uint64_t, std::uint32_t>;

  bool isExact() const noexcept { return tolerance_ == 0; }

  /// The same for every rotation.
  static std::uint64_t exactKey(const Primitives& primitives, std::size_t primitive) {
    const auto [first, count] = primitives.corners(primitive);
    std::uint64_t sum = count;
    for (std::size_t i = 0; i < count; ++i) {
      std::uint64_t hash = 0;
      for (const float value : primitives.position(first + i)) hash = mix(hash, exactBits(value));
      sum += hash;
    }
    return sum;
  }

  /// Of all corners: no farther from that of a partner than the corners are.
  static std::array<double, 3> center(const Primitives& primitives, std::size_t primitive) {
    const auto [first, count] = primitives.corners(primitive);
    std::array<double, 3> middle{};
    for (std::size_t i = 0; i < count; ++i)
      for (std::size_t axis = 0; axis < 3; ++axis)
        middle[axis] += static_cast<double>(primitives.position(first + i)[axis]);
    for (double& value : middle) value /= static_cast<double>(std::max<std::size_t>(count, 1));
    return middle;
  }

  Cells cellsOf(const std::array<double, 3>& place) const {
    constexpr double kMost = 4e18;  // what cannot be told apart any more shares a cell
    Cells cells{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double cell = std::floor(place[axis] / (4 * tolerance_));
      cells[axis] =
          std::isnan(cell) ? 0 : static_cast<std::int64_t>(std::clamp(cell, -kMost, kMost));
    }
    return cells;
  }

  static std::uint64_t cellKey(const Cells& cells) {
    std::uint64_t hash = 0;
    for (const std::int64_t cell : cells) hash = mix(hash, static_cast<std::uint64_t>(cell));
    return hash;
  }

  template <class Visit>
  bool anyInCell(std::uint64_t key, Visit visit) const {
    for (auto row = std::lower_bound(rows_.begin(), rows_.end(), Row{key, 0});
         row != rows_.end() && row->first == key; ++row)
      if (visit(row->second)) return true;
    return false;
  }

  double tolerance_;
  std::vector<Row> rows_;
};

/// Primitives of `a` that have no partner in `b`: their number, and the first one.
struct Lonely {
  std::size_t count = 0;
  std::size_t first = 0;
  bool gaveUp = false;  ///< too many candidates
};

/// @param work candidates that may still be looked at
Lonely lonely(const Primitives& a, const Primitives& b, double tolerance, std::size_t& work) {
  const Places places(b, tolerance);
  std::vector<bool> taken(tolerance == 0 ? b.count() : 0);
  Lonely result;
  for (std::size_t i = 0; i < a.count() && !result.gaveUp; ++i) {
    const bool found = places.anyNear(a, i, [&](std::size_t candidate) {
      result.gaveUp = work == 0;
      if (result.gaveUp) return true;
      --work;
      if (!taken.empty() && taken[candidate]) return false;
      if (!arePartners(a, i, b, candidate, tolerance)) return false;
      if (!taken.empty()) taken[candidate] = true;
      return true;
    });
    if (found) continue;
    if (result.count++ == 0) result.first = i;
  }
  return result;
}

const char* noun(Mesh::Kind kind) {
  switch (kind) {
    case Mesh::Kind::triangles:
      return " triangles";
    case Mesh::Kind::polylines:
      return " polylines";
    case Mesh::Kind::points:
      break;
  }
  return " points";
}

std::string summary(const Primitives& primitives) {
  const Mesh& mesh = primitives.mesh();
  std::string text = std::to_string(primitives.count()) + noun(mesh.kind);
  if (!mesh.normals.empty()) text += ", normals";
  if (!mesh.colours.empty()) text += ", colours";
  for (const Mesh::TextureChannel& texture : mesh.textures)
    text += ", texture " + std::to_string(texture.channel) + " of " +
            std::to_string(texture.components);
  return text;
}

std::string lonelyText(const Lonely& lonely) {
  if (lonely.gaveUp) return "; too many lie within the tolerance to be told apart";
  if (lonely.count == 0) return {};
  return "; without partner: " + std::to_string(lonely.count) + ", the first is number " +
         std::to_string(lonely.first);
}

}  // namespace

std::optional<std::pair<std::string, std::string>> meshDifference(const Mesh& a, const Mesh& b,
                                                                  double tolerance) {
  const Primitives primitivesA(a);
  const Primitives primitivesB(b);
  std::pair texts(summary(primitivesA), summary(primitivesB));
  if (texts.first != texts.second) return texts;  // kind, count or attributes
  std::size_t ahead = 0;  // most meshes that are the same stand in the same order
  while (ahead < primitivesA.count() &&
         arePartners(primitivesA, ahead, primitivesB, ahead, tolerance))
    ++ahead;
  if (ahead == primitivesA.count()) return {};

  // Where the tolerance is greater than the primitives, very many are near each other.
  constexpr std::size_t kCandidatesEach = 256;
  std::size_t work = kCandidatesEach * (primitivesA.count() + 1024);
  const Lonely lonelyA = lonely(primitivesA, primitivesB, tolerance, work);
  const Lonely lonelyB = lonely(primitivesB, primitivesA, tolerance, work);
  texts.first += lonelyText(lonelyA);
  texts.second += lonelyText(lonelyB);
  const bool haveAll = lonelyA.count + lonelyB.count == 0 && !lonelyA.gaveUp && !lonelyB.gaveUp;
  return haveAll ? std::nullopt : std::optional(texts);
}

}  // namespace jt::compare_detail
