#include "inspect/compare/MeshMatch.h"

#include <algorithm>
#include <vector>

#include "JtFormatError.h"
#include "inspect/compare/PrimitiveGrid.h"
#include "inspect/compare/Primitives.h"

namespace jt::compare_detail {

namespace {

/// Limits how many pairs of primitives are looked at. Real meshes need a few a primitive.
class Work {
 public:
  explicit Work(std::size_t primitives) : left_(kPairsEach * (primitives + 1024)) {}

  /// False when the limit is reached and the answer is known all the same; without an answer the
  /// limit is an error.
  bool take() {
    if (left_ > 0) {
      --left_;
      return true;
    }
    if (!isDifferent_)
      throw JtFormatError("too_complex",
                          "too many primitives of a shape lie within the tolerance of each other");
    return false;
  }
  /// The answer is known; what is not is how many primitives have no partner.
  void foundDifference() {
    if (!isDifferent_) left_ /= 16;
    isDifferent_ = true;
  }

 private:
  static constexpr std::size_t kPairsEach = 1024;
  std::size_t left_;
  bool isDifferent_ = false;
};

/// One of two meshes, and which of its primitives have a partner in the other one.
struct Side {
  explicit Side(const Mesh& mesh)
      : primitives(mesh), hasPartner(primitives.count()), lonely(primitives.count()) {}
  void mark(std::size_t primitive) {
    if (!hasPartner[primitive]) --lonely;
    hasPartner[primitive] = true;
  }

