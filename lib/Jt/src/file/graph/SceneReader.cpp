#include "file/graph/SceneReader.h"

#include <algorithm>

namespace jt::file {

namespace {

constexpr std::size_t kBlockCost = 16;      // of a block of memory, beside its bytes
constexpr std::size_t kWorkOfElement = 64;  // in the arrays of a reader
constexpr std::size_t kWorkOfLink = 16;
constexpr std::size_t kMemoryOfLink = 24;      // a child knows its parents
constexpr std::size_t kMemoryOfIndexed = 160;  // and finds them among very many

}  // namespace

Ref<JtSceneObject> SceneReader::readElement(const SceneSource& source, std::uint32_t element,
                                            Links& links, const ElementKind*& kind,
                                            std::string* damaged, MemoryShare* memory) {
  const auto baseType = std::to_integer<std::uint8_t>(source.elementBytes(element)[kFrameSize - 5]);
  const bool isAtom = element >= source.firstAtom();
  kind = source.kind(element);
  links.doubtful.clear();
  // A kind on the wrong side of the first marker is not what it says.
  if (kind && (kind->elementClass == ElementClass::atom) != isAtom) kind = nullptr;
  const auto attempt = [&](const ElementKind& candidate) -> Ref<JtSceneObject> {
    links.attributes.clear();
    links.children.clear();
    if (memory) memory->take(candidate.size + kBlockCost);
    Ref<JtSceneObject> object = candidate.create();
    Reader reader(source.body(element), source.format(), source.offset(element) + kFrameSize,
                  nullptr, &links);
    if (memory) reader.countIn(*memory);
    candidate.read(reader, *object);
    return object;
  };
  if (kind) {
    try {
      return attempt(*kind);
    } catch (const DocumentLimitError&) {
      throw;
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
    for (const ElementKind* candidate : {baseType == kGroupBaseType ? &group : &node, &node}) try {
        kind = candidate;
        auto object = attempt(*candidate);
        // An unknown group is believed when its children exist.
        if (candidate == &group &&
            !std::all_of(links.children.begin(), links.children.end(),
                         [&](std::int32_t id) { return source.find(id) < source.firstAtom(); })) {
          links.doubtful = links.children;
          continue;
        }
        return object;
      } catch (const DocumentLimitError&) {
        throw;
      } catch (const JtFormatError&) {
      }
  }
  links.attributes.clear();
  links.children.clear();
  kind = elementClass == ElementClass::node        ? &unknownNodeKind()
         : elementClass == ElementClass::attribute ? &unknownAttributeKind()
                                                   : &unknownAtomKind();
  Ref<JtSceneObject> object = kind->create();
  FieldAccess::carried(*object) = true;
  return object;
}

Ref<JtPartition> SceneReader::read() {
  makeObjects();
  const auto count = static_cast<std::uint32_t>(objects_.size());
  attributeElements_.assign(attributeIds_.size(), SceneSource::kNone);
  childElements_.assign(childIds_.size(), SceneSource::kNone);
  isListed_.assign(count, false);
  for (std::uint32_t element = 0; element < count; ++element) {
    if (!isNode(element)) continue;
    resolveAttributes(element);
    resolveChildren(element);
  }
  if (!inOrder_) dropCycles();
  findRows();
  assemble();
  Ref<JtPartition> root = chooseRoot();
  appendFurtherRows();
  findUnreachable(*root);
  FieldAccess::scene(*root) = source_;
  FieldAccess::version(*root) = {source_->format().major, source_->format().minor};
  FieldAccess::notes(*root) = source_->container().notes();
  FieldAccess::notes(*root).insert(FieldAccess::notes(*root).end(), source_->notes().begin(),
                                   source_->notes().end());
  FieldAccess::openCount(*root) = 1;
  return root;
}

void SceneReader::makeObjects() {
  const std::uint32_t count = source_->firstAtom();
  work_.take(std::uint64_t{count} * kWorkOfElement);
  owned_.resize(count);
  objects_.resize(count);
  nodes_.resize(count);
  isAttribute_.resize(count);
  links_.resize(count);
  Links links;
  std::string damaged;
  const ObjectBlocks::Use use(source_->objects());
  for (std::uint32_t element = 0; element < count; ++element) {
    const ElementKind* kind = nullptr;
    damaged.clear();
    owned_[element] = readElement(*source_, element, links, kind, &damaged, &source_->memory());
    objects_[element] = owned_[element].get();
    source_->bind(*objects_[element], element);
    if (!damaged.empty())
      source_->note(true, "damaged_element", source_->offset(element),
                    damaged + "; the element is carried as it is");
    for (const std::int32_t id : links.doubtful) source_->noteMissing(id);
    isAttribute_[element] = kind->elementClass == ElementClass::attribute;
    if (kind->elementClass != ElementClass::node) continue;
    nodes_[element] = static_cast<JtNode*>(objects_[element]);
    FieldAccess::opaque(*nodes_[element]) =
        !damaged.empty() || FieldAccess::carried(*nodes_[element]);
    const std::size_t linkCount = links.attributes.size() + links.children.size();
    work_.take(linkCount * kWorkOfLink);
    source_->memory().take(linkCount * kMemoryOfLink);
    NodeLinks& mine = links_[element];
    mine.attributes = {static_cast<std::uint32_t>(attributeIds_.size()),
                       static_cast<std::uint32_t>(links.attributes.size())};
    attributeIds_.insert(attributeIds_.end(), links.attributes.begin(), links.attributes.end());
    mine.children = {static_cast<std::uint32_t>(childIds_.size()),
                     static_cast<std::uint32_t>(links.children.size())};
    childIds_.insert(childIds_.end(), links.children.begin(), links.children.end());
  }
}

void SceneReader::resolveAttributes(std::uint32_t element) {
  const Slice slice = links_[element].attributes;
  for (std::uint32_t i = slice.first; i < slice.first + slice.count; ++i) {
    const std::uint32_t target = source_->find(attributeIds_[i]);
    if (target < objects_.size() && isAttribute_[target]) {
      attributeElements_[i] = target;
      isListed_[target] = true;
    } else {
      source_->noteMissing(attributeIds_[i]);
      source_->note(
          true, "dangling_attribute", source_->offset(element),
          "a node names attribute " + std::to_string(attributeIds_[i]) + ", which does not exist");
    }
  }
}

void SceneReader::resolveChildren(std::uint32_t element) {
  const Slice slice = links_[element].children;
  for (std::uint32_t i = slice.first; i < slice.first + slice.count; ++i) {
    const std::uint32_t target = source_->find(childIds_[i]);
    if (isNode(target)) {
      childElements_[i] = target;
      if (target <= element) inOrder_ = false;
    } else if (childIds_[i] != 0 || slice.count > 1) {
      source_->noteMissing(childIds_[i]);
      source_->note(
          true, "dangling_child", source_->offset(element),
          "a node names child " + std::to_string(childIds_[i]) + ", which does not exist");
    }
  }
}

/// Leaves out the links that lead back to a node above: depth first with a stack of its own.
void SceneReader::dropCycles() {
  enum class Mark : std::uint8_t { unvisited, open, done };
  std::vector<Mark> marks(objects_.size(), Mark::unvisited);
  struct Level {
    std::uint32_t element;
    std::uint32_t next;
  };
  std::vector<Level> stack;
  for (std::uint32_t start = 0; start < objects_.size(); ++start) {
    if (marks[start] != Mark::unvisited) continue;
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
        hasOneTop_ = false;  // what the link held together may have come apart
      } else if (marks[target] == Mark::unvisited) {
        marks[target] = Mark::open;
        stack.push_back({target, 0});
      }
    }
  }
}

