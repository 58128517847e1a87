#include "SceneWriter.h"

#include <algorithm>
#include <unordered_set>

#include "JtInstance.h"
#include "JtTexture.h"
#include "SceneReader.h"
#include "VisMetaDataNode.h"

namespace jt::file {

namespace {

/// A partition that stands for another file ends its own file here.
int ownChildren(const JtNode& node) {
  const auto* partition = as<JtPartition>(&node);
  return partition && partition->externalPartition() ? 0 : node.numChildren();
}

Format formOf(const SceneSource* source, const Format& fallback) {
  return source ? source->format() : fallback;
}

}  // namespace

SceneWriter::SceneWriter(const JtNode& root, SceneSource* source, const Format& format)
    : root_(root), source_(source), format_(format), sameForm_(formOf(source, format) == format) {
  if (source_) {
    nextId_ = source_->maxObjectId();
    if (nextId_ == std::numeric_limits<std::int32_t>::max())
      throw JtFormatError("too_many_ids", "the file uses up the object ids; it cannot be edited");
    ++nextId_;
    liveAtoms_.resize(source_->elementCount() - source_->firstAtom());
  }
}

std::vector<const JtNode*> SceneWriter::nodesOf(const JtNode& root) {
  std::vector<const JtNode*> order;
  std::vector<const JtNode*> pending{&root};
  std::unordered_set<const JtNode*> seen;  // only nodes that several paths may reach
  while (!pending.empty()) {
    const JtNode* node = pending.back();
    pending.pop_back();
    order.push_back(node);
    for (int i = ownChildren(*node) - 1; i >= 0; --i) {
      const JtNode* child = node->child(i);
      if (child->numParents() < 2 || seen.insert(child).second) pending.push_back(child);
    }
  }
  return order;
}

bool SceneWriter::isChanged(const JtNode& root, const SceneSource* source) {
  if (!source) return true;
  std::vector<const JtNode*> nodes = nodesOf(root);
  return std::any_of(nodes.begin(), nodes.end(), [&](const JtNode* node) {
    if (node->isModified() || node->propertiesModified() || !SceneSource::isFrom(*node, source))
      return true;
    for (int i = 0; i < node->numAttributes(); ++i)
      if (node->attribute(i)->isModified() || !SceneSource::isFrom(*node->attribute(i), source))
        return true;
    return false;
  });
}

std::vector<NewSegment> SceneWriter::changedMetaData(const std::vector<const JtNode*>& nodes) {
  std::vector<NewSegment> changed;
  for (const JtNode* node : nodes) {
    const auto* holder = as<VisMetaDataNode>(node);
    if (!holder || !holder->metaData() || !holder->metaData()->isModified()) continue;
    const auto* atom = as<JtLateLoadedPropAtom>(node->property(JtString("JT_LLPROP_METADATA")));
    if (!atom) continue;
    changed.push_back(
        {atom->segmentId(), atom->segmentType(), holder->metaData_, "its metadata was changed"});
  }
  return changed;
}

EncodedScene SceneWriter::encode() {
  nodes_ = nodesOf(root_);
  collectGraph();
  collectProperties();
  keepStrayAtoms();
  nameSegmentsOfUnreadAtoms();

  std::vector<std::byte>& out = result_.bytes;
  if (source_) out.reserve(source_->bytes().size() + source_->bytes().size() / 16);
  for (const Item& item : graph_) writeItem(out, item);
  writeMarker(out);
  if (source_)
    for (std::uint32_t element = source_->firstAtom(); element < source_->elementCount(); ++element)
      if (liveAtoms_[element - source_->firstAtom()])
        writeItem(out, {nullptr, element, source_->objectId(element)});
  for (const Item& item : newAtoms_) writeItem(out, item);
  writeMarker(out);
  writeTable(out);
  if (source_ && sameForm_)
    out.insert(out.end(), source_->surplus().begin(), source_->surplus().end());
  for (NewSegment& segment : changedMetaData(nodes_))
    result_.newSegments.push_back(std::move(segment));
  return std::move(result_);
}

std::int32_t SceneWriter::newId() {
  if (nextId_ == std::numeric_limits<std::int32_t>::max())
    throw JtFormatError("too_many_ids", "the scene graph has more objects than ids");
  return nextId_++;
}

/// Elements of the source keep their place and their id: those in use, and those that nothing led
/// to when they were read. What is new follows, parents before children.
void SceneWriter::collectGraph() {
  const std::uint32_t count = source_ ? source_->firstAtom() : 0;
  std::vector<const JtSceneObject*> live(count);
  std::vector<Item> added;
  const auto meet = [&](const JtSceneObject& object) {
    if (isOwn(object)) {
      live[SceneSource::elementOf(object)] = &object;
    } else if (std::int32_t& id = ids_[&object]; id == 0) {
      id = newId();
      added.push_back({&object, SceneSource::kNone, id});
    }
  };
  for (const JtNode* node : nodes_) {
    meet(*node);
    for (int i = 0; i < node->numAttributes(); ++i) meet(*node->attribute(i));
  }
  graph_.reserve(count + added.size());
  for (std::uint32_t element = 0; element < count; ++element) {
    const Item item{live[element], element, source_->objectId(element)};
    if (live[element] || source_->isStray(element)) graph_.push_back(item);
  }
  graph_.insert(graph_.end(), added.begin(), added.end());
  std::erase_if(graph_, [&](const Item& item) { return skipsInConversion(item); });
}

/// True for what another form cannot hold; says so. Only what is understood can be converted.
bool SceneWriter::skipsInConversion(const Item& item) {
  const SceneSource* from = item.object ? SceneSource::sourceOf(*item.object) : source_;
  const std::uint32_t element = item.object ? SceneSource::elementOf(*item.object) : item.element;
  if (!from || from->format() == format_) return false;
  const ElementKind* kind = from->kind(element);
  const bool isUnderstood = kind && kind->type != JtOpaqueAttribute::classTypeID() &&
                            (!item.object || item.object->typeID() == kind->type) &&
                            !(kind->type == JtShaderEffects::classTypeID() &&
                              format_.has(Feature::byteVersions));  // 10.x has no shaders
  if (isUnderstood) return false;
  const std::string what =
      kind ? kind->name : "an element of unknown type " + from->frame(element).typeId.text();
  if (item.object && JtType::isA(item.object, JtNode::classTypeID()))
    throw JtFormatError("not_convertible",
                        what + " cannot be converted to another version of the format",
                        from->position(from->offset(element)));
  leaveOut(what, element);
  return true;
}

void SceneWriter::leaveOut(const std::string& what, std::uint32_t element) {
  result_.warnings.push_back(
      {"not_convertible", what + " (object " +
                              std::to_string(source_ ? source_->objectId(element) : 0) +
                              ") was left out: it cannot be converted"});
}

// --- Properties

bool SceneWriter::isUnloaded(const JtNode& node) const {
  return sameForm_ && isOwn(node) && node.propertyRow_.load(std::memory_order_acquire) != 0;
}

void SceneWriter::markAtom(std::int32_t id) {
  const std::uint32_t element = source_->find(id);
  if (element != SceneSource::kNone && element >= source_->firstAtom())
    liveAtoms_[element - source_->firstAtom()] = true;
}

void SceneWriter::keepUnreadRow(Row& row, std::uint32_t pairs) {
  row.copiedPairs = pairs;
  source_->eachPair(pairs, [&](std::int32_t key, std::int32_t value) {
    markAtom(key);
    markAtom(value);
  });
}

/// Pairs that name atoms which do not exist are no properties to anybody, but stay in the file.
void SceneWriter::keepDanglingPairs(Row& row, std::uint32_t pairs) {
  const auto isAtom = [&](std::int32_t id) {
    const std::uint32_t element = source_->find(id);
    return element != SceneSource::kNone && element >= source_->firstAtom();
  };
  source_->eachPair(pairs, [&](std::int32_t key, std::int32_t value) {
    if (!isAtom(key) || !isAtom(value)) row.pairs.push_back({key, value});
  });
}

std::int32_t SceneWriter::atomId(const JtPropAtom& atom) {
  if (isOwn(atom)) {
    const std::uint32_t element = SceneSource::elementOf(atom);
    liveAtoms_[element - source_->firstAtom()] = true;
    return source_->objectId(element);
  }
  std::int32_t& slot = ids_[&atom];
  if (slot != 0) return slot;
  const auto* text = as<JtStringPropAtom>(&atom);
  const bool isPlainText = text && text->stateFlags() == 0;
  if (isPlainText) {
    std::int32_t& sharedId = newTexts_[text->value().units()];
    if (sharedId != 0) return slot = sharedId;
    sharedId = newId();
    slot = sharedId;
  } else {
    slot = newId();
  }
  const std::int32_t id = slot;
  newAtoms_.push_back({&atom, SceneSource::kNone, id});
  if (const auto* late = as<JtLateLoadedPropAtom>(&atom)) {
    result_.namedSegments.push_back(late->segmentId());
    if (late->object_ && !SceneSource::sourceOf(atom))
      result_.newSegments.push_back(
          {late->segmentId(), late->segmentType(), late->object_, "it is new"});
  }
  return id;
}

void SceneWriter::collectNodeRow(const JtNode& node, std::int32_t id) {
  Row row{id, {}, 0};
  if (isUnloaded(node)) {
    keepUnreadRow(row, node.propertyRow_.load(std::memory_order_acquire));
  } else {
    for (const Property& property : node.properties()) {
      const std::int32_t key = atomId(*property.key);
      row.pairs.push_back({key, atomId(*property.value)});
    }
  }
  if (row.copiedPairs || !row.pairs.empty()) rows_.push_back(std::move(row));
}

/// Rows keep the order of the source; owners that got their first property follow.
void SceneWriter::collectProperties() {
  std::unordered_map<std::int32_t, const JtNode*> own;
  std::vector<const JtNode*> added;
  for (const JtNode* node : nodes_) {
    if (isOwn(*node)) {
      own.emplace(node->objectId(), node);
    } else {
      added.push_back(node);
    }
  }
  if (source_)
    for (const PropertyRow& sourceRow : source_->rows()) {
      const std::uint32_t element = source_->find(sourceRow.owner);
      const auto node = own.find(sourceRow.owner);
      if (node != own.end()) {
        const std::size_t before = rows_.size();
        collectNodeRow(*node->second, sourceRow.owner);
        if (rows_.size() > before && !rows_.back().copiedPairs)
          keepDanglingPairs(rows_.back(), sourceRow.pairs);
        own.erase(node);  // a second row of the same node went into the first
      } else if (sameForm_ && !source_->isNode(element)) {
        // Owners that are no nodes, or do not exist, are none of the scene's business.
        Row row{sourceRow.owner, {}, 0};
        keepUnreadRow(row, sourceRow.pairs);
        rows_.push_back(row);
      } else if (sameForm_ && source_->isStray(element)) {
        Row row{sourceRow.owner, {}, 0};
        keepUnreadRow(row, sourceRow.pairs);
        rows_.push_back(row);
      }
    }
  for (const JtNode* node : nodes_)
    if (isOwn(*node) && own.contains(node->objectId())) collectNodeRow(*node, node->objectId());
  for (const JtNode* node : added) collectNodeRow(*node, ids_.at(node));
}

/// Atoms that no property named when the file was read stay, whatever they are for.
void SceneWriter::keepStrayAtoms() {
  if (!source_ || !sameForm_) return;
  std::vector<bool> named(liveAtoms_.size());
  const auto mark = [&](std::int32_t id) {
    const std::uint32_t element = source_->find(id);
    if (element != SceneSource::kNone && element >= source_->firstAtom())
      named[element - source_->firstAtom()] = true;
  };
  for (const PropertyRow& row : source_->rows())
    source_->eachPair(row.pairs, [&](std::int32_t key, std::int32_t value) {
      mark(key);
      mark(value);
    });
  for (std::size_t i = 0; i < named.size(); ++i)
    if (!named[i]) liveAtoms_[i] = true;
}

void SceneWriter::nameSegmentsOfUnreadAtoms() {
  if (!source_) return;
  const ElementKind* lateLoaded = findElementKind(JtLateLoadedPropAtom::classTypeID());
  for (std::size_t i = 0; i < liveAtoms_.size(); ++i) {
    if (!liveAtoms_[i]) continue;
    const auto element = source_->firstAtom() + static_cast<std::uint32_t>(i);
    if (source_->kind(element) != lateLoaded) continue;
    const auto atom = source_->atom(element);
    if (const auto* late = as<JtLateLoadedPropAtom>(atom.get()))
      result_.namedSegments.push_back(late->segmentId());
  }
}

// --- Bytes

void SceneWriter::writeItem(std::vector<std::byte>& out, const Item& item) {
  const JtSceneObject* object = item.object;
  const bool copies =
      sameForm_ && item.element != SceneSource::kNone && (!object || !object->isModified());
  if (copies) {
    const auto bytes = source_->elementBytes(item.element);
    out.insert(out.end(), bytes.begin(), bytes.end());
    return;
  }
  if (object) {
    writeObject(out, item, nullptr);
    return;
  }
  // An element of the source that nobody holds goes into another form.
  Links links;
  const ElementKind* kind = nullptr;
  std::string damage;
  const Ref<JtSceneObject> read =
      SceneReader::readElement(*source_, item.element, links, kind, &damage);
  source_->bind(*read, item.element);
  const Item bound{read.get(), item.element, item.id};
  if (!damage.empty()) {
    leaveOut(damage, item.element);
  } else if (!skipsInConversion(bound)) {
    writeObject(out, bound, &links);
  }
}

void SceneWriter::writeObject(std::vector<std::byte>& out, const Item& item, const Links* links) {
  const JtSceneObject& object = *item.object;
  const SceneSource* from = SceneSource::sourceOf(object);
  const ElementKind* kind = findElementKind(object.typeID());
  ElementFrame frame{0, kind ? kind->guid : JtGuid{}, kind ? kind->baseType : std::uint8_t{0},
                     item.id};
  if (from) {  // the type as it was read: it may be one that this library does not know
    const ElementFrame read = from->frame(SceneSource::elementOf(object));
    frame.typeId = read.typeId;
    frame.baseType = read.baseType;
    if (!from->kind(SceneSource::elementOf(object))) {
      kind = as<JtGroup>(&object)       ? &unknownGroupKind()
             : as<JtNode>(&object)      ? &unknownNodeKind()
             : as<JtAttribute>(&object) ? &unknownAttributeKind()
                                        : &unknownAtomKind();
    } else if (!kind) {
      kind = from->kind(SceneSource::elementOf(object));
    }
  }
  if (!kind)
    throw JtFormatError("not_writable", std::string("objects of type ") + object.typeID()->name() +
                                            " cannot be stored in a scene graph");
  const std::size_t start = out.size();
  Writer writer(out, format_);
  writer.setConverting(from && from->format() != format_);
  fields(writer, frame, true);
  if (links) {
    writer.links() = *links;
  } else {
    fillLinks(object, writer.links());
  }
  kind->write(writer, const_cast<JtSceneObject&>(object));  // a Writer only looks
  const std::size_t length = out.size() - start - kLengthSize;
  if (length > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
    throw JtFormatError("too_large", "an element of 2 GiB cannot be stored");
  const auto stored = reorder(static_cast<std::int32_t>(length), format_.bigEndian);
  std::memcpy(out.data() + start, &stored, sizeof stored);
}

void SceneWriter::fillLinks(const JtSceneObject& object, Links& links) const {
  const auto* node = as<JtNode>(&object);
  if (!node) return;
  const auto idOf = [&](const JtSceneObject& other) {
    return isOwn(other) ? other.objectId() : ids_.at(&other);
  };
  for (int i = 0; i < node->numAttributes(); ++i)
    links.attributes.push_back(idOf(*node->attribute(i)));
  for (int i = 0; i < ownChildren(*node); ++i) links.children.push_back(idOf(*node->child(i)));
}

void SceneWriter::writeMarker(std::vector<std::byte>& out) const {
  Writer writer(out, format_);
  writer("elementLength", static_cast<std::int32_t>(kMarkerLength));
  out.insert(out.end(), kMarkerLength, std::byte{0xff});
}

void SceneWriter::writeTable(std::vector<std::byte>& out) const {
  Writer writer(out, format_);
  writer("version", source_ ? source_->tableVersion() : std::int16_t{1});
  writer("elementCount", static_cast<std::int32_t>(rows_.size()));
  for (const Row& row : rows_) {
    writer("elementObjectId", row.owner);
    if (row.copiedPairs) {
      std::size_t size = 0;
      source_->eachPair(row.copiedPairs, [&](std::int32_t, std::int32_t) { size += 8; });
      writer.append(source_->bytes().subspan(row.copiedPairs, size));
    }
    for (const Pair& pair : row.pairs) {
      writer("keyObjectId", pair.key);
      writer("valueObjectId", pair.value);
    }
    writer("keyObjectId", std::int32_t{0});
  }
}

}  // namespace jt::file
