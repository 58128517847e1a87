#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "Annotations.h"
#include "Edges.h"
#include "Image.h"
#include "JtDrawing.h"
#include "JtMesh.h"
#include "JtPartition.h"
#include "Texture.h"

namespace tool {

/// What of a file is drawn.
struct SceneRequest {
  std::uint32_t levelOfDetail = 0;
  bool withAnnotations = true;
  bool textFacesViewer = true;  ///< false: all text is in the plane of its annotation
  bool withWires = true;
  bool withTextures = true;
  bool withParts = false;          ///< numbers the places of parts, for explode()
  std::optional<float> lineWidth;  ///< pixels, whatever the file says
  std::optional<float> pointSize;  ///< likewise
  /// Shapes, annotated nodes and wires where they occur.
  std::uint64_t mostPlaces = 1'000'000;
  /// True for what is drawn of the nodes from the root down to a shape, a part with wires or a node
  /// with annotations; empty: everything.
  std::function<bool(std::span<JtNode* const>)> isShown{};
  /// Names an item by the same nodes, see Item::label; may be empty.
  std::function<std::string(std::span<JtNode* const>)> labelOf{};
  /// Number of what an item belongs to, by the same nodes, see Item::place; may be empty.
  std::function<std::size_t(std::span<JtNode* const>)> placeOf{};
};

/// A texture with what its coordinates are multiplied with.
struct PlacedTexture {
  std::shared_ptr<const Texture> texture;
  int channel = 0;  ///< of the mesh
  std::array<float, 16> transform{};
};

/// What became of an item in a comparison of two scenes.
enum class Change : std::uint8_t { none, same, added, removed, moved, wasThere, changed };

/// A mesh where it occurs, with its appearance.
struct Item {
  std::size_t mesh;  ///< in the list of different ones
  bool isWires;
  jt::Matrix4 toRoot;
  Color color;
  bool usesVertexColors;
  const PlacedTexture* texture;  ///< may be null
  float lineWidth;               ///< pixels
  float pointSize;
  std::size_t part;   ///< number of the place of a part that it belongs to, where asked for
  std::string label;  ///< as the request has it
  std::size_t place;  ///< likewise; 0 where it was not asked for
  Change change = Change::none;

  bool isOpaque() const noexcept;
};

/// What a viewer shows of a file: the items, and their meshes once they are decoded.
class Scene {
 public:
  /// Throws Failure "too_many_places" when shared parts add up to more than may be drawn.
  Scene(JtPartition& partition, const SceneRequest& request);

  /// Decodes each shape once. What cannot be decoded is left out, see damaged().
  /// @param progress receives the share that is done, 0..1
  void decode(unsigned jobs, const std::function<void(double)>& progress);
  /// Finds the edges that show the form of each mesh. @pre decoded
  void findEdges(double degrees, unsigned jobs);
  /// Moves each part away from the middle of everything, by so many times its distance from there.
  /// @pre decoded, with parts and without annotations
  void explode(double factor);
  /// Calls `take` for each position where it occurs.
  void forEachPosition(const std::function<void(const Vector&)>& take) const;

  std::vector<Item>& items() noexcept { return items_; }
  const std::vector<Item>& items() const noexcept { return items_; }
  const Annotations& annotations() const noexcept { return annotations_; }
  /// How many different meshes there are; items have their numbers.
  std::size_t meshCount() const noexcept { return meshes_.size(); }
  /// Null for what cannot be decoded.
  const jt::Mesh* mesh(std::size_t number) const { return meshes_[number].get(); }
  const jt::Mesh* mesh(const Item& item) const { return mesh(item.mesh); }
  /// Empty before findEdges.
  std::span<const Edge> edges(const Item& item) const;
  /// Shapes and wires that cannot be decoded: the reason of each.
  const std::vector<std::string>& damaged() const noexcept { return damaged_; }
  /// Textures that are left out, and why.
  const std::vector<std::string>& notes() const noexcept { return notes_; }
  /// Millimetres in the unit of length of the root's coordinates.
  double millimetres() const noexcept { return millimetres_; }

 private:
  /// What a mesh comes from: one of them.
  struct Source {
    JtShape* shape;
    VisPartNode* partWithWires;
  };
  bool isFull() const noexcept;
  /// Whether what a path leads to is drawn.
  bool takes(std::span<JtNode* const> path);
  std::size_t placeOf(std::span<JtNode* const> path) const;
  template <class Drawn>
  bool add(const Drawn& drawn, const JtNode* node, const Source& source);
  const PlacedTexture* textureOf(const jt::InheritedTexture& inherited);
  std::optional<jt::TexturePixels> pixelsOf(const jt::InheritedTexture& inherited);
  /// The matrix of the last node of a path, where nodes in other units than what they hang under
  /// are scaled.
  jt::Matrix4 inUnitOfRoot(std::span<JtNode* const> path, const jt::Matrix4& toRoot) const;
  std::size_t partOf(std::span<JtNode* const> path, const JtNode* part);

  SceneRequest request_;
  const std::uint64_t most_;
  std::uint64_t pathSteps_ = 0;  // of paths that were looked at
  double millimetres_ = 1;
  bool hasSeveralUnits_ = false;
  std::unordered_map<const JtNode*, std::size_t> indices_;
  std::vector<Source> sources_;
  std::vector<std::shared_ptr<const jt::Mesh>> meshes_;
  std::vector<std::vector<Edge>> edges_;  // of each mesh
  std::vector<Item> items_;
  std::map<std::vector<JtNode*>, std::size_t> parts_;  // places of parts
  std::map<const JtTextureImage*, std::unique_ptr<PlacedTexture>> textures_;
  std::size_t texelBytes_ = 0;
  Annotations annotations_;
  std::vector<std::string> damaged_;
  std::vector<std::string> notes_;
};

}  // namespace tool