/// Nodes remember where their properties are; the properties are made on first use.
void SceneReader::findRows() {
  rows_.assign(objects_.size(), 0);
  for (const PropertyRow& row : source_->rows()) {
    const std::uint32_t element = source_->find(row.owner);
    if (!isNode(element)) continue;
    if (rows_[element] == 0) {
      rows_[element] = row.pairs;
    } else {
      furtherRows_.push_back(row);
    }
  }
}

void SceneReader::assemble() {
  hasParent_.assign(objects_.size(), false);
  for (std::uint32_t element = 0; element < objects_.size(); ++element)
    if (JtNode* node = nodes_[element]) assembleNode(element, *node);
}

void SceneReader::assembleNode(std::uint32_t element, JtNode& node) {
  FieldAccess::propertyRow(node).store(rows_[element], std::memory_order_relaxed);
  const Slice attributes = links_[element].attributes;
  for (std::uint32_t i = attributes.first; i < attributes.first + attributes.count; ++i)
    if (attributeElements_[i] != SceneSource::kNone)
      FieldAccess::attributes(node).push_back(take<JtAttribute>(attributeElements_[i]));

  const Slice children = links_[element].children;
  auto* group = as<JtGroup>(&node);
  auto* instance = as<JtInstance>(&node);
  if (children.count == 0 || (!group && !instance)) return;
  if (group) FieldAccess::children(*group).reserve(children.count);
  for (std::uint32_t i = children.first; i < children.first + children.count; ++i) {
    const std::uint32_t target = childElements_[i];
    if (target == SceneSource::kNone) continue;
    hasParent_[target] = true;
    if (nodes_[target]->numParents() + 1 >= static_cast<int>(ParentList::kIndexFrom))
      source_->memory().take(kMemoryOfIndexed);
    FieldAccess::attach(*nodes_[target], node);
    if (group) {
      FieldAccess::children(*group).push_back(take<JtNode>(target));
    } else {
      FieldAccess::child(*instance) = take<JtNode>(target);
    }
  }
}

