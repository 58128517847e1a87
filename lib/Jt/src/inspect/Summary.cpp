#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "JtInspect.h"
#include "JtTexture.h"
#include "file/save/SceneWriter.h"

namespace jt {

namespace {

const char* compressionName(const file::Container& container, const file::TocEntry& entry) {
  const auto packing = container.packingHeader(entry);
  if (!packing) return "none";
  switch (static_cast<file::Packing>(packing->algorithm)) {
    case file::Packing::zlib:
      return "zlib";
    case file::Packing::xz:
      return "xz";
    default:
      return "stored";
  }
}

}  // namespace

std::string elementName(const JtSceneObject* object) {
  if (!object) return {};
  const JtType* const type = object->typeID();
  const file::SceneSource* source = file::SceneSource::sourceOf(*object);
  // Plain nodes and groups also stand for elements of unknown types.
  if (!source || (type != JtNode::classTypeID() && type != JtGroup::classTypeID()))
    if (const file::ElementKind* kind = file::findElementKind(type)) return kind->name;
  if (!source) return type->name();
  const std::uint32_t element = file::SceneSource::elementOf(*object);
  if (const file::ElementKind* kind = source->kind(element)) return kind->name;
  return "Unknown Element " + source->frame(element).typeId.text();
}

const char* segmentName(std::int32_t type) { return file::segmentTypeName(type); }

bool isExactGeometry(std::int32_t type) noexcept {
  switch (type) {
    case 2:   // JT B-rep
    case 17:  // XT B-rep
    case 18:  // wireframe
    case 20:  // ULP
    case 23:  // smart topology table
    case 24:  // LWPA
    case 30:  // MultiXT B-rep
    case 32:  // STEP B-rep, by edition
    case 33:
      return true;
    default:
      return false;
  }
}

FileSummary summarizeFile(const JtPartition& partition) {
  const file::Container& container = *partition.container();
  FileSummary summary;
  summary.size = container.image().bytes().size();
  summary.version = {container.format().major, container.format().minor};
  summary.versionText = container.versionText().substr(0, 75);
  summary.versionText.erase(summary.versionText.find_last_not_of(' ') + 1);
  summary.bigEndian = container.format().bigEndian;
  summary.segmentCount = container.segmentCount();
  std::int32_t type = 0;
  for (const auto& [count, bytes] : container.totals()) {
    if (count > 0) summary.byType.push_back({type, segmentName(type), count, bytes});
    ++type;
  }
  return summary;
}

std::vector<SegmentInfo> listSegments(const JtPartition& partition) {
  const file::Container& container = *partition.container();
  std::vector<SegmentInfo> segments;
  segments.reserve(container.segmentCount());
  for (const file::TocEntry& entry : container.toc())
    segments.push_back({entry.id, entry.type(), segmentName(entry.type()), entry.offset,
                        entry.length, compressionName(container, entry)});
  return segments;
}

GraphSummary summarizeGraph(const JtPartition& partition) {
  const std::vector<const JtNode*> nodes = file::SceneWriter::nodesOf(partition);
  GraphSummary summary;
  summary.nodes = nodes.size();
  std::unordered_set<const JtAttribute*> attributes;
  std::unordered_map<const JtType*, std::size_t> types;
  for (const JtNode* node : nodes) {
    const bool isKnown = file::findElementKind(node->typeID()) &&
                         node->typeID() != JtNode::classTypeID() &&
                         node->typeID() != JtGroup::classTypeID();
    // Unknown elements are plain nodes and groups in memory; only their file knows their type.
    if (isKnown) {
      ++types[node->typeID()];
    } else {
      ++summary.nodesByType[elementName(node)];
    }
    for (int i = 0; i < node->numAttributes(); ++i) attributes.insert(node->attribute(i));
  }
  for (const auto& [type, count] : types)
    summary.nodesByType[file::findElementKind(type)->name] += count;
  summary.attributes = attributes.size();

  if (const file::SceneSource* source = file::SceneSource::sourceOf(partition)) {
    summary.propertyAtoms = source->elementCount() - source->firstAtom();
    for (std::uint32_t element = 0; element < source->firstAtom(); ++element)
      if (source->isUnreachable(element) && !source->isNode(element)) ++summary.unlistedAttributes;
    for (const file::PropertyRow& row : source->rows())
      source->eachPair(row.pairs, [&](std::int32_t, std::int32_t) { ++summary.properties; });
  } else {
    for (const JtNode* node : nodes)
      summary.properties += static_cast<std::size_t>(node->numProperties());
  }

  // Longest path: a node counts when all of its parents have counted.
  std::unordered_map<const JtNode*, std::pair<std::size_t, int>> levels;  // depth, parents to come
  for (const JtNode* node : nodes) levels[node] = {1, 0};
  for (const JtNode* node : nodes)
    for (int i = 0; i < node->numChildren(); ++i)
      if (const auto child = levels.find(node->child(i)); child != levels.end())
        ++child->second.second;
  std::vector<const JtNode*> ready{&partition};
  while (!ready.empty()) {
    const JtNode* node = ready.back();
    ready.pop_back();
    const std::size_t depth = levels[node].first;
    summary.depth = std::max(summary.depth, depth);
    for (int i = 0; i < node->numChildren(); ++i) {
      const auto child = levels.find(node->child(i));
      if (child == levels.end()) continue;
      child->second.first = std::max(child->second.first, depth + 1);
      if (--child->second.second == 0) ready.push_back(child->first);
    }
  }
  return summary;
}

namespace {

/// True when a node has a property with that key. Makes no properties.
bool namesKey(const JtPartition& partition, const std::vector<const JtNode*>& nodes,
              const char* text) {
  const JtString key(text);
  if (file::SceneSource* source = file::SceneSource::sourceOf(partition))
    return source->keys().has(key);
  return std::ranges::any_of(nodes, [&](const JtNode* node) { return node->property(key); });
}

bool namesFile(const JtTextureImage& texture) {
  for (const TextureBlock& block : texture.blocks())
    for (const TextureImage& image : block.images)
      if (!image.fileName.isEmpty()) return true;
  return false;
}

}  // namespace

ContentSummary summarizeContent(const JtPartition& partition) {
  const std::vector<const JtNode*> nodes = file::SceneWriter::nodesOf(partition);
  ContentSummary summary;
  summary.pmi = namesKey(partition, nodes, file::kPMIKey);
  if (const file::Container* container = partition.container()) {
    std::int32_t type = 0;
    for (const file::SegmentTotal& total : container->totals()) {
      if (total.count > 0 && isExactGeometry(type)) summary.exactGeometry = true;
      ++type;
    }
  }
  for (const JtNode* node : nodes) {
    const auto* other = as<JtPartition>(node);
    if (other && other != &partition && !other->fileName().isEmpty()) summary.otherFiles = true;
    for (int i = 0; i < node->numAttributes(); ++i)
      if (const auto* texture = as<JtTextureImage>(node->attribute(i))) {
        summary.textures = true;
        summary.otherFiles = summary.otherFiles || namesFile(*texture);
      }
  }
  return summary;
}

std::optional<ObjectPlace> placeOf(const JtPartition& partition, std::int32_t objectId) {
  const auto place = [](const JtNode& node, std::string key) {
    const auto* name = as<JtStringPropAtom>(node.property(JtString("JT_PROP_NAME")));
    return ObjectPlace{node.objectId(), name ? name->value().stringToMbs() : std::string(),
                       elementName(&node), std::move(key)};
  };
  for (const JtNode* node : file::SceneWriter::nodesOf(partition)) {
    if (node->objectId() == objectId) return place(*node, {});
    for (int i = 0; i < node->numAttributes(); ++i)
      if (node->attribute(i)->objectId() == objectId) return place(*node, {});
    JtPropAtom* key = nullptr;
    JtPropAtom* value = nullptr;
    for (int i = 0; node->getProperty(i, key, value); ++i) {
      if (key->objectId() != objectId && value->objectId() != objectId) continue;
      const auto* text = as<JtStringPropAtom>(key);
      return place(*node, text ? text->value().stringToMbs() : std::string());
    }
  }
  return {};
}

}  // namespace jt
