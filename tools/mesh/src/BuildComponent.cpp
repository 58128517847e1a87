#include <algorithm>
#include <limits>
#include <map>
#include <string_view>

#include "Jt.h"
#include "JtFormatError.h"
#include "JtInstance.h"
#include "JtLOD.h"
#include "JtParallel.h"
#include "JtShape.h"
#include "JtwBlock.h"
#include "JtwEntity.h"
#include "JtwTree.h"
#include "MeshComponent.h"

namespace mesh {
namespace {

jt::Ref<JtPropAtom> atomOf(const std::string& text) {
  return jt::make<JtStringPropAtom>(JtString(text));
}
jt::Ref<JtPropAtom> atomOf(double number) {
  return jt::make<JtFloatPropAtom>(static_cast<float>(number));
}
jt::Ref<JtPropAtom> atomOf(std::int64_t number) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (number < Limits::min() || number > Limits::max()) return atomOf(std::to_string(number));
  return jt::make<JtInt32PropAtom>(static_cast<int>(number));
}

/// Keys of the host and of the format say what the component itself has to say.
bool isReserved(std::string_view key) {
  return key.empty() || key.starts_with("Kr") || key.starts_with("JT_");
}

void addProperties(JtNode& node, const std::vector<Property>& properties) {
  auto* owner = jt::as<VisMetaDataNode>(&node);
  if (!owner) return;
  for (const auto& [key, value] : properties)
    if (!isReserved(key))
      owner->addProperty(
          JtString(key),
          std::visit([](const auto& content) { return atomOf(content); }, value).get(), false);
}

jt::Ref<JtMaterial> attributeOf(const Material& material) {
  auto attribute = jt::make<JtMaterial>();
  const auto& [ar, ag, ab, aa] = material.ambient;
  attribute->setAmbientColor(ar, ag, ab, aa);
  const auto& [dr, dg, db, da] = material.diffuse;
  attribute->setDiffuseColor(dr, dg, db, da);
  const auto& [sr, sg, sb, sa] = material.specular;
  attribute->setSpecularColor(sr, sg, sb, sa);
  const auto& [er, eg, eb, ea] = material.emission;
  attribute->setEmissionColor(er, eg, eb, ea);
  attribute->setShininess(material.shininess);
  return attribute;
}

class ComponentBuilder {
 public:
  ComponentBuilder(Scene scene, JtwRoot& root, const BuildOptions& options)
      : scene_(std::move(scene)),
        root_(root),
        options_(options),
        nextKey_(jtw::nextFreeKey(root)),
        uses_(scene_.models.size(), 0),
        shapes_(scene_.models.size()),
        geometry_(scene_.models.size()),
        materials_(scene_.materials.size() * 2) {
    for (const Node& node : scene_.nodes)
      if (node.model) ++uses_[*node.model];
  }

  void build() {
    takeUnit();
    if (scene_.nodes.empty()) return;
    makeShapes();
    struct Visit {
      std::size_t node;
      ApiProtoKey parent;
    };
    std::vector<Visit> pending;
    const auto pushChildren = [&](const Node& node, const ApiProtoKey& key) {
      for (std::size_t i = node.children.size(); i-- > 0;)
        pending.push_back({node.children[i], key});
    };
    const Node& top = scene_.nodes[0];
    if (top.model || top.transform != jt::kIdentity) {
      pending.push_back({0, root_.key()});
    } else {
      addProperties(*root_.jtNode(), top.properties);
      pushChildren(top, root_.key());
    }
    while (!pending.empty()) {
      const Visit visit = pending.back();
      pending.pop_back();
      const Node& node = scene_.nodes[visit.node];
      pushChildren(node, addObject(node, visit.parent));
    }
  }

 private:
  using Levels = std::vector<jt::Ref<JtShape>>;  // the finest first

  void takeUnit() {
    if (!isHostUnit(scene_.millimetres)) convertUnit(scene_, 1);
    root_.setMeasurementUnitRatio(static_cast<float>(scene_.millimetres));
  }

  ApiProtoKey addObject(const Node& node, const ApiProtoKey& parent) {
    const bool isEntity = node.model && node.children.empty();
    JtwNode& object = isEntity ? addEntity(*node.model, parent) : addBlock(parent);
    name(object, node.name.empty() && node.model ? scene_.models[*node.model].name : node.name);
    if (node.transform != jt::kIdentity) {
      object.jtNode()->appendAttribute(jt::make<JtXform>(node.transform).get());
      object.forgetCached();
    }
    addProperties(*object.jtNode(), node.properties);
    if (node.model && !isEntity) {
      const std::string& modelName = scene_.models[*node.model].name;
      name(addEntity(*node.model, object.key()), modelName.empty() ? node.name : modelName);
    }
    return object.key();
  }

  static void name(JtwNode& object, const std::string& text) {
    object.setName(JtString(text).toWide());
  }

  static JtwNode& checked(JtwNode* made) {
    if (!made) throw JtFormatError("not_writable", "the component takes no more objects");
    return *made;
  }

  JtwNode& addBlock(const ApiProtoKey& parent) {
    return checked(root_.createBlockNode(nextKey_++, parent, RTTran3D::unit));
  }

