#include "PageData.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <unordered_map>

#include "JsonWriter.h"
#include "JtParallel.h"
#include "JtkwPMITypeMaps.h"
#include "JtwPMIAnnotation.h"
#include "NodeProperties.h"
#include "NodeView.h"
#include "Output.h"
#include "Session.h"
#include "VertexBuffers.h"
#include "picture/Vector.h"

namespace tool {
namespace {

constexpr std::size_t kAlignment = 4;

/// Arrays one after the other.
class ByteStore {
 public:
  /// @return where it begins
  template <class T>
  std::size_t add(const std::vector<T>& values) {
    const std::size_t first = bytes_.size();
    const auto added = std::as_bytes(std::span(values));
    bytes_.insert(bytes_.end(), added.begin(), added.end());
    bytes_.resize((bytes_.size() + kAlignment - 1) / kAlignment * kAlignment);
    return first;
  }
  const std::vector<std::byte>& bytes() const noexcept { return bytes_; }

 private:
  std::vector<std::byte> bytes_;
};

/// Half of the way between the extreme coordinates of everything, in the unit of the root.
Vector middleOf(const PageContent& content) {
  constexpr double kFar = std::numeric_limits<double>::infinity();
  Vector low{kFar, kFar, kFar};
  Vector high{-kFar, -kFar, -kFar};
  const auto include = [&](const Vector& p) {
    if (!isFinite(p)) return;
    for (std::size_t i = 0; i < 3; ++i) {
      low[i] = std::min(low[i], p[i]);
      high[i] = std::max(high[i], p[i]);
    }
  };
  content.now.scene.forEachPosition(include);
  if (content.before) content.before->scene.forEachPosition(include);
  const Vector middle = plus({low[0] / 2, low[1] / 2, low[2] / 2}, high, 0.5);
  return isFinite(middle) ? middle : Vector{};
}

std::array<std::uint8_t, 4> packedColor(const Color& color) {
  constexpr float kWhite = 255;
  std::array<std::uint8_t, 4> packed{};
  for (std::size_t i = 0; i < 4; ++i)
    if (color[i] > 0)
      packed[i] = static_cast<std::uint8_t>(std::lround(std::min(color[i], 1.0F) * kWhite));
  return packed;
}

class Writer {
 public:
  Writer(Session& session, const PageContent& content, unsigned jobs)
      : session_(session),
        content_(content),
        jobs_(jobs),
        millimetres_(content.now.scene.millimetres()),
        origin_(middleOf(content)) {}

  std::vector<std::byte> run() {
    json_.beginObject(JsonWriter::Layout::line);
    json_.member("schema", "jtw.page/1");
    json_.member("document", content_.document);
    json_.numbers("origin", Vector{origin_[0] * millimetres_, origin_[1] * millimetres_,
                                   origin_[2] * millimetres_});
    writeNodes("nodes", content_.now.places);
    if (content_.before) writeNodes("nodesBefore", content_.before->places);
    writeMeshes();
    writeItems();
    writeAnnotations();
    writeComparison();
    json_.end();
    return together();
  }

 private:
  void writeNodes(const char* name, std::span<const jtw::ListedObject> places) {
    std::unordered_map<const JtwNode*, std::size_t> first;
    json_.key(name);
    json_.beginArray();
    for (std::size_t i = 0; i < places.size(); ++i) {
      const jtw::ListedObject& object = places[i];
      const auto [known, isFirst] = first.try_emplace(object.node, i);
      json_.beginObject();
      json_.member("depth", object.depth);
      if (isFirst) {
        writeNodeMembers(json_, object);
        writeDetails(*object.node);
      } else {
        json_.member("same", known->second);
        json_.textOrNull("address", object.address);
        json_.textOrNull("name", object.name);
        if (object.relLoc) writeLocation(json_, "relLoc", *object.relLoc, *object.node);
      }
      json_.end();
    }
    json_.end();
  }

  void writeDetails(JtwNode& node) {
    if (node.type() == JtwNode::JT_PMI_ANNOTATION_NODE) {
      const auto& data = static_cast<JtwPMIAnnotation&>(node).annotationData();
      json_.textOrNull("typeName", JtkwPMITypeMaps::the().getPMITypeName(data.annotationType));
      json_.key("text");
      json_.beginArray();
      for (const std::string& line : data.textLines) json_.value(line);
      json_.end();
    }
    if (node.isOfTypePMI() || !node.jtNode()) return;
    writeProperties(json_, *node.jtNode());
    writeMetaData(json_, loadMetaData(session_, *node.jtNode()));
  }