/// The node that no other names; of several, the first partition. Files without a partition on top
/// get one in memory.
Ref<JtPartition> SceneReader::chooseRoot() {
  std::vector<std::uint32_t> tops;
  for (std::uint32_t element = 0; element < objects_.size(); ++element)
    if (isNode(element) && !hasParent_[element]) tops.push_back(element);
  if (tops.empty())
    throw JtFormatError("no_nodes",
                        "expected a scene graph with at least one node on top, found none",
                        source_->position(0));
  for (const std::uint32_t top : tops) {
    if (!as<JtPartition>(nodes_[top])) continue;
    if (tops.size() > 1) {
      hasOneTop_ = false;
      source_->note(false, "unreachable_nodes", 0,
                    std::to_string(tops.size() - 1) +
                        " nodes hang below nothing; they are carried as they are");
    }
    return take<JtPartition>(top);
  }
  source_->note(true, "no_root_partition", 0,
                "the scene graph has no partition on top; one is put there");
  hasOneTop_ = false;
  auto made = make<JtPartition>();
  for (const std::uint32_t top : tops) made->addChild(nodes_[top]);
  return made;
}

/// Elements below no node of the scene: other tops and what hangs on them, attributes that no node
/// lists, lights.
void SceneReader::findUnreachable(const JtPartition& root) {
  std::vector<bool> unreachable(objects_.size(), true);
  if (hasOneTop_) {  // then every node hangs below it
    for (std::uint32_t element = 0; element < objects_.size(); ++element)
      unreachable[element] = !isNode(element) && !isListed_[element];
    source_->setUnreachable(std::move(unreachable));
    return;
  }
  const auto reach = [&](const JtSceneObject& object) {
    if (!SceneSource::isFrom(object, source_.get())) return true;
    const std::uint32_t element = SceneSource::elementOf(object);
    const bool isNew = unreachable[element];
    unreachable[element] = false;
    return isNew;
  };
  std::vector<const JtNode*> pending{&root};
  reach(root);
  while (!pending.empty()) {
    const JtNode* node = pending.back();
    pending.pop_back();
    for (int i = 0; i < node->numAttributes(); ++i) reach(*node->attribute(i));
    for (int i = 0; i < node->numChildren(); ++i)
      if (reach(*node->child(i))) pending.push_back(node->child(i));
  }
  source_->setUnreachable(std::move(unreachable));
}

/// An element listed twice: the second list continues the first.
void SceneReader::appendFurtherRows() {
  for (const PropertyRow& row : furtherRows_) {
    auto& properties = FieldAccess::properties(*nodes_[source_->find(row.owner)]);
    auto more = source_->properties(row.pairs);
    properties.insert(properties.end(), more.begin(), more.end());
    source_->note(false, "owner_listed_twice", row.pairs,
                  "node " + std::to_string(row.owner) + " is in the property table twice");
  }
}

}  // namespace jt::file