  Primitives primitives;
  std::vector<bool> hasPartner;
  std::size_t lonely;      ///< primitives without partner
  bool isSearched = true;  ///< false: the search was given up, some of them may have one
};

/// Each primitive with the one of the same number.
void matchInOrder(Side& a, Side& b, const Tolerance& tolerance) {
  for (std::size_t i = 0; i < a.hasPartner.size(); ++i)
    if (!a.hasPartner[i] && !b.hasPartner[i] &&
        arePartners(a.primitives, i, b.primitives, i, tolerance)) {
      a.mark(i);
      b.mark(i);
    }
}

/// Primitives that are equal, one to one.
void matchEqual(Side& a, Side& b, Work& work) {
  constexpr std::uint32_t kEnd = 0xffffffffU;
  struct Entry {
    std::uint64_t hash;
    std::uint32_t primitive;
    std::uint32_t next;  // in the same slot
  };
  std::size_t slots = 16;
  while (slots < b.lonely) slots *= 2;
  std::vector<std::uint32_t> heads(slots, kEnd);
  std::vector<Entry> entries;
  entries.reserve(b.lonely);
  for (std::size_t i = b.hasPartner.size(); i-- > 0;) {
    if (b.hasPartner[i]) continue;
    const std::uint64_t hash = b.primitives.hash(i);
    std::uint32_t& head = heads[hash & (slots - 1)];
    entries.push_back({hash, static_cast<std::uint32_t>(i), head});
    head = static_cast<std::uint32_t>(entries.size() - 1);
  }
  for (std::size_t i = 0; i < a.hasPartner.size(); ++i) {
    if (a.hasPartner[i]) continue;
    const std::uint64_t hash = a.primitives.hash(i);
    // Entries that were matched are taken out of their list.
    for (std::uint32_t* at = &heads[hash & (slots - 1)]; *at != kEnd; at = &entries[*at].next) {
      const Entry& entry = entries[*at];
      if (!work.take()) return;
      if (entry.hash != hash || !arePartners(a.primitives, i, b.primitives, entry.primitive, {}))
        continue;
      a.mark(i);
      b.mark(entry.primitive);
      *at = entry.next;
      break;
    }
  }
}

/// A partner within the tolerance for each primitive of `a` that has none, whether it is one's
/// already or not.
void matchNear(Side& a, Side& b, const Tolerance& tolerance, Work& work) {
  if (a.lonely == 0) return;
  const PrimitiveGrid grid(b.primitives, tolerance.length);
  for (std::size_t i = 0; i < a.hasPartner.size() && a.isSearched; ++i) {
    if (a.hasPartner[i]) continue;
    const bool isDecided = grid.findNear(a.primitives.center(i), [&](std::uint32_t candidate) {
      a.isSearched = work.take();
      if (!a.isSearched) return true;
      if (!arePartners(a.primitives, i, b.primitives, candidate, tolerance)) return false;
      a.mark(i);
      b.mark(candidate);
      return true;
    });
    if (!isDecided) work.foundDifference();
  }
}

const char* noun(Mesh::Kind kind) {
  switch (kind) {
    case Mesh::Kind::triangles:
      return "triangles";
    case Mesh::Kind::polylines:
      return "polylines";
    case Mesh::Kind::points:
      break;
  }
  return "points";
}

std::string summary(const Primitives& primitives) {
  const Mesh& mesh = primitives.mesh();
  std::string text = std::to_string(primitives.count()) + " " + noun(mesh.kind);
  if (!mesh.normals.empty()) text += ", normals";
  if (!mesh.colors.empty()) text += ", colors";
  for (const Mesh::TextureChannel& texture : mesh.textures)
    text += ", texture " + std::to_string(texture.channel) + " of " +
            std::to_string(texture.components);
  return text;
}

std::vector<ComparedCount> countsOf(const Primitives& a, const Primitives& b) {
  std::vector<ComparedCount> counts;
  const auto add = [&](const char* name, auto count) {
    const ComparedCount found{name, count(a), count(b)};
    if (found.a + found.b > 0) counts.push_back(found);
  };
  for (const auto kind : {Mesh::Kind::triangles, Mesh::Kind::polylines, Mesh::Kind::points})
    add(noun(kind), [&](const Primitives& side) {
      return side.mesh().kind == kind ? std::uint64_t{side.count()} : 0;
    });
  add("vertices", [](const Primitives& side) { return side.mesh().positions.size(); });
  add("normals", [](const Primitives& side) { return side.mesh().normals.size(); });
  add("colors", [](const Primitives& side) { return side.mesh().colors.size(); });
  add("textureCoordinates", [](const Primitives& side) {
    std::uint64_t count = 0;
    for (const Mesh::TextureChannel& texture : side.mesh().textures)
      count += texture.values.size() /
               std::max<std::size_t>(1, static_cast<std::size_t>(texture.components));
    return count;
  });
  return counts;
}

std::string lonelyText(const Side& side) {
  if (side.lonely == 0) return {};
  const std::string count = std::to_string(side.lonely);
  if (!side.isSearched) return "; without partner: at most " + count;
  const auto first = std::find(side.hasPartner.begin(), side.hasPartner.end(), false);
  return "; without partner: " + count + ", the first is number " +
         std::to_string(first - side.hasPartner.begin());
}

}  // namespace

std::optional<MeshDifference> meshDifference(const Mesh& a, const Mesh& b,
                                             const Tolerance& tolerance) {
  Side sideA(a);
  Side sideB(b);
  MeshDifference found{summary(sideA.primitives), summary(sideB.primitives),
                       countsOf(sideA.primitives, sideB.primitives)};
  if (found.a != found.b) return found;  // kind, count or attributes
  Work work(sideA.lonely);
  // Most meshes that are the same have the same order.
  matchInOrder(sideA, sideB, {});
  if (sideA.lonely > 0) matchEqual(sideA, sideB, work);
  if (sideA.lonely > 0 && !tolerance.isExact()) {
    matchInOrder(sideA, sideB, tolerance);
    matchNear(sideA, sideB, tolerance, work);
    matchNear(sideB, sideA, tolerance, work);
  }
  if (sideA.lonely + sideB.lonely == 0) return {};
  found.a += lonelyText(sideA);
  found.b += lonelyText(sideB);
  if (sideA.isSearched && sideB.isSearched)
    found.counts.push_back({"unmatched", sideA.lonely, sideB.lonely});
  return found;
}

}  // namespace jt::compare_detail