  void writeMeshes() {
    json_.key("meshes");
    json_.beginArray();
    writeMeshesOf(content_.now.scene);
    if (content_.before) writeMeshesOf(content_.before->scene);
    json_.end();
  }

  void writeMeshesOf(const Scene& scene) {
    std::vector<VertexBuffers> buffers(scene.meshCount());
    std::vector<char> isShown(scene.meshCount());  // a comparison leaves most of the other file out
    for (const Item& item : scene.items()) isShown[item.mesh] = 1;
    jt::inParallel(jobs_, buffers.size(), [&](std::size_t i) {
      const jt::Mesh* mesh = scene.mesh(i);
      if (mesh && isShown[i] != 0) buffers[i] = vertexBuffersOf(*mesh);
    });
    for (std::size_t i = 0; i < buffers.size(); ++i) {
      const jt::Mesh* mesh = scene.mesh(i);
      const VertexBuffers vertices = std::exchange(buffers[i], {});
      json_.beginObject();
      json_.member("kind", !mesh || mesh->kind == jt::Mesh::Kind::triangles ? "triangles"
                           : mesh->kind == jt::Mesh::Kind::polylines        ? "lines"
                                                                            : "points");
      json_.member("vertices", vertices.positions.size());
      json_.member("positions", store_.add(vertices.positions));
      if (!vertices.normals.empty()) json_.member("normals", store_.add(vertices.normals));
      if (!vertices.coordinates.empty()) {
        json_.key("coordinates");
        json_.beginArray();
        for (const auto& [channel, values] : vertices.coordinates) {
          json_.beginObject();
          json_.member("channel", channel);
          json_.member("at", store_.add(values));
          json_.end();
        }
        json_.end();
      }
      if (!vertices.colors.empty()) json_.member("colors", store_.add(vertices.colors));
      json_.member("corners", vertices.indices.size());
      json_.member("indices", store_.add(vertices.indices));
      json_.end();
    }
  }

  /// Items in arrays of their own, since there may be many.
  struct Items {
    std::vector<float> matrices;
    std::vector<std::uint32_t> meshes;
    std::vector<std::uint32_t> places;
    std::vector<std::array<std::uint8_t, 4>> colors;
    std::vector<std::array<std::uint8_t, 4>> flags;  // vertex colors, change, width, size
    std::vector<std::uint32_t> textures;
  };

  void addItems(const Scene& scene, std::size_t firstMesh, std::size_t firstPlace, Items& items) {
    constexpr float kWidest = 100;
    for (const Item& item : scene.items()) {
      const std::array<float, 12> matrix = matrixOf(item.toRoot);
      if (!scene.mesh(item) || !isFinite(matrix)) continue;
      items.matrices.insert(items.matrices.end(), matrix.begin(), matrix.end());
      items.meshes.push_back(static_cast<std::uint32_t>(firstMesh + item.mesh));
      const bool isOfOther = item.change == Change::removed;
      items.places.push_back(static_cast<std::uint32_t>(item.place + (isOfOther ? firstPlace : 0)));
      items.colors.push_back(packedColor(item.color));
      items.textures.push_back(numberOf(item.texture));
      items.flags.push_back({static_cast<std::uint8_t>(item.usesVertexColors),
                             static_cast<std::uint8_t>(item.change),
                             static_cast<std::uint8_t>(std::min(item.lineWidth, kWidest)),
                             static_cast<std::uint8_t>(std::min(item.pointSize, kWidest))});
    }
  }

  void writeItems() {
    Items items;
    addItems(content_.now.scene, 0, 0, items);
    if (content_.before)
      addItems(content_.before->scene, content_.now.scene.meshCount(), content_.now.places.size(),
               items);
    json_.key("items");
    json_.beginObject();
    json_.member("count", items.meshes.size());
    json_.member("matrices", store_.add(items.matrices));
    json_.member("meshes", store_.add(items.meshes));
    json_.member("places", store_.add(items.places));
    json_.member("colors", store_.add(items.colors));
    json_.member("flags", store_.add(items.flags));
    json_.member("textures", store_.add(items.textures));
    json_.end();
    writeTextures();
  }

