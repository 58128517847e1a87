#include "SceneReader.h"

#include <algorithm>

namespace jt::file {

namespace {

bool isGroupLike(std::uint8_t baseType) { return baseType == 1; }

}  // namespace

Ref<JtSceneObject> SceneReader::readElement(const SceneSource& source, std::uint32_t element,
                                            Links& links, const ElementKind*& kind,
                                            std::string* damaged) {
  const auto baseType = std::to_integer<std::uint8_t>(source.elementBytes(element)[kFrameSize - 5]);
  const bool isAtom = element >= source.firstAtom();
  kind = source.kind(element);
  // A kind on the wrong side of the first marker is not what it says.
  if (kind && (kind->elementClass == ElementClass::atom) != isAtom) kind = nullptr;
  const auto attempt = [&](const ElementKind& candidate) -> Ref<JtSceneObject> {
    links.attributes.clear();
    links.children.clear();
    Ref<JtSceneObject> object = candidate.create();
    Reader reader(source.body(element), source.format(), source.offset(element) + kFrameSize);
    reader.links() = std::move(links);
    candidate.read(reader, *object);
    links = std::move(reader.links());
    return object;
  };
  if (kind) {
    try {
      return attempt(*kind);
    } catch (const JtFormatError& error) {
      if (damaged) *damaged = std::string(kind->name) + ": " + error.message();
    }
  }
  const ElementClass elementClass = isAtom ? ElementClass::atom
                                    : kind ? kind->elementClass
                                           : classOfBaseType(baseType);
  if (elementClass == ElementClass::node) {
    const ElementKind& group = unknownGroupKind();
    const ElementKind& node = unknownNodeKind();
    for (const ElementKind* candidate : {isGroupLike(baseType) ? &group : &node, &node}) try {
        kind = candidate;
        auto object = attempt(*candidate);
        // An unknown group is believed when its children exist.
        if (candidate == &group &&
            !std::all_of(links.children.begin(), links.children.end(),
                         [&](std::int32_t id) { return source.find(id) < source.firstAtom(); }))
          continue;
        return object;
      } catch (const JtFormatError&) {
      }
  }
  links.attributes.clear();
  links.children.clear();
  kind = elementClass == ElementClass::node        ? &unknownNodeKind()
         : elementClass == ElementClass::attribute ? &unknownAttributeKind()
                                                   : &unknownAtomKind();
  return kind->create();
}

Ref<JtPartition> SceneReader::read() {
  makeObjects();
  resolveChildren();
  if (!inOrder_) dropCycles();
  attachChildren();
  Ref<JtPartition> root = chooseRoot();
  linkProperties();
  findStrays(*root);
  root->scene_ = source_;
  root->version_ = {source_->format().major, source_->format().minor};
  root->notes_ = source_->container().notes();
  root->notes_.insert(root->notes_.end(), source_->notes().begin(), source_->notes().end());
  root->openCount_ = 1;
  return root;
}

void SceneReader::makeObjects() {
  const std::uint32_t count = source_->firstAtom();
  objects_.resize(count);
  links_.resize(count);
  Links links;
  std::string damaged;
  for (std::uint32_t element = 0; element < count; ++element) {
    const ElementKind* kind = nullptr;
    damaged.clear();
    objects_[element] = readElement(*source_, element, links, kind, &damaged);
    JtSceneObject& object = *objects_[element];
    source_->bind(object, element);
    if (!damaged.empty())
      source_->note(true, "damaged_element", source_->offset(element),
                    damaged + "; the element is carried as it is");
    if (kind->elementClass != ElementClass::node) continue;
    auto& node = static_cast<JtNode&>(object);
    node.opaque_ = !damaged.empty();
    NodeLinks& mine = links_[element];
    mine.attributes = {static_cast<std::uint32_t>(attributeIds_.size()),
                       static_cast<std::uint32_t>(links.attributes.size())};
    attributeIds_.insert(attributeIds_.end(), links.attributes.begin(), links.attributes.end());
    mine.children = {static_cast<std::uint32_t>(childIds_.size()),
                     static_cast<std::uint32_t>(links.children.size())};
    childIds_.insert(childIds_.end(), links.children.begin(), links.children.end());
  }
}

JtNode* SceneReader::nodeAt(std::uint32_t element) const {
  if (element >= objects_.size()) return nullptr;
  return as<JtNode>(objects_[element].get());
}

JtNode* SceneReader::nodeOf(std::int32_t objectId) const { return nodeAt(source_->find(objectId)); }

void SceneReader::linkAttributes(std::uint32_t element, JtNode& node) {
  const Slice slice = links_[element].attributes;
  node.attributes_.reserve(slice.count);
  for (std::uint32_t i = 0; i < slice.count; ++i) {
    const std::int32_t id = attributeIds_[slice.first + i];
    const std::uint32_t target = source_->find(id);
    auto* attribute = target < objects_.size() ? as<JtAttribute>(objects_[target].get()) : nullptr;
    if (attribute) {
      node.attributes_.emplace_back(attribute);
    } else {
      source_->note(true, "dangling_attribute", source_->offset(element),
                    "a node names attribute " + std::to_string(id) + ", which does not exist");
    }
  }
}

void SceneReader::resolveChildren() {
  childElements_.assign(childIds_.size(), SceneSource::kNone);
  for (std::uint32_t element = 0; element < objects_.size(); ++element) {
    JtNode* node = nodeAt(element);
    if (!node) continue;
    linkAttributes(element, *node);
    const Slice slice = links_[element].children;
    for (std::uint32_t i = slice.first; i < slice.first + slice.count; ++i) {
      const std::uint32_t target = source_->find(childIds_[i]);
      if (nodeAt(target)) {
        childElements_[i] = target;
        if (target <= element) inOrder_ = false;
      } else if (childIds_[i] != 0 || slice.count > 1) {
        source_->note(
            true, "dangling_child", source_->offset(element),
            "a node names child " + std::to_string(childIds_[i]) + ", which does not exist");
      }
    }
  }
}

/// Leaves out the links that lead back to a node above: depth first with a stack of its own.
void SceneReader::dropCycles() {
  enum class Mark : std::uint8_t { fresh, open, done };
  std::vector<Mark> marks(objects_.size(), Mark::fresh);
  struct Level {
    std::uint32_t element;
    std::uint32_t next;
  };
  std::vector<Level> stack;
  for (std::uint32_t start = 0; start < objects_.size(); ++start) {
    if (marks[start] != Mark::fresh) continue;
    marks[start] = Mark::open;
    stack.push_back({start, 0});
    while (!stack.empty()) {
      Level& level = stack.back();
      const Slice slice = links_[level.element].children;
      if (level.next == slice.count) {
        marks[level.element] = Mark::done;
        stack.pop_back();
        continue;
      }
      std::uint32_t& target = childElements_[slice.first + level.next++];
      if (target == SceneSource::kNone) continue;
      if (marks[target] == Mark::open) {
        source_->note(true, "cycle", source_->offset(level.element),
                      "a node is its own descendant; the link is left out");
        target = SceneSource::kNone;
      } else if (marks[target] == Mark::fresh) {
        marks[target] = Mark::open;
        stack.push_back({target, 0});
      }
    }
  }
}

void SceneReader::attachChildren() {
  for (std::uint32_t element = 0; element < objects_.size(); ++element) {
    JtNode* node = nodeAt(element);
    if (!node) continue;
    const Slice slice = links_[element].children;
    auto* group = as<JtGroup>(node);
    auto* instance = as<JtInstance>(node);
    if (group) group->children_.reserve(slice.count);
    for (std::uint32_t i = slice.first; i < slice.first + slice.count; ++i) {
      JtNode* child = nodeAt(childElements_[i]);
      if (!child) continue;
      if (group) group->children_.emplace_back(child);
      if (instance) instance->child_ = Ref<JtNode>(child);
      if (group || instance) child->attachTo(*node);
    }
  }
}

/// The node that no other names; of several, the first partition. Files without a partition on top
/// get one in memory.
Ref<JtPartition> SceneReader::chooseRoot() {
  std::vector<JtNode*> tops;
  JtPartition* partition = nullptr;
  bool anyNode = false;
  for (const auto& object : objects_) {
    JtNode* node = as<JtNode>(object.get());
    if (!node) continue;
    anyNode = true;
    if (node->numParents() > 0) continue;
    tops.push_back(node);
    if (!partition) partition = as<JtPartition>(node);
  }
  if (!anyNode)
    throw JtFormatError("no_nodes", "expected a scene graph with at least one node, found none",
                        source_->position(0));
  if (!partition) {
    source_->note(true, "no_root_partition", 0,
                  "the scene graph has no partition on top; one is put there");
    auto made = make<JtPartition>();
    for (JtNode* node : tops) made->addChild(node);
    return made;
  }
  if (tops.size() > 1)
    source_->note(false, "unreachable_nodes", 0,
                  std::to_string(tops.size() - 1) +
                      " nodes hang below nothing; they are carried as they are");
  return Ref<JtPartition>(partition);
}

/// Elements below no node of the scene: other tops and what hangs on them, attributes that no node
/// lists, lights.
void SceneReader::findStrays(const JtPartition& root) {
  std::vector<bool> strays(objects_.size(), true);
  const auto reach = [&](const JtSceneObject& object) {
    if (!SceneSource::isFrom(object, source_.get())) return true;
    const std::uint32_t element = SceneSource::elementOf(object);
    const bool isNew = strays[element];
    strays[element] = false;
    return isNew;
  };
  std::vector<const JtNode*> pending{&root};
  reach(root);
  while (!pending.empty()) {
    const JtNode* node = pending.back();
    pending.pop_back();
    for (const auto& attribute : node->attributes_) reach(*attribute);
    for (int i = 0; i < node->numChildren(); ++i)
      if (reach(*node->child(i))) pending.push_back(node->child(i));
  }
  source_->setStrays(std::move(strays));
}

/// Nodes remember where their properties stand; they are made on first use.
void SceneReader::linkProperties() {
  for (const PropertyRow& row : source_->rows()) {
    JtNode* node = nodeOf(row.owner);
    if (!node) continue;
    if (node->propertyRow_ == 0 && node->properties_.empty()) {
      node->propertyRow_ = row.pairs;
    } else {  // listed twice: the second list continues the first
      auto& properties = node->properties();
      auto more = source_->properties(row.pairs);
      properties.insert(properties.end(), more.begin(), more.end());
      source_->note(false, "owner_listed_twice", row.pairs,
                    "node " + std::to_string(row.owner) + " stands in the property table twice");
    }
  }
}

}  // namespace jt::file
