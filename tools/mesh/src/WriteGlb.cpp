// glTF 2.0, binary.

#include <tiny_gltf.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <sstream>

#include "ImageEncoder.h"
#include "JtFormatError.h"
#include "Unified.h"
#include "Writers.h"

namespace mesh {
namespace {

using tinygltf::Value;

/// Builds the document; one buffer holds all numbers.
class GlbWriter {
 public:
  explicit GlbWriter(const Scene& scene) : scene_(scene) { model_.buffers.emplace_back(); }

  std::string write() {
    model_.asset.version = "2.0";
    model_.asset.generator = "jtw";
    for (const auto& mesh : scene_.meshes) primitives_.push_back(primitiveOf(*mesh));
    for (const Model& model : scene_.models) addModel(model);
    for (const Node& node : scene_.nodes) addNode(node);
    model_.scenes.emplace_back().nodes.push_back(0);
    model_.defaultScene = 0;
    if (model_.buffers[0].data.empty()) model_.buffers.clear();
    // The container counts its bytes with 32 bits.
    constexpr std::size_t kMostBytes = 0xf0000000U;
    if (!model_.buffers.empty() && model_.buffers[0].data.size() > kMostBytes)
      throw JtFormatError("too_large", "a GLB file holds up to 4 GiB");
    std::ostringstream out;
    tinygltf::TinyGLTF().WriteGltfSceneToStream(&model_, out, false, true);
    return std::move(out).str();
  }

 private:
  /// A material as the primitive shows it: one for each number that its texture's coordinates have
  /// in the meshes that use it.
  int materialOf(const Surface& surface) {
    const Material& source = scene_.materials[*surface.material];
    std::optional<int> coordinates;
    if (source.texture)
      coordinates = coordinatesOf(*scene_.meshes[surface.mesh], source.texture->channel);
    const auto [found, isNew] =
        materials_.try_emplace(std::pair(*surface.material, coordinates), model_.materials.size());
    if (isNew) {
      addMaterial(source);
      if (coordinates) addTexture(*source.texture, *coordinates);
    }
    return static_cast<int>(found->second);
  }

  /// Channels are numbered without gaps here, those of one component left out.
  static std::optional<int> coordinatesOf(const jt::Mesh& mesh, int wanted) {
    int number = 0;
    for (const auto& channel : mesh.textures) {
      if (channel.components < 2) continue;
      if (channel.channel == wanted) return number;
      ++number;
    }
    return std::nullopt;
  }

  void addMaterial(const Material& source) {
    tinygltf::Material& material = model_.materials.emplace_back();
    material.name = source.name;
    material.pbrMetallicRoughness.baseColorFactor.assign(source.diffuse.begin(),
                                                         source.diffuse.end());
    material.emissiveFactor.assign(source.emission.begin(), source.emission.begin() + 3);
    material.pbrMetallicRoughness.metallicFactor = 0;
    // The inverse of what reading does with roughness.
    material.pbrMetallicRoughness.roughnessFactor =
        std::sqrt(2 / (1 + std::max(1.0, static_cast<double>(source.shininess))));
    if (source.diffuse[3] < 1) material.alphaMode = "BLEND";
    // Faces of a model need not look the same way.
    material.doubleSided = true;
  }

  /// Gives the last material a texture.
  void addTexture(const Texture& source, int coordinates) {
    const auto [found, isNew] = textures_.try_emplace(std::pair(source.image, source.wrap),
                                                      static_cast<int>(model_.textures.size()));
    if (isNew) {
      tinygltf::Sampler& sampler = model_.samplers.emplace_back();
      sampler.wrapS = wrapOf(source.wrap[0]);
      sampler.wrapT = wrapOf(source.wrap[1]);
      const int image = imageOf(source.image);
      tinygltf::Texture& texture = model_.textures.emplace_back();
      texture.sampler = static_cast<int>(model_.samplers.size()) - 1;
      texture.source = image;
    }
    tinygltf::Material& material = model_.materials.back();
    material.pbrMetallicRoughness.baseColorTexture.index = found->second;
    material.pbrMetallicRoughness.baseColorTexture.texCoord = coordinates;
    if (hasTransparency(*scene_.images[source.image])) material.alphaMode = "BLEND";
  }

