#pragma once

// What the attributes along a path of the scene graph add up to.

#include <array>
#include <compare>
#include <cstdint>
#include <vector>

#include "JtExport.h"
#include "JtMaterial.h"
#include "JtNode.h"
#include "JtXform.h"

class JtLineStyle;
class JtPartition;
class JtPointStyle;
class JtTextureImage;

namespace jt {

/// Index of a node's first attribute of type T; -1 when it has none or is null.
template <class T>
int firstAttribute(const JtNode* node) {
  if (!node) return -1;
  for (int i = 0; i < node->numAttributes(); ++i)
    if (as<T>(node->attribute(i))) return i;
  return -1;
}

/// The transforms of one node in list order, the first nearest to the geometry: for row vectors
/// p(parent) = p(node) * M. One that is ignored, or has a value that is no number, does not count.
/// @param isFinal true when one above is final: then only those that force count. Set to true when
///   one of the node is final itself, for what is below it.
JT_API Matrix4 localTransform(const JtNode& node, bool& isFinal);

/// An appearance by fields: the material that each field is taken from, null for none. Nothing is
/// owned.
class JT_API InheritedMaterial {
 public:
  /// True when no material was met.
  bool isNone() const noexcept { return sources_ == Sources{}; }
  /// The material with these fields: the listed one when it gives all of them, else one made for
  /// the occasion, where missing fields have the defaults of JtMaterial and vertex colors show.
  /// Null for none.
  Ref<const JtMaterial> material() const;
  /// Takes the fields that `own` states and that are not in `final`, one bit each by
  /// JtMaterialField; all that it states when it forces. An ignored material has no effect.
  void take(const JtMaterial& own, std::uint32_t final);

  friend auto operator<=>(const InheritedMaterial&, const InheritedMaterial&) = default;

 private:
  using Sources = std::array<const JtMaterial*, kMaterialFields>;
  Sources sources_{};
};

/// A texture that a path hands down on one texture channel. Nothing is owned.
struct InheritedTexture {
  const JtTextureImage* attribute = nullptr;
  const JtPartition* file = nullptr;  ///< the file that the attribute is in; null: unknown
  bool isFinal = false;
};

/// State that is handed down from the root of a graph to one of its nodes, as ISO 14306 has it.
/// Transforms multiply; of materials and textures the nearest holds, materials field by field,
/// textures by texture channel. A field that an attribute inhibits, and one that an ancestor made
/// final, is not taken, the latter unless the attribute forces. Copies are independent; pointers
/// hold while the graph is unchanged. Styles of lines and points replace each other as a whole.
class JT_API PathAttributes {
 public:
  /// Adds the attributes of `node`, the next node on the way down.
  /// @return the node's own transform, as it counts on this path
  Matrix4 enter(const JtNode& node);

  /// p(root) = p(node) * toRoot, for row vectors, lengths as stored.
  const Matrix4& toRoot() const noexcept { return toRoot_; }
  const InheritedMaterial& material() const noexcept { return material_; }
  /// The texture of the lowest texture channel, which has the surface's own color; its attribute
  /// is null when there is none.
  const InheritedTexture& texture() const noexcept;
  /// How lines and points are drawn; null: as the viewer has it.
  const JtLineStyle* lineStyle() const noexcept { return lineStyle_; }
  const JtPointStyle* pointStyle() const noexcept { return pointStyle_; }
  /// The file that the nodes entered last are in: the last partition that does not represent
  /// another file that is open. Null: none was entered.
  const JtPartition* file() const noexcept { return file_; }

 private:
  void takeTexture(const JtTextureImage& own, std::size_t inherited);

  Matrix4 toRoot_ = kIdentity;
  bool isTransformFinal_ = false;
  std::uint32_t finalFields_ = 0;  // of materials
  InheritedMaterial material_;
  std::vector<InheritedTexture> textures_;  // one a channel
  const JtLineStyle* lineStyle_ = nullptr;
  const JtPointStyle* pointStyle_ = nullptr;
  const JtPartition* file_ = nullptr;
};

}  // namespace jt
