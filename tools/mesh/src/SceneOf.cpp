#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>

#include "CoordinateMap.h"
#include "Folder.h"
#include "Jt.h"
#include "JtByteText.h"
#include "JtDrawing.h"
#include "JtFormatError.h"
#include "JtInstance.h"
#include "JtLOD.h"
#include "JtPartUtil.h"
#include "JtPathAttributes.h"
#include "JtShape.h"
#include "JtSwitch.h"
#include "JtkPMIDrawing.h"
#include "JtwLeaf.h"
#include "MeshComponent.h"
#include "NodeProperties.h"
#include "SceneImages.h"
#include "VisPartNode.h"

namespace mesh {
namespace {

/// Where a surface has only a material.
constexpr Texture kNoTexture{.image = static_cast<std::size_t>(-1)};

Material materialOf(const JtMaterial& source) {
  const float shininess = source.shininess();
  return {{},
          clamped(source.ambient()),
          clamped(source.diffuse()),
          clamped(source.specular()),
          clamped(source.emission()),
          std::isfinite(shininess) ? shininess : Material().shininess,
          std::nullopt};
}

/// A node on one path, with what is gathered above it and not yet in a node of the scene.
struct Visit {
  JtNode* node = nullptr;
  std::size_t parent = 0;  // index in the scene
  jt::Matrix4 matrix = jt::kIdentity;
  double unit = 0;  // millimetres; 0: none is named so far
  jt::PathAttributes attributes;
  std::string name;
  std::vector<Property> properties;
};

class SceneBuilder {
 public:
  SceneBuilder(JtPartition& partition, std::uint32_t level, const SceneLines& lines,
               std::uint64_t mostPlaces)
      : level_(level), lines_(lines), mostPlaces_(mostPlaces), images_(scene_) {
    scene_.millimetres = 0;
    scene_.nodes.emplace_back();
    surfaces_.emplace_back();
    Visit top;
    top.node = &partition;
    takeOver(top);
    scene_.nodes[0].name = top.name;
    scene_.nodes[0].transform = top.matrix;
    top.matrix = jt::kIdentity;
    top.name.clear();
    pushChildren(top);
  }

  Scene build() {
    constexpr std::uint64_t kNodesOfPlace = 8;  // groups, instances, levels of detail
    std::uint64_t paths = 0;
    while (!pending_.empty()) {
      if (paths++ / kNodesOfPlace >= mostPlaces_) failPlaces();
      Visit visit = std::move(pending_.back());
      pending_.pop_back();
      if (!visit.node->isIgnored() && JtwLeaf::isDisplayed(visit.node)) process(visit);
    }
    for (std::size_t i = 0; i < scene_.nodes.size(); ++i) setModel(i);
    dropIdleRoot();
    if (scene_.millimetres == 0) scene_.millimetres = 1;
    if (leftOut_ > 0)
      scene_.notes.push_back(std::to_string(leftOut_) +
                             " shapes that are not made of meshes were left out");
    if (texturesLeftOut_ > 0)
      scene_.notes.push_back(std::to_string(texturesLeftOut_) +
                             " textures without pixels of 8 bits in the file were left out");
    return std::move(scene_);
  }

 private:
  [[noreturn]] void failPlaces() const {
    throw JtFormatError("too_many_places", "the scene graph unfolds into more than " +
                                               std::to_string(mostPlaces_) +
                                               " objects, each counted where it occurs");
  }

  /// A small file can ask for any number of places, and for its properties in each.
  void countPlace(const std::string& name, const std::vector<Property>& properties) {
    constexpr std::size_t kTextOfPlace = 256;  // bytes
    std::size_t text = name.size();
    for (const auto& [key, value] : properties) {
      text += key.size();
      if (const auto* content = std::get_if<std::string>(&value)) text += content->size();
    }
    places_ += 1 + properties.size() / 4 + text / kTextOfPlace;
    if (places_ > mostPlaces_) failPlaces();
  }

  /// Adds what the node itself says to what is gathered.
  void takeOver(Visit& visit) {
    const std::string name = JtString(JtwNode::name(visit.node)).stringToMbs();
    if (!name.empty()) visit.name = name;
    jt::Matrix4 matrix = visit.attributes.enter(*visit.node);
    takeUnit(visit, matrix);
    visit.matrix = jt::multiply(matrix, visit.matrix);
  }

  /// A node in another unit than what it hangs under is scaled.
  void takeUnit(Visit& visit, jt::Matrix4& matrix) {
    JtPartUtil::Unit unit{};
    double metres = 0;
    if (!JtPartUtil::obtainMeasureUnit(visit.node, unit) ||
        !JtPartUtil::obtainScaleToXtFromUnit(unit, metres))
      return;
    constexpr double kMillimetres = 1000;
    const double own = metres * kMillimetres;
    if (scene_.millimetres == 0) scene_.millimetres = own;
    const double above = visit.unit > 0 ? visit.unit : scene_.millimetres;
    visit.unit = own;
    if (own == above) return;
    jt::Matrix4 scale = jt::kIdentity;
    scale[0] = scale[5] = scale[10] = own / above;
    matrix = jt::multiply(matrix, scale);
  }