  JtwNode& addEntity(std::size_t model, const ApiProtoKey& parent) {
    JtwNode& entity = checked(root_.createEntityNode(nextKey_++, parent, RTTran3D::unit));
    auto& part = *jt::as<JtGroup>(entity.jtNode());
    if (const auto material = commonMaterial(model)) addMaterial(part, *material, model);
    jt::Ref<JtNode>& geometry = geometry_[model];
    if (!geometry) geometry = geometryOf(model);
    if (uses_[model] < 2) {
      part.addChild(geometry.get());
    } else {
      const auto instance = jt::make<JtInstance>();
      instance->setChild(geometry.get());
      part.addChild(instance.get());
    }
    return entity;
  }

  /// The material of all surfaces of a model, if they have one in common.
  std::optional<std::size_t> commonMaterial(std::size_t model) const {
    const std::vector<Surface>& surfaces = scene_.models[model].surfaces;
    const bool isCommon = std::all_of(
        surfaces.begin(), surfaces.end(),
        [&surfaces](const Surface& surface) { return surface.material == surfaces[0].material; });
    return isCommon ? surfaces[0].material : std::nullopt;
  }

  bool hasColors(const Surface& surface) const {
    return !scene_.meshes[surface.mesh]->colors.empty();
  }

  /// Shared by all that look the same. Vertices with colors of their own show them.
  jt::Ref<JtMaterial> materialAttribute(std::size_t material, std::size_t model) {
    const auto& surfaces = scene_.models[model].surfaces;
    const bool keepsVertexColors = std::any_of(surfaces.begin(), surfaces.end(),
                                               [this](const Surface& s) { return hasColors(s); });
    jt::Ref<JtMaterial>& attribute = materials_[material * 2 + (keepsVertexColors ? 1 : 0)];
    if (!attribute) {
      attribute = attributeOf(scene_.materials[material]);
      if (keepsVertexColors) attribute->setOverrideVertexColors(false);
    }
    return attribute;
  }

  void addMaterial(JtNode& node, std::size_t material, std::size_t model) {
    node.appendAttribute(materialAttribute(material, model).get());
    if (const auto& texture = scene_.materials[material].texture)
      node.appendAttribute(textureAttribute(*texture).get());
  }

  /// Shared by all materials with the same texture.
  jt::Ref<JtTextureImage> textureAttribute(const Texture& texture) {
    jt::Ref<JtTextureImage>& attribute = textures_[texture];
    if (!attribute) {
      attribute = jt::make<JtTextureImage>();
      attribute->setPixels(*scene_.images[texture.image], texture.channel);
      attribute->setWrap(texture.wrap[0], texture.wrap[1]);
    }
    return attribute;
  }

  /// The shapes of all models that are used: the work is in their levels and measures.
  void makeShapes() {
    std::vector<std::pair<std::size_t, std::size_t>> places;
    for (std::size_t model = 0; model < shapes_.size(); ++model) {
      if (uses_[model] == 0) continue;
      shapes_[model].resize(scene_.models[model].surfaces.size());
      for (std::size_t i = 0; i < shapes_[model].size(); ++i) places.emplace_back(model, i);
    }
    jt::inParallel(0, places.size(), [&](std::size_t place) {
      const auto [model, i] = places[place];
      const Surface& surface = scene_.models[model].surfaces[i];
      for (auto& mesh : makeLevels(scene_.meshes[surface.mesh], options_.levels))
        shapes_[model][i].push_back(jt::makeShape(std::move(mesh)));
    });
  }

  jt::Ref<JtNode> geometryOf(std::size_t model) {
    const std::vector<Surface>& surfaces = scene_.models[model].surfaces;
    const std::vector<Levels>& levels = shapes_[model];
    std::size_t count = 1;
    for (const auto& ofSurface : levels) count = std::max(count, ofSurface.size());
    const bool shareMaterial = commonMaterial(model).has_value();
    auto alternatives = jt::make<JtRangeLOD>();
    for (std::size_t level = 0; level < count; ++level) {
      const jt::Ref<JtGroup> group = surfaces.size() > 1 ? jt::make<JtGroup>() : nullptr;
      for (std::size_t i = 0; i < surfaces.size(); ++i) {
        const jt::Ref<JtShape> shape =
            level < levels[i].size() ? levels[i][level] : jt::makeShape(levels[i].back()->mesh());
        if (!shareMaterial && surfaces[i].material)
          addMaterial(*shape, *surfaces[i].material, model);
        (group ? *group : static_cast<JtGroup&>(*alternatives)).addChild(shape.get());
      }
      if (group) alternatives->addChild(group.get());
    }
    return alternatives;
  }

  Scene scene_;
  JtwRoot& root_;
  BuildOptions options_;
  ApiProtoKey nextKey_;
  std::vector<std::size_t> uses_;               // of each model
  std::vector<std::vector<Levels>> shapes_;     // of each model and surface
  std::vector<jt::Ref<JtNode>> geometry_;       // of each model, once made
  std::vector<jt::Ref<JtMaterial>> materials_;  // of each material, for plain and colored vertices
  std::map<Texture, jt::Ref<JtTextureImage>> textures_;
};

}  // namespace

bool isHostUnit(double millimetres) {
  // What the host calls micrometres is a tenth of a millimetre; nobody else would read it so.
  constexpr double kLeastUnit = 1;
  return millimetres >= kLeastUnit && jtw::unitName(static_cast<float>(millimetres)) != nullptr;
}

void buildComponent(Scene scene, JtwRoot& root, const BuildOptions& options) {
  ComponentBuilder(std::move(scene), root, options).build();
}

}  // namespace mesh