  static int wrapOf(jt::TextureWrap wrap) {
    return wrap == jt::TextureWrap::repeat   ? TINYGLTF_TEXTURE_WRAP_REPEAT
           : wrap == jt::TextureWrap::mirror ? TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT
                                             : TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE;
  }

  static bool hasTransparency(const jt::TexturePixels& image) {
    if (image.components < 4) return false;
    for (std::size_t i = 3; i < image.bytes.size(); i += 4)
      if (image.bytes[i] != std::byte{0xff}) return true;
    return false;
  }

  /// Images come behind all numbers, which must begin at multiples of four.
  int imageOf(std::size_t source) {
    const auto [found, isNew] = images_.try_emplace(source, static_cast<int>(model_.images.size()));
    if (isNew) {
      const jt::TexturePixels& pixels = *scene_.images[source];
      const std::vector<std::byte> png =
          tool::encodePng({.width = static_cast<std::size_t>(pixels.width),
                           .height = static_cast<std::size_t>(pixels.height),
                           .components = static_cast<std::size_t>(pixels.components),
                           .bytes = pixels.bytes,
                           .fromBelow = true});
      const int view = addView(png.data(), png.size(), 0);
      tinygltf::Image& image = model_.images.emplace_back();
      image.bufferView = view;
      image.mimeType = "image/png";
    }
    return found->second;
  }

  int addView(const void* data, std::size_t size, int target) {
    auto& bytes = model_.buffers[0].data;
    tinygltf::BufferView& view = model_.bufferViews.emplace_back();
    view.buffer = 0;
    view.byteOffset = bytes.size();
    view.byteLength = size;
    view.target = target;
    bytes.resize(bytes.size() + size);
    std::memcpy(&bytes[view.byteOffset], data, size);
    return static_cast<int>(model_.bufferViews.size()) - 1;
  }

  tinygltf::Accessor& addAccessor(int view, std::size_t count, int component, int type) {
    tinygltf::Accessor& accessor = model_.accessors.emplace_back();
    accessor.bufferView = view;
    accessor.count = count;
    accessor.componentType = component;
    accessor.type = type;
    return accessor;
  }
  int lastAccessor() const { return static_cast<int>(model_.accessors.size()) - 1; }

  int addFloats(const std::vector<float>& values, std::size_t width) {
    const int view =
        addView(values.data(), values.size() * sizeof(float), TINYGLTF_TARGET_ARRAY_BUFFER);
    addAccessor(view, values.size() / width, TINYGLTF_COMPONENT_TYPE_FLOAT,
                static_cast<int>(width));
    return lastAccessor();
  }

  int addIndices(const std::vector<std::uint32_t>& indices) {
    const int view = addView(indices.data(), indices.size() * sizeof(std::uint32_t),
                             TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER);
    addAccessor(view, indices.size(), TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT, TINYGLTF_TYPE_SCALAR);
    return lastAccessor();
  }

  /// Positions must say between which corners they lie.
  int addPositions(const jt::Mesh& mesh, const Unified& unified) {
    std::vector<float> values;
    jt::Vec3f low = mesh.positions[unified.positions[0]];
    jt::Vec3f high = low;
    for (const std::uint32_t index : unified.positions)
      for (std::size_t axis = 0; axis < 3; ++axis) {
        const float value = mesh.positions[index][axis];
        values.push_back(value);
        low[axis] = std::min(low[axis], value);
        high[axis] = std::max(high[axis], value);
      }
    const int accessor = addFloats(values, 3);
    model_.accessors.back().minValues.assign(low.begin(), low.end());
    model_.accessors.back().maxValues.assign(high.begin(), high.end());
    return accessor;
  }

  template <class T>
  int addRecords(const std::vector<T>& records, const Unified& unified) {
    std::vector<float> values;
    for (const std::uint32_t record : unified.records)
      values.insert(values.end(), records[record].begin(), records[record].end());
    return addFloats(values, std::tuple_size_v<T>);
  }