  std::optional<std::size_t> materialOf(const Visit& visit, const PlacedTexture* placed) {
    const jt::InheritedMaterial& material = visit.attributes.material();
    if (material.isNone() && !placed) return std::nullopt;
    const Texture texture = placed ? placed->texture : kNoTexture;
    const auto [found, isNew] =
        materials_.try_emplace(std::pair(material, texture), scene_.materials.size());
    if (isNew) {
      const auto source = material.material();
      scene_.materials.push_back(source ? mesh::materialOf(*source) : Material());
      if (placed) scene_.materials.back().texture = texture;
    }
    return found->second;
  }

  /// Null when there is none that can be shown.
  const PlacedTexture* textureOf(const jt::InheritedTexture& inherited) {
    const JtTextureImage* source = inherited.attribute;
    if (!source) return nullptr;
    const auto [found, isNew] = textures_.try_emplace(source);
    if (isNew)
      if (const auto image = imageOf(*source, inherited.file))
        found->second =
            PlacedTexture{{*image, source->coordinateChannel(), source->wrap()}, mapOf(*source)};
    return found->second ? &*found->second : nullptr;
  }

  static std::optional<CoordinateMap> mapOf(const JtTextureImage& source) {
    const std::array<float, 16> m = source.transform();
    const bool isFlat = m[3] == 0 && m[7] == 0 && m[15] != 0;
    const CoordinateMap map{source.coordinateChannel(),
                            {m[0] / m[15], m[4] / m[15], m[12] / m[15]},
                            {m[1] / m[15], m[5] / m[15], m[13] / m[15]}};
    if (!isFlat || map == CoordinateMap{.channel = map.channel}) return std::nullopt;
    return map;
  }

  std::optional<std::size_t> imageOf(const JtTextureImage& source, const JtPartition* file) {
    const std::string name = jt::bytesOfText(source.fileName());
    if (name.empty()) {
      if (auto pixels = source.pixels()) return images_.take(*std::move(pixels));
      ++texturesLeftOut_;
      return std::nullopt;
    }
    const auto* location = jt::as<JtFSStorageLocation>(file ? file->storageLocation() : nullptr);
    const std::string path = location ? location->fullFilePath() : std::string();
    const auto folder = std::filesystem::path(path).parent_path();
    return images_.take(folder.string() + '\n' + name, name, [&](std::size_t mostBytes) {
      if (!location)
        throw JtFormatError("bad_image", "the model has no folder in which it could lie");
      return tool::Folder(folder).decodeImage(name, mostBytes);
    });
  }

  void push(const Visit& from, JtNode* child) {
    if (!child) return;
    pending_.push_back(from);
    pending_.back().node = child;
  }
  void pushChildren(const Visit& from) {
    for (int i = from.node->numChildren(); i-- > 0;) push(from, from.node->child(i));
  }

  void process(Visit& visit) {
    takeOver(visit);
    JtNode* const node = visit.node;
    if (auto* shape = jt::as<JtShape>(node)) {
      addShape(visit, *shape);
    } else if (auto* alternatives = jt::as<JtLOD>(node)) {
      push(visit, alternatives->childForLevel(level_));
    } else if (auto* choice = jt::as<JtSwitch>(node)) {
      push(visit, choice->representation(true));
    } else if (jt::as<JtInstance>(node)) {
      // The occurrence and what occurs are one node.
      readProperties(*node, visit.properties);
      countPlace(visit.name, visit.properties);
      pushChildren(visit);
    } else if (isObject(visit)) {
      visit.parent = addNode(visit);
      if (lines_.ofAnnotations) addAnnotations(visit.parent, *node);
      if (lines_.ofWires) addWires(visit);
      readProperties(*node, scene_.nodes[visit.parent].properties);
      countPlace(visit.name, scene_.nodes[visit.parent].properties);
      visit.matrix = jt::kIdentity;
      visit.name.clear();
      visit.properties.clear();
      pushChildren(visit);
    } else {
      pushChildren(visit);
    }
  }

  /// Groups that only hold things together leave no trace.
  static bool isObject(const Visit& visit) {
    if (jt::as<VisMetaDataNode>(visit.node)) return true;
    if (jt::as<JtPartition>(visit.node)) return false;
    return visit.node->numChildren() > 1 &&
           (!Jt::name(visit.node).isEmpty() || visit.matrix != jt::kIdentity);
  }

  /// One mesh of polylines for each color.
  void addAnnotations(std::size_t owner, JtNode& node) {
    auto* holder = jt::as<VisMetaDataNode>(&node);
    const PMIDataManager* pmi = holder ? holder->pmi() : nullptr;
    if (!pmi) return;
    const auto [found, isNew] = annotations_.try_emplace(pmi);
    if (isNew) found->second = annotationSurfaces(*pmi);
    surfaces_[owner].insert(surfaces_[owner].end(), found->second.begin(), found->second.end());
  }