  std::uint32_t numberOf(const PlacedTexture* texture) {
    constexpr std::uint32_t kNone = 0xffffffffU;
    if (!texture) return kNone;
    const auto [known, isNew] =
        textureNumbers_.try_emplace(texture, static_cast<std::uint32_t>(textures_.size()));
    if (isNew) textures_.push_back(texture);
    return known->second;
  }

  void writeTextures() {
    constexpr std::size_t kLongestSide = 1024;  // a page is to be opened, not printed
    json_.key("textures");
    json_.beginArray();
    for (const PlacedTexture* placed : textures_) {
      const Texture::Level& image = placed->texture->fitting(kLongestSide);
      json_.beginObject();
      json_.member("width", image.width);
      json_.member("height", image.height);
      json_.member("texels", store_.add(image.texels));
      json_.member("translucent", placed->texture->isTranslucent());
      json_.member("channel", placed->channel);
      json_.numbers("transform", placed->transform);
      json_.numbers("wrap", std::array{static_cast<int>(placed->texture->wrap()[0]),
                                       static_cast<int>(placed->texture->wrap()[1])});
      json_.end();
    }
    json_.end();
  }

  template <class Numbers>
  static bool isFinite(const Numbers& numbers) {
    return std::ranges::all_of(numbers, [](float number) { return std::isfinite(number); });
  }

  /// Four rows of three numbers, for row vectors.
  std::array<float, 12> matrixOf(const jt::Matrix4& toRoot) const {
    std::array<float, 12> numbers{};
    for (std::size_t row = 0; row < 4; ++row)
      for (std::size_t column = 0; column < 3; ++column) {
        const double number = toRoot[row * 4 + column] - (row == 3 ? origin_[column] : 0);
        numbers[row * 3 + column] = static_cast<float>(number * millimetres_);
      }
    return numbers;
  }

  void writeAnnotations() {
    std::vector<float> points;
    std::vector<std::uint32_t> ends;  // number of points up to the end of each line
    std::vector<std::uint32_t> places;
    std::vector<std::array<std::uint8_t, 4>> colors;
    for (const Annotations::Occurrence& each : content_.now.scene.annotations().occurrences())
      for (const jtk::PMILine& line : *each.lines) {
        std::vector<float> own;
        for (const auto& point : line.points) {
          const Vector at = minus(transformed(point, each.toRoot), origin_);
          for (const double number : at) own.push_back(static_cast<float>(number * millimetres_));
        }
        if (!isFinite(own)) continue;
        points.insert(points.end(), own.begin(), own.end());
        ends.push_back(static_cast<std::uint32_t>(points.size() / 3));
        places.push_back(static_cast<std::uint32_t>(
            content_.now.index.ofAnnotation(each.node, line.entity, each.place)));
        colors.push_back(packedColor({line.color[0], line.color[1], line.color[2], 1}));
      }
    json_.key("annotations");
    json_.beginObject();
    json_.member("count", ends.size());
    json_.member("pointCount", points.size() / 3);
    json_.member("points", store_.add(points));
    json_.member("ends", store_.add(ends));
    json_.member("places", store_.add(places));
    json_.member("colors", store_.add(colors));
    json_.end();
  }

  void writeComparison() {
    if (!content_.shapes) return;
    json_.key("comparison");
    json_.beginObject();
    writeShapes(json_, *content_.shapes);
    json_.end();
  }

  std::vector<std::byte> together() {
    std::string text = text_.take();
    text.resize((text.size() + kAlignment - 1) / kAlignment * kAlignment, ' ');
    std::vector<std::byte> data(kAlignment);
    for (std::size_t i = 0; i < kAlignment; ++i)
      data[i] = static_cast<std::byte>(text.size() >> (8 * i));
    data.reserve(data.size() + text.size() + store_.bytes().size());
    const auto json = std::as_bytes(std::span(text));
    data.insert(data.end(), json.begin(), json.end());
    data.insert(data.end(), store_.bytes().begin(), store_.bytes().end());
    return data;
  }

  Session& session_;
  const PageContent& content_;
  const unsigned jobs_;
  const double millimetres_;
  const Vector origin_;
  Output text_;
  JsonWriter json_{text_};
  ByteStore store_;
  std::vector<const PlacedTexture*> textures_;
  std::unordered_map<const PlacedTexture*, std::uint32_t> textureNumbers_;
};

}  // namespace

std::vector<std::byte> pageData(Session& session, const PageContent& content, unsigned jobs) {
  return Writer(session, content, jobs).run();
}

}  // namespace tool