  int addCoordinates(const jt::Mesh::TextureChannel& channel, const Unified& unified) {
    std::vector<float> values;
    for (const std::uint32_t record : unified.records) {
      const float* of = &channel.values[record * static_cast<std::size_t>(channel.components)];
      // Here textures begin at the top.
      values.insert(values.end(), {of[0], 1 - of[1]});
    }
    return addFloats(values, 2);
  }

  tinygltf::Primitive primitiveOf(const jt::Mesh& mesh) {
    const Unified unified = unify(mesh);
    tinygltf::Primitive primitive;
    primitive.attributes["POSITION"] = addPositions(mesh, unified);
    if (!mesh.normals.empty()) primitive.attributes["NORMAL"] = addRecords(mesh.normals, unified);
    if (!mesh.colors.empty()) primitive.attributes["COLOR_0"] = addRecords(mesh.colors, unified);
    int channels = 0;
    for (const auto& channel : mesh.textures)
      if (channel.components >= 2)
        primitive.attributes["TEXCOORD_" + std::to_string(channels++)] =
            addCoordinates(channel, unified);
    if (mesh.kind == jt::Mesh::Kind::triangles) {
      primitive.mode = TINYGLTF_MODE_TRIANGLES;
      primitive.indices = addIndices(unified.indices);
    } else if (mesh.kind == jt::Mesh::Kind::polylines) {
      primitive.mode = TINYGLTF_MODE_LINE;
      primitive.indices = addIndices(segments(mesh, unified));
    } else {
      primitive.mode = TINYGLTF_MODE_POINTS;
      primitive.indices = addIndices(unified.indices);
    }
    return primitive;
  }

  static std::vector<std::uint32_t> segments(const jt::Mesh& mesh, const Unified& unified) {
    std::vector<std::uint32_t> result;
    for (std::size_t line = 0; line + 1 < mesh.starts.size(); ++line)
      for (std::size_t i = mesh.starts[line]; i + 1 < mesh.starts[line + 1]; ++i)
        result.insert(result.end(), {unified.indices[i], unified.indices[i + 1]});
    return result;
  }

  void addModel(const Model& source) {
    tinygltf::Mesh& mesh = model_.meshes.emplace_back();
    mesh.name = source.name;
    for (const Surface& surface : source.surfaces) {
      mesh.primitives.push_back(primitives_[surface.mesh]);
      if (surface.material) mesh.primitives.back().material = materialOf(surface);
    }
  }

  void addNode(const Node& source) {
    tinygltf::Node& node = model_.nodes.emplace_back();
    node.name = source.name;
    if (source.model) node.mesh = static_cast<int>(*source.model);
    // Theirs is stored column by column for column vectors: the same order of numbers.
    if (source.transform != jt::kIdentity)
      node.matrix.assign(source.transform.begin(), source.transform.end());
    for (const std::size_t child : source.children)
      node.children.push_back(static_cast<int>(child));
    if (source.properties.empty()) return;
    Value::Object extras;
    for (const auto& [key, value] : source.properties)
      extras.emplace(key, std::visit([](const auto& content) { return valueOf(content); }, value));
    node.extras = Value(std::move(extras));
  }

  static Value valueOf(const std::string& text) { return Value(text); }
  static Value valueOf(double number) { return Value(number); }
  static Value valueOf(std::int64_t number) {
    const bool fits = number >= INT32_MIN && number <= INT32_MAX;
    return fits ? Value(static_cast<int>(number)) : Value(static_cast<double>(number));
  }

  const Scene& scene_;
  tinygltf::Model model_;
  std::vector<tinygltf::Primitive> primitives_;  // of each mesh, without material
  // Where in the document is what was taken from the scene: materials by index and number of the
  // coordinates, textures by image and wrap.
  std::map<std::pair<std::size_t, std::optional<int>>, std::size_t> materials_;
  std::map<std::pair<std::size_t, std::array<jt::TextureWrap, 2>>, int> textures_;
  std::map<std::size_t, int> images_;
};

}  // namespace

std::string glbOf(const Scene& scene) { return GlbWriter(scene).write(); }

}  // namespace mesh
