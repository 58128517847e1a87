#include "file/save/SceneWriter.h"

#include <algorithm>
#include <unordered_set>

#include "JtInstance.h"
#include "JtShape.h"
#include "JtTexture.h"
#include "VisPartNode.h"
#include "file/elements/AtomFields.h"
#include "file/graph/SceneReader.h"
#include "file/segments/SegmentObjects.h"

namespace jt::file {

namespace {

Format formOf(const SceneSource* source, const Format& fallback) {
  return source ? source->format() : fallback;
}

/// False for kinds that a form does not have, or whose fields in it are not known.
bool isHeldBy(const JtType& type, const Format& format) {
  if (&type == JtTextureImage::classTypeID() ||
      &type == JtTextureCoordinateGenerator::classTypeID())
    return format.has(Feature::readableTextures);
  if (type.isA(JtLight::classTypeID())) return format.has(Feature::readableLights);
  return &type != JtShaderEffects::classTypeID() || format.has(Feature::shaderEffects);
}

/// False for an object that was read in part; the rest is carried in the form of its file.
bool isWhole(const JtSceneObject& object) {
  const auto* generator = as<JtTextureCoordinateGenerator>(&object);
  return !generator || generator->mapping();
}

/// The kind that represents one that a form does not have, or null.
const ElementKind* standInFor(const ElementKind& kind, const Format& format) {
  // A null shape holds what a wire harness has in common with all shapes.
  const bool isHarness = kind.type == JtWireHarnessSet::classTypeID();
  return isHarness && !format.has(Feature::wireHarnesses)
             ? findElementKind(JtNullShape::classTypeID())
             : nullptr;
}

}  // namespace

SceneWriter::SceneWriter(const std::vector<const JtNode*>& nodes, SceneSource* source,
                         const Format& format, const SavePlan& plan, SegmentPlaces& places)
    : nodes_(nodes),
      source_(source),
      format_(format),
      sameForm_(formOf(source, format).sameFormAs(format)),
      plan_(plan),
      places_(places) {
  if (source_) {
    nextId_ = source_->maxObjectId();
    if (nextId_ == std::numeric_limits<std::int32_t>::max())
      throw JtFormatError("too_many_ids", "the file uses up the object ids; it cannot be edited");
    ++nextId_;
    for (const std::int32_t id : source_->missingIds())
      if (id != std::numeric_limits<std::int32_t>::max()) takenIds_.insert(id);
    firstNewId_ = nextId_;
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
    for (int i = numOwnChildren(*node) - 1; i >= 0; --i) {
      const JtNode* child = ownChild(*node, i);
      if (child->numParents() < 2 || seen.insert(child).second) pending.push_back(child);
    }
  }
  return order;
}

bool SceneWriter::isChanged(const std::vector<const JtNode*>& nodes, const SceneSource* source) {
  if (!source) return true;
  return std::any_of(nodes.begin(), nodes.end(), [&](const JtNode* node) {
    if (node->isModified() || node->propertiesModified() || !SceneSource::isFrom(*node, source))
      return true;
    for (int i = 0; i < node->numAttributes(); ++i)
      if (node->attribute(i)->isModified() || !SceneSource::isFrom(*node->attribute(i), source))
        return true;
    return false;
  });
}

std::vector<ChangedObject> SceneWriter::changedMetaData(const std::vector<const JtNode*>& nodes) {
  std::vector<ChangedObject> changed;
  for (const JtNode* node : nodes) {
    const auto* holder = as<VisMetaDataNode>(node);
    if (!holder) continue;
    const auto add = [&](const char* key, const Ref<JtBase>& object, const char* reason) {
      const auto* atom = as<JtLateLoadedPropAtom>(node->property(JtString(key)));
      const SceneSource* from = atom ? SceneSource::sourceOf(*atom) : nullptr;
      const TocEntry* entry = from ? from->container().find(atom->segmentId()) : nullptr;
      if (entry) changed.push_back({entry, object, reason});
    };
    if (holder->metaData() && holder->metaData()->isModified())
      add(kMetaDataKey, FieldAccess::metaData(*holder), "its metadata was changed");
    if (FieldAccess::pmi(*holder) && FieldAccess::pmi(*holder)->isModified())
      add(kPMIKey, FieldAccess::pmi(*holder), "its PMI was changed");
    const auto* part = as<VisPartNode>(node);
    if (part && FieldAccess::wires(*part) && FieldAccess::wires(*part)->isModified())
      add(kWireframeKey, FieldAccess::wires(*part), "its wireframe was changed");
  }
  return changed;
}

EncodedScene SceneWriter::encode(ZlibPacker* packer) {
  packer_ = packer;
  ByteSink& out = result_.bytes;
  if (source_) {
    // Which atoms of the source stay is known when all properties have been seen.
    collectProperties();
    keepUnreachableAtoms();
    nameSegmentsOfUnreadAtoms();
    out.reserve(source_->bytes().size() + newAtoms_.size() + rows_.size());
  } else {
    constexpr std::size_t kUsualNode = 512;  // with attributes and properties
    out.reserve(kUsualNode * nodes_.size());
  }
  for (const Item& item : graph_) {
    writeItem(out, item);
    packAhead();
  }
  writeEndMarker(out, format_);
  if (!source_) {
    atomsOut_ = &out;
    collectProperties();
  }
  if (source_)
    for (std::uint32_t element = source_->firstAtom(); element < source_->elementCount(); ++element)
      if (liveAtoms_[element - source_->firstAtom()]) {
        writeItem(out, {nullptr, element, source_->objectId(element)});
        packAhead();
      }
  out.append(newAtoms_.bytes());
  writeEndMarker(out, format_);
  Writer writer(out, format_);
  writer("version", source_ ? source_->tableVersion() : std::int16_t{1});
  writer("elementCount", rowCount_);
  out.append(rows_.bytes());
  if (source_ && sameForm_) out.append(source_->trailingBytes());
  tellLosses();
  return std::move(result_);
}

std::int32_t SceneWriter::newId() {
  while (takenIds_.contains(nextId_)) ++nextId_;
  if (nextId_ == std::numeric_limits<std::int32_t>::max())
    throw JtFormatError("too_many_ids", "the scene graph has more objects than ids");
  return nextId_++;
}

// --- Ids of objects that are not from the source

/// An object that nobody else can be writing keeps its new id itself, in the place where a read
/// object has its element: nodes belong to one graph, and what is held once is held by this graph.
bool SceneWriter::hasOwnSlot(const JtSceneObject& object) const {
  return !FieldAccess::source(object) &&
         (object.refCount() == 1 || JtType::isA(&object, JtNode::classTypeID()));
}

void SceneWriter::setNewId(const JtSceneObject& object, std::int32_t id) {
  if (hasOwnSlot(object)) {
    FieldAccess::element(object) = static_cast<std::uint32_t>(id);
  } else {
    ids_[&object] = id;
  }
}

std::int32_t SceneWriter::idOf(const JtSceneObject& object) const {
  if (isOwn(object)) {
    const std::int32_t id = object.objectId();
    // Links in the file lead to usable ids only; a top of the graph may have any.
    if (source_->find(id) != SceneSource::elementOf(object))
      throw JtFormatError("bad_object_id",
                          "object id " + std::to_string(id) +
                              " is no valid id or is used twice, so nothing new can refer to it",
                          source_->position(source_->offset(SceneSource::elementOf(object))));
    return id;
  }
  if (hasOwnSlot(object)) return static_cast<std::int32_t>(FieldAccess::element(object));
  const std::int32_t* const id = ids_.find(&object);
  return id ? *id : 0;
}

/// Elements of the source keep their place and their id: those in use, and those that nothing led
/// to when they were read. What is new follows, parents before children.
void SceneWriter::collectGraph() {
  const std::uint32_t count = source_ ? source_->firstAtom() : 0;
  std::vector<const JtSceneObject*> live(count);
  std::vector<Item> added;
  std::vector<const JtLightSet*> lightSets;
  const auto meet = [&](const JtSceneObject& object, bool isFirst) {
    if (isOwn(object)) {
      live[SceneSource::elementOf(object)] = &object;
    } else if (isFirst) {
      setNewId(object, newId());
      added.push_back({&object, SceneSource::kNone, nextId_ - 1});
      if (const auto* set = as<JtLightSet>(&object)) lightSets.push_back(set);
    }
  };
  for (const JtNode* node : nodes_) {
    meet(*node, true);
    for (int i = 0; i < node->numAttributes(); ++i) {
      const JtAttribute& attribute = *node->attribute(i);
      meet(attribute, hasOwnSlot(attribute) || !ids_.find(&attribute));
    }
  }
  takeLights(lightSets, added);
  graph_.reserve(count + added.size());
  for (std::uint32_t element = 0; element < count; ++element) {
    const Item item{live[element], element, source_->objectId(element)};
    if (live[element] || source_->isUnreachable(element)) graph_.push_back(item);
  }
  graph_.insert(graph_.end(), added.begin(), added.end());
  std::erase_if(graph_, [&](const Item& item) { return skipsInConversion(item); });
}

/// The id in the new file of an object of another file; 0 for one that does not come along.
std::int32_t SceneWriter::newIdOf(const SceneSource& from, std::int32_t id) {
  const auto note = [this](const JtSceneObject& object) {
    const SceneSource* source = SceneSource::sourceOf(object);
    if (source && source != source_)
      newIdOf_.try_emplace({source, source->objectId(SceneSource::elementOf(object))},
                           idOf(object));
  };
  if (!knowsNewIds_)
    for (const JtNode* node : nodes_) {
      note(*node);
      for (int i = 0; i < node->numAttributes(); ++i) note(*node->attribute(i));
    }
  knowsNewIds_ = true;
  const auto found = newIdOf_.find({&from, id});
  return found == newIdOf_.end() ? 0 : found->second;
}

/// Light sets name their lights by id, and often nothing else does. Those of sets from other files
/// come along.
void SceneWriter::takeLights(const std::vector<const JtLightSet*>& sets, std::vector<Item>& added) {
  for (const JtLightSet* set : sets) {
    SceneSource* from = SceneSource::sourceOf(*set);
    if (!from) continue;
    for (const std::int32_t id : set->lightIds()) {
      const std::uint32_t element = from->find(id);
      if (element >= from->firstAtom() || newIdOf(*from, id) != 0) continue;
      Links links;
      const ElementKind* kind = nullptr;
      std::string damage;
      const Ref<JtSceneObject> light =
          SceneReader::readElement(*from, element, links, kind, &damage);
      if (!damage.empty() || !JtType::isA(light.get(), JtLight::classTypeID())) continue;
      from->bind(*light, element);
      lights_.push_back(light);
      const std::int32_t taken = newId();
      setNewId(*light, taken);
      newIdOf_[{from, id}] = taken;
      added.push_back({light.get(), SceneSource::kNone, taken});
    }
  }
}

/// A copy of an object of another file that names objects by their new ids; empty when it names
/// none.
Ref<JtSceneObject> SceneWriter::withNewIds(const JtSceneObject& object) {
  const SceneSource* from = SceneSource::sourceOf(object);
  if (!from || from == source_) return {};
  if (const auto* set = as<JtLightSet>(&object)) {
    auto copy = make<JtLightSet>(*set);
    for (std::int32_t& id : FieldAccess::lights(*copy)) id = newIdOf(*from, id);
    return copy;
  }
  if (const auto* pointer = as<JtPtrPropAtom>(&object)) {
    auto copy = make<JtPtrPropAtom>(*pointer);
    AtomFields::setTarget(*copy, newIdOf(*from, pointer->targetId()));
    return copy;
  }
  return {};
}

/// True for what another form cannot hold; says so. Only what is understood can be converted.
bool SceneWriter::skipsInConversion(const Item& item) {
  const SceneSource* from = item.object ? SceneSource::sourceOf(*item.object) : source_;
  const std::uint32_t element = item.object ? SceneSource::elementOf(*item.object) : item.element;
  if (!from) return item.object && skipsNew(*item.object);
  if (from->format().sameFormAs(format_)) return false;
  const ElementKind* kind = from->kind(element);
  const bool isUnderstood =
      kind && kind->type != JtOpaqueAttribute::classTypeID() &&
      (!item.object || (item.object->typeID() == kind->type && isWhole(*item.object))) &&
      isHeldBy(*kind->type, format_);
  if (isUnderstood) return false;
  const std::string what =
      kind ? kind->name : "an element of unknown type " + from->frame(element).typeId.text();
  if (item.object && JtType::isA(item.object, JtNode::classTypeID()))
    throw JtFormatError("not_convertible",
                        what + " cannot be converted to another version of the format",
                        from->position(from->offset(element)));
  leaveOut(what, from->objectId(element), item.object);
  if (item.object) leftOut_.insert(item.object);
  return true;
}

bool SceneWriter::skipsNew(const JtSceneObject& object) {
  if (isHeldBy(*object.typeID(), format_)) return false;
  const ElementKind* kind = findElementKind(object.typeID());
  result_.warnings.push_back(
      {"not_convertible", std::string(kind ? kind->name : object.typeID()->name()) +
                              " was left out: the version of the file has no form for it"});
  leftOut_.insert(&object);
  return true;
}

void SceneWriter::leaveOut(const std::string& what, std::int32_t id, const JtSceneObject* object) {
  result_.warnings.push_back({"not_convertible", what + " (object " + std::to_string(id) + ")" +
                                                     (object ? ownerText(*object) : std::string()) +
                                                     " was left out: it cannot be converted"});
}

std::string SceneWriter::ownerText(const JtSceneObject& attribute) {
  if (!as<JtAttribute>(&attribute)) return {};
  if (owners_.empty())
    for (const JtNode* node : nodes_)
      for (int i = 0; i < node->numAttributes(); ++i) owners_.emplace(node->attribute(i), node);
  const auto owner = owners_.find(&attribute);
  if (owner == owners_.end()) return {};
  const auto* name = as<JtStringPropAtom>(owner->second->property(JtString("JT_PROP_NAME")));
  return " of " + (name ? "'" + name->value().stringToMbs() + "' " : std::string("node ")) + "(#" +
         std::to_string(owner->second->objectId()) + ")";
}

// --- Bytes

void SceneWriter::writeItem(ByteSink& out, const Item& item) {
  const JtSceneObject* object = item.object;
  const bool isPlanned = object && plan_.changes(*object);
  const bool copies = sameForm_ && item.element != SceneSource::kNone && !isPlanned &&
                      (!object || !object->isModified());
  if (copies) {
    const auto bytes = source_->elementBytes(item.element);
    out.append(bytes);
    return;
  }
  if (object) {
    fillLinks(*object);  // before the copy: the owners of an attribute decide where its id is
    const Ref<JtSceneObject> planned = isPlanned ? plan_.copyOf(*object) : nullptr;
    writeObject(out, planned ? Item{planned.get(), item.element, item.id} : item, links_);
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
    leaveOut(damage, item.id, nullptr);
  } else if (!skipsInConversion(bound)) {
    writeObject(out, bound, links);
  }
}

/// As findElementKind(). Most objects are of the kind of the one before.
const ElementKind* SceneWriter::kindOf(const JtType* type) {
  if (type != lastType_) {
    lastKind_ = findElementKind(type);
    lastType_ = type;
  }
  return lastKind_;
}

void SceneWriter::writeObject(ByteSink& out, const Item& item, const Links& links) {
  const JtSceneObject& object = *item.object;
  const SceneSource* from = SceneSource::sourceOf(object);
  const ElementKind* kind = kindOf(object.typeID());
  ElementFrame frame{0, kind ? kind->guid : JtGuid{}, kind ? kind->baseType : std::uint8_t{0},
                     item.id};
  if (from) {  // the type as it was read: it may be one that this library does not know
    const ElementFrame read = from->frame(SceneSource::elementOf(object));
    frame.typeId = read.typeId;
    frame.baseType = read.baseType;
    // The children that an unread group names are in the file it comes from. Elsewhere their ids
    // may be those of other nodes.
    if (from != source_ && !FieldAccess::carried(object) && read.baseType == kGroupBaseType &&
        as<JtNode>(&object) && !as<JtGroup>(&object))
      frame.baseType = kNodeBaseType;
    // Its class decides what is written: a damaged element has another one than its type id says.
    if (!kind && as<JtOpaqueAttribute>(&object)) kind = &unknownAttributeKind();
    if (!kind && as<JtOpaquePropAtom>(&object)) kind = &unknownAtomKind();
  }
  if (!kind)
    throw JtFormatError("not_writable", std::string("objects of type ") + object.typeID()->name() +
                                            " cannot be stored in a scene graph");
  const std::size_t start = out.size();
  Writer writer(out, format_);
  if (FieldAccess::carried(object)) {
    frame.length = from->frame(SceneSource::elementOf(object)).length;
    fields(writer, frame, true);
    writer.append(from->body(SceneSource::elementOf(object)));
    return;
  }
  if (const auto* attribute = as<JtAttribute>(&object)) noteLosses(*attribute);
  const bool isConverted = from && !from->format().sameFormAs(format_);
  writer.setConverting(isConverted);
  const ElementKind* standIn = isConverted || !from ? standInFor(*kind, format_) : nullptr;
  if (standIn) {
    frame.typeId = standIn->guid;
    result_.warnings.push_back({"not_convertible", std::string(kind->name) + " (object " +
                                                       std::to_string(item.id) +
                                                       ") is stored as a " + standIn->name +
                                                       ": this version has no other form for it"});
  }
  fields(writer, frame, true);
  writer.setLinks(links);
  const Ref<JtSceneObject> moved = withNewIds(object);
  kind->write(writer, moved ? *moved : object);
  const std::size_t length = out.size() - start - kLengthSize;
  if (length > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
    throw JtFormatError("too_large", "an element of 2 GiB cannot be stored");
  const auto stored = inFileOrder(static_cast<std::int32_t>(length), format_.bigEndian);
  std::memcpy(out.data() + start, &stored, sizeof stored);
}

/// Counts what an attribute has and this form does not hold.
void SceneWriter::noteLosses(const JtAttribute& attribute) {
  const bool isFinalInPart = attribute.finalFlags() != 0 && !attribute.isFinal();
  if (isFinalInPart && !format_.has(Feature::fieldFinal)) ++lostFinalFields_;
  if (const auto* material = as<JtMaterial>(&attribute)) noteLosses(*material);
}

void SceneWriter::noteLosses(const JtMaterial& material) {
  const bool reflects = format_.has(Feature::materialReflectivity);
  if (!reflects && material.reflectivity() != 0) ++lostReflectivities_;
  const bool bumps = format_.has(Feature::materialBumpiness);
  if (!bumps && material.bumpiness() != JtMaterial().bumpiness()) ++lostBumps_;
}

void SceneWriter::tellLosses() {
  if (lostReflectivities_ > 0)
    result_.warnings.push_back({"not_convertible", "the reflectivity of " +
                                                       std::to_string(lostReflectivities_) +
                                                       " materials was left out: 8.x has none"});
  if (lostObjects_ > 0)
    result_.warnings.push_back({"not_convertible", std::to_string(lostObjects_) +
                                                       " new objects were left out: they have no "
                                                       "known form in this version"});
  if (lostFinalFields_ > 0)
    result_.warnings.push_back(
        {"not_convertible", std::to_string(lostFinalFields_) +
                                " attributes with some final fields became final in all fields: "
                                "8.x and 9.x have one mark for all fields"});
  if (lostBumps_ > 0)
    result_.warnings.push_back(
        {"not_convertible", "the bumpiness of " + std::to_string(lostBumps_) +
                                " materials was left out: 8.x and 9.x have none"});
}

void SceneWriter::fillLinks(const JtSceneObject& object) {
  links_.attributes.clear();
  links_.children.clear();
  const auto* node = as<JtNode>(&object);
  if (!node) return;
  const int attributes = node->numAttributes();
  for (int i = 0; i < attributes; ++i)
    if (leftOut_.empty() || !leftOut_.contains(node->attribute(i)))
      links_.attributes.push_back(idOf(*node->attribute(i)));
  const int children = numOwnChildren(*node);
  for (int i = 0; i < children; ++i) links_.children.push_back(idOf(*ownChild(*node, i)));
}

}  // namespace jt::file
