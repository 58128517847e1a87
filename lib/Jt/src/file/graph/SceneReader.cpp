#include "file/graph/SceneReader.h"

#include <algorithm>

#include "base/Prefetch.h"

namespace jt::file {

namespace {

constexpr std::size_t kBlockCost = 16;      // of a block of memory, beside its bytes
constexpr std::size_t kWorkOfElement = 32;  // in the arrays of a reader
constexpr std::size_t kWorkOfLink = 8;
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

SceneReader::~SceneReader() {
  for (std::uint32_t element = 0; element < objects_.size(); ++element)
    if (!is(element, kTaken)) Ref<JtSceneObject>::adopt(objects_[element]);
}

Ref<JtPartition> SceneReader::read() {
  makeObjects();
  for (std::uint32_t element = 0; element < objects_.size(); ++element) {
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

void SceneReader::LinkList::add(const std::vector<std::int32_t>& ids) {
  targets.insert(targets.end(), ids.begin(), ids.end());
  ends.push_back(static_cast<std::uint32_t>(targets.size()));
}

void SceneReader::makeObjects() {
  const std::uint32_t count = source_->firstAtom();
  work_.take(std::uint64_t{count} * kWorkOfElement);
  objects_.reserve(count);
  facts_.reserve(count);
  attributes_.ends.reserve(count);
  children_.ends.reserve(count);
  Links links;
  std::string damaged;
  const ObjectBlocks::Use use(source_->objects());
  SceneSource::Binding binding(*source_);
  for (std::uint32_t element = 0; element < count; ++element) {
    source_->dropBytesBefore(element);
    const ElementKind* kind = nullptr;
    damaged.clear();
    JtSceneObject& object =
        *readElement(*source_, element, links, kind, &damaged, &source_->memory()).release();
    objects_.push_back(&object);
    facts_.push_back(0);
    binding.bind(object, element);
    if (!damaged.empty())
      source_->note(true, "damaged_element", source_->offset(element),
                    damaged + "; the element is carried as it is");
    for (const std::int32_t id : links.doubtful) source_->noteMissing(id);
    if (kind->elementClass == ElementClass::attribute) set(element, kAttribute);
    if (kind->elementClass == ElementClass::node) {
      set(element, kNode);
      FieldAccess::opaque(node(element)) = !damaged.empty() || FieldAccess::carried(object);
      const std::size_t linkCount = links.attributes.size() + links.children.size();
      work_.take(linkCount * kWorkOfLink);
      source_->memory().take(linkCount * kMemoryOfLink);
    } else {
      links.attributes.clear();
      links.children.clear();
    }
    attributes_.add(links.attributes);
    children_.add(links.children);
  }
}

void SceneReader::resolveAttributes(std::uint32_t element) {
  for (std::uint32_t& link : attributes_.of(element)) {
    const auto id = static_cast<std::int32_t>(link);
    link = source_->find(id);
    if (is(link, kAttribute)) {
      set(link, kListed);
      continue;
    }
    link = SceneSource::kNone;
    source_->noteMissing(id);
    source_->note(true, "dangling_attribute", source_->offset(element),
                  "a node names attribute " + std::to_string(id) + ", which does not exist");
  }
}

void SceneReader::resolveChildren(std::uint32_t element) {
  const auto links = children_.of(element);
  for (std::uint32_t& link : links) {
    const auto id = static_cast<std::int32_t>(link);
    link = source_->find(id);
    if (is(link, kNode)) {
      if (link <= element) inOrder_ = false;
      continue;
    }
    link = SceneSource::kNone;
    if (id == 0 && links.size() == 1) continue;
    source_->noteMissing(id);
    source_->note(true, "dangling_child", source_->offset(element),
                  "a node names child " + std::to_string(id) + ", which does not exist");
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
      const auto links = children_.of(level.element);
      if (level.next == links.size()) {
        marks[level.element] = Mark::done;
        stack.pop_back();
        continue;
      }
      std::uint32_t& target = links[level.next++];
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
    if (!is(element, kNode)) continue;
    if (rows_[element] == 0) {
      rows_[element] = row.pairs;
    } else {
      furtherRows_.push_back(row);
    }
  }
}

void SceneReader::assemble() {
  constexpr std::size_t kAhead = 32;
  for (std::uint32_t element = 0; element < objects_.size(); ++element) {
    prefetchNode(element + kAhead);
    if (is(element, kNode)) assembleNode(element);
  }
}

/// An element, if there is one, and its first children, which lie far from it.
void SceneReader::prefetchNode(std::size_t element) {
  constexpr std::size_t kMostChildren = 32;  // what is loaded should still be near in its turn
  if (element >= objects_.size()) return;
  prefetch(objects_[element], sizeof(JtGroup));
  const auto children = children_.of(static_cast<std::uint32_t>(element));
  for (const std::uint32_t child : children.first(std::min(children.size(), kMostChildren)))
    if (child != SceneSource::kNone) prefetch(objects_[child], sizeof(JtNode));
}

void SceneReader::assembleNode(std::uint32_t element) {
  JtNode& node = this->node(element);
  FieldAccess::propertyRow(node).store(rows_[element], std::memory_order_relaxed);
  for (const std::uint32_t attribute : attributes_.of(element))
    if (attribute != SceneSource::kNone)
      FieldAccess::attributes(node).push_back(take<JtAttribute>(attribute));

  const auto children = children_.of(element);
  auto* group = as<JtGroup>(&node);
  auto* instance = as<JtInstance>(&node);
  if (children.empty() || (!group && !instance)) return;
  if (group) FieldAccess::children(*group).reserve(children.size());
  for (const std::uint32_t target : children) {
    if (target == SceneSource::kNone) continue;
    set(target, kHasParent);
    JtNode& child = this->node(target);
    if (child.numParents() + 1 >= static_cast<int>(ParentList::kIndexFrom))
      source_->memory().take(kMemoryOfIndexed);
    FieldAccess::attach(child, node);
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
    if (is(element, kNode) && !is(element, kHasParent)) tops.push_back(element);
  if (tops.empty())
    throw JtFormatError("no_nodes",
                        "expected a scene graph with at least one node on top, found none",
                        source_->position(0));
  for (const std::uint32_t top : tops) {
    if (!as<JtPartition>(objects_[top])) continue;
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
  for (const std::uint32_t top : tops) made->addChild(&node(top));
  return made;
}

/// Elements below no node of the scene: other tops and what hangs on them, attributes that no node
/// lists, lights.
void SceneReader::findUnreachable(const JtPartition& root) {
  std::vector<bool> unreachable(objects_.size(), true);
  if (hasOneTop_) {  // then every node hangs below it
    for (std::uint32_t element = 0; element < objects_.size(); ++element)
      unreachable[element] = !is(element, kNode) && !is(element, kListed);
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
    auto& properties = FieldAccess::properties(node(source_->find(row.owner)));
    auto more = source_->properties(row.pairs);
    properties.insert(properties.end(), more.begin(), more.end());
    source_->note(false, "owner_listed_twice", row.pairs,
                  "node " + std::to_string(row.owner) + " is in the property table twice");
  }
}

}  // namespace jt::file