  /// The wires of a part on the node that was made for it.
  void addWires(const Visit& visit) {
    auto* part = jt::as<VisPartNode>(visit.node);
    if (!part || !jt::showsWires(*part)) return;
    const auto [found, isNew] = wires_.try_emplace(part);
    if (isNew) {
      const auto mesh = jt::wireMesh(*part);
      if (!mesh) scene_.notes.push_back("wires are left out: " + jt::lastError());
      if (mesh && !mesh->corners.empty()) {
        found->second = scene_.meshes.size();
        scene_.meshes.push_back(mesh);
      }
    }
    if (found->second)
      surfaces_[visit.parent].push_back({*found->second, materialOf(visit, nullptr)});
  }

  std::vector<Surface> annotationSurfaces(const PMIDataManager& pmi) {
    std::map<std::array<float, 3>, std::shared_ptr<jt::Mesh>> byColor;
    for (const jtk::PMILine& line : jtk::drawnLines(pmi, false)) {
      auto& mesh = byColor[line.color];
      if (!mesh) {
        mesh = std::make_shared<jt::Mesh>();
        mesh->kind = jt::Mesh::Kind::polylines;
        mesh->starts = {0};
      }
      for (const auto& point : line.points) {
        mesh->corners.push_back(static_cast<std::uint32_t>(mesh->positions.size()));
        mesh->positions.push_back(point);
      }
      mesh->starts.push_back(static_cast<std::uint32_t>(mesh->corners.size()));
    }
    std::vector<Surface> surfaces;
    for (const auto& [color, mesh] : byColor) {
      Material material;
      material.name = "annotations";
      material.diffuse = {color[0], color[1], color[2], 1};
      surfaces.push_back({scene_.meshes.size(), scene_.materials.size()});
      scene_.meshes.push_back(mesh);
      scene_.materials.push_back(std::move(material));
    }
    return surfaces;
  }

  std::size_t addNode(const Visit& visit) {
    const std::size_t index = scene_.nodes.size();
    scene_.nodes[visit.parent].children.push_back(index);
    Node& node = scene_.nodes.emplace_back();
    node.name = visit.name;
    node.transform = visit.matrix;
    node.properties = visit.properties;
    surfaces_.emplace_back();
    return index;
  }

  void addShape(const Visit& visit, const JtShape& shape) {
    if (!shape.hasMesh()) {
      if (!shape.takes() && !jt::as<JtNullShape>(&shape)) ++leftOut_;
      return;
    }
    const std::shared_ptr<const jt::Mesh> mesh = shape.mesh();
    if (!mesh) throw JtFormatError("damaged", jt::lastError());
    if (mesh->corners.empty()) return;
    const PlacedTexture* placed = textureOf(visit.attributes.texture());
    const std::optional<std::size_t> material = materialOf(visit, placed);
    const auto map = placed ? placed->map : std::nullopt;
    const auto [found, isNew] = meshes_.try_emplace(std::pair(mesh, map), scene_.meshes.size());
    if (isNew) scene_.meshes.push_back(map ? mapped(mesh, *map) : mesh);
    countPlace(visit.name, visit.properties);
    const std::size_t owner = visit.matrix == jt::kIdentity ? visit.parent : addNode(visit);
    surfaces_[owner].push_back({found->second, material});
  }

  void setModel(std::size_t node) {
    if (surfaces_[node].empty()) return;
    const auto [found, isNew] = models_.try_emplace(surfaces_[node], scene_.models.size());
    if (isNew) scene_.models.push_back({scene_.nodes[node].name, surfaces_[node]});
    scene_.nodes[node].model = found->second;
  }

  /// A partition around one component is no object of its own.
  void dropIdleRoot() {
    auto& nodes = scene_.nodes;
    if (nodes[0].model || nodes[0].children.size() != 1) return;
    nodes[1].transform = jt::multiply(nodes[1].transform, nodes[0].transform);
    nodes.erase(nodes.begin());
    for (Node& node : nodes)
      for (std::size_t& child : node.children) --child;
  }

  std::uint32_t level_;
  SceneLines lines_;
  const std::uint64_t mostPlaces_;
  std::uint64_t places_ = 0;
  Scene scene_;
  std::vector<Visit> pending_;
  std::vector<std::vector<Surface>> surfaces_;  // of each node of the scene
  std::map<std::pair<jt::InheritedMaterial, Texture>, std::size_t> materials_;
  SceneImages images_;
  std::map<const JtTextureImage*, std::optional<PlacedTexture>> textures_;  // none: cannot be taken
  std::map<std::pair<std::shared_ptr<const jt::Mesh>, std::optional<CoordinateMap>>, std::size_t>
      meshes_;
  std::map<std::vector<Surface>, std::size_t> models_;
  std::map<const PMIDataManager*, std::vector<Surface>> annotations_;
  std::map<const VisPartNode*, std::optional<std::size_t>> wires_;  // mesh; none: nothing to show
  std::size_t leftOut_ = 0;
  std::size_t texturesLeftOut_ = 0;
};

}  // namespace

Scene sceneOf(JtPartition& partition, std::uint32_t level, const SceneLines& lines,
              std::uint64_t mostPlaces) {
  return SceneBuilder(partition, level, lines, mostPlaces).build();
}

}  // namespace mesh
