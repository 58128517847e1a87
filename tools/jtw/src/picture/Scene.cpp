#include "Scene.h"

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <unordered_set>

#include "Failure.h"
#include "Folder.h"
#include "ImageDecoder.h"
#include "Jt.h"
#include "JtByteText.h"
#include "JtParallel.h"
#include "JtPartUtil.h"
#include "JtStyles.h"
#include "JtwLeaf.h"

namespace tool {
namespace {

constexpr std::uint64_t kNodesOfPlace = 8;  // groups, instances, levels of detail
constexpr float kOpaque = 0.996F;
constexpr float kWidest = 100;  // pixels of a line or point

/// What a file says of a width is not to be trusted.
float sizeOf(const std::optional<float>& chosen, bool isStated, float stated) {
  const float size = chosen ? *chosen : isStated ? stated : 1;
  return size >= 1 ? std::min(size, kWidest) : 1;
}

/// All units that nodes name, the first one from the top down in front.
std::vector<double> unitsIn(const JtNode& root) {
  std::vector<double> units;
  std::vector<const JtNode*> pending{&root};
  std::unordered_set<const JtNode*> seen{&root};
  while (!pending.empty()) {
    const JtNode* node = pending.back();
    pending.pop_back();
    const double unit = JtPartUtil::millimetresOf(*node);
    if (unit > 0 && std::ranges::find(units, unit) == units.end()) units.push_back(unit);
    for (int i = node->numChildren(); i-- > 0;)
      if (seen.insert(node->child(i)).second) pending.push_back(node->child(i));
  }
  return units;
}

}  // namespace

bool Item::isOpaque() const noexcept {
  return color[3] >= kOpaque && !(texture && texture->texture->isTranslucent());
}

Scene::Scene(JtPartition& partition, const SceneRequest& request)
    : request_(request), most_(request.mostPlaces), annotations_(request.textFacesViewer) {
  const std::vector<double> units = unitsIn(partition);
  if (!units.empty()) millimetres_ = units.front();
  hasSeveralUnits_ = units.size() > 1;
  jt::DrawingOptions options{.levelOfDetail = request.levelOfDetail,
                             .maxPaths = std::max(most_, kNodesOfPlace * most_)};
  options.isHidden = [](const JtNode& node) { return !JtwLeaf::isDisplayed(&node); };
  if (request.withAnnotations)
    options.onNode = [this](std::span<JtNode* const> path, const jt::Matrix4& toRoot) {
      if (!isFull() && takes(path))
        annotations_.add(*path.back(), inUnitOfRoot(path, toRoot), placeOf(path));
    };
  if (request.withWires)
    options.onWires = [this](const jt::DrawnWires& drawn) {
      add(drawn, drawn.part, {nullptr, drawn.part});
    };
  const bool complete =
      jt::visitDrawnShapes(partition, options, [this](const jt::DrawnShape& drawn) {
        return add(drawn, drawn.shape, {drawn.shape, nullptr});
      });
  if (!complete || isFull())
    throw Failure(ExitCode::input, "too_many_places",
                  "the scene graph unfolds into more than " + std::to_string(most_) +
                      " objects, each counted where it occurs; option: --max-places");
}

bool Scene::takes(std::span<JtNode* const> path) {
  const bool isLookedAt = request_.isShown || request_.labelOf || request_.placeOf ||
                          request_.withParts || hasSeveralUnits_;
  if (isLookedAt) pathSteps_ += path.size();
  return !request_.isShown || request_.isShown(path);
}

std::size_t Scene::placeOf(std::span<JtNode* const> path) const {
  return request_.placeOf ? request_.placeOf(path) : 0;
}

bool Scene::isFull() const noexcept {
  // What a small file can make deep is not to be looked at again and again.
  constexpr std::uint64_t kStepsOfPlace = 16;
  return items_.size() + annotations_.occurrences().size() > most_ ||
         pathSteps_ / kStepsOfPlace > most_;
}

template <class Drawn>
bool Scene::add(const Drawn& drawn, const JtNode* node, const Source& source) {
  if (isFull()) return false;
  if (!takes(drawn.path)) return true;
  const auto [known, isNew] = indices_.try_emplace(node, sources_.size());
  if (isNew) sources_.push_back(source);
  constexpr Color kNoMaterial{0.72F, 0.74F, 0.78F, 1};
  const JtLineStyle* lines = drawn.attributes->lineStyle();
  const JtPointStyle* points = drawn.attributes->pointStyle();
  items_.push_back({.mesh = known->second,
                    .isWires = !source.shape,
                    .toRoot = inUnitOfRoot(drawn.path, *drawn.toRoot),
                    .color = drawn.material ? drawn.material->diffuse() : kNoMaterial,
                    .usesVertexColors = !drawn.material || !drawn.material->overrideVertexColors(),
                    .texture = source.shape ? textureOf(drawn.attributes->texture()) : nullptr,
                    .lineWidth = sizeOf(request_.lineWidth, lines, lines ? lines->width() : 1),
                    .pointSize = sizeOf(request_.pointSize, points, points ? points->size() : 1),
                    .part = request_.withParts ? partOf(drawn.path, drawn.part) : 0,
                    .label = request_.labelOf ? request_.labelOf(drawn.path) : std::string(),
                    .place = placeOf(drawn.path)});
  return true;
}

jt::Matrix4 Scene::inUnitOfRoot(std::span<JtNode* const> path, const jt::Matrix4& toRoot) const {
  if (!hasSeveralUnits_) return toRoot;
  jt::Matrix4 result = jt::kIdentity;
  bool isFinal = false;
  double above = millimetres_;
  for (const JtNode* node : path) {
    jt::Matrix4 local = jt::localTransform(*node, isFinal);
    if (const double own = JtPartUtil::millimetresOf(*node); own > 0 && own != above) {
      jt::Matrix4 scale = jt::kIdentity;
      scale[0] = scale[5] = scale[10] = own / above;
      local = jt::multiply(local, scale);
      above = own;
    }
    result = jt::multiply(local, result);
  }
  return result;
}

std::size_t Scene::partOf(std::span<JtNode* const> path, const JtNode* part) {
  const auto end = std::ranges::find(path, part);
  return parts_
      .try_emplace(std::vector<JtNode*>(path.begin(), end == path.end() ? end : end + 1),
                   parts_.size())
      .first->second;
}

const PlacedTexture* Scene::textureOf(const jt::InheritedTexture& inherited) {
  const JtTextureImage* source = inherited.attribute;
  if (!source || !request_.withTextures) return nullptr;
  const auto [found, isNew] = textures_.try_emplace(source);
  if (!isNew) return found->second.get();
  try {
    if (auto pixels = pixelsOf(inherited)) {
      if (pixels->bytes.size() > kMostPixelBytes - texelBytes_)
        throw JtFormatError("bad_image", "the images have more than 512 MiB of pixels");
      texelBytes_ += pixels->bytes.size();
      found->second = std::make_unique<PlacedTexture>(
          PlacedTexture{std::make_shared<const Texture>(*std::move(pixels), source->wrap()),
                        source->coordinateChannel(), source->transform()});
    } else {
      notes_.emplace_back("a texture without pixels of 8 bits in the file is not in the picture");
    }
  } catch (const JtFormatError& error) {
    notes_.push_back("the image '" + source->fileName().stringToMbs() +
                     "' is not in the picture: " + error.message());
  }
  return found->second.get();
}

std::optional<jt::TexturePixels> Scene::pixelsOf(const jt::InheritedTexture& inherited) {
  const std::string name = jt::bytesOfText(inherited.attribute->fileName());
  if (name.empty()) return inherited.attribute->pixels();
  const auto* location =
      jt::as<JtFSStorageLocation>(inherited.file ? inherited.file->storageLocation() : nullptr);
  if (!location) throw JtFormatError("bad_image", "the model has no folder in which it could lie");
  const std::filesystem::path file(location->fullFilePath());
  return Folder(file.parent_path()).decodeImage(name, kMostPixelBytes - texelBytes_);
}

void Scene::decode(unsigned jobs, const std::function<void(double)>& progress) {
  meshes_.resize(sources_.size());
  std::mutex reporting;
  std::size_t done = 0;
  jt::inParallel(jobs, sources_.size(), [&](std::size_t i) {
    jt::setLastError({});
    const Source& source = sources_[i];
    meshes_[i] = source.shape ? source.shape->mesh() : jt::wireMesh(*source.partWithWires);
    const std::string error = meshes_[i] ? meshes_[i]->flaw() : jt::lastError();
    if (!error.empty()) meshes_[i].reset();
    const std::lock_guard lock(reporting);
    if (!error.empty()) damaged_.push_back(error);
    progress(static_cast<double>(++done) / static_cast<double>(sources_.size()));
  });
}

void Scene::findEdges(double degrees, unsigned jobs) {
  edges_.resize(meshes_.size());
  jt::inParallel(jobs, meshes_.size(), [&](std::size_t i) {
    if (meshes_[i]) edges_[i] = featureEdges(*meshes_[i], degrees);
  });
}

std::span<const Edge> Scene::edges(const Item& item) const {
  return edges_.empty() ? std::span<const Edge>() : edges_[item.mesh];
}

void Scene::forEachPosition(const std::function<void(const Vector&)>& take) const {
  for (const Item& item : items_)
    if (const jt::Mesh* one = mesh(item))
      for (const jt::Vec3f& position : one->positions) take(transformed(position, item.toRoot));
}

void Scene::explode(double factor) {
  struct Extent {
    Vector low{HUGE_VAL, HUGE_VAL, HUGE_VAL};
    Vector high{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
    void include(const Vector& p) {
      if (!isFinite(p)) return;
      for (std::size_t i = 0; i < 3; ++i) {
        low[i] = std::min(low[i], p[i]);
        high[i] = std::max(high[i], p[i]);
      }
    }
    Vector middle() const { return plus({low[0] / 2, low[1] / 2, low[2] / 2}, high, 0.5); }
  };
  std::vector<Extent> ofPart(parts_.size());
  Extent all;
  for (const Item& item : items_) {
    const jt::Mesh* one = mesh(item);
    if (!one) continue;
    for (const jt::Vec3f& position : one->positions) {
      const Vector p = transformed(position, item.toRoot);
      ofPart[item.part].include(p);
      all.include(p);
    }
  }
  for (Item& item : items_) {
    const Vector away = minus(ofPart[item.part].middle(), all.middle());
    if (!isFinite(away)) continue;
    for (std::size_t i = 0; i < 3; ++i) item.toRoot[12 + i] += factor * away[i];
  }
}

}  // namespace tool
