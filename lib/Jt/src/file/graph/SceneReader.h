#pragma once

#include "JtInstance.h"
#include "JtPartition.h"
#include "file/graph/SceneSource.h"

namespace jt::file {

/// Makes the nodes and attributes of a scene graph segment and links them.
class SceneReader {
 public:
  explicit SceneReader(Ref<SceneSource> source)
      : source_(std::move(source)), work_(source_->container().share()) {}

  /// The root partition, bound to the source. Links that would close a cycle or that name nothing
  /// are left out and noted. Throws JtFormatError when there is no node at all.
  Ref<JtPartition> read();

  /// One element as an object of its own, bound to nothing: known kinds by their fields, the rest
  /// as unknown objects. Never null. `damaged` gets the reason when a known kind could not be read.
  /// Throws DocumentLimitError. @param memory counts the object; null: it is gone soon
  static Ref<JtSceneObject> readElement(const SceneSource& source, std::uint32_t element,
                                        Links& links, const ElementKind*& kind,
                                        std::string* damaged, MemoryShare* memory = nullptr);

 private:
  /// A span of the flat id lists below.
  struct Slice {
    std::uint32_t first = 0;
    std::uint32_t count = 0;
  };
  struct NodeLinks {
    Slice attributes;
    Slice children;
  };

  void makeObjects();
  void resolveAttributes(std::uint32_t element);
  void resolveChildren(std::uint32_t element);
  void dropCycles();
  void findRows();
  void assemble();
  void assembleNode(std::uint32_t element, JtNode& node);
  Ref<JtPartition> chooseRoot();
  void appendFurtherRows();
  void findUnreachable(const JtPartition& root);

  bool isNode(std::uint32_t element) const { return element < nodes_.size() && nodes_[element]; }
  /// A reference on an object; the reader's own one the first time.
  template <class T>
  Ref<T> take(std::uint32_t element) {
    if (owned_[element]) return Ref<T>::adopt(static_cast<T*>(owned_[element].release()));
    return Ref<T>(static_cast<T*>(objects_[element]));
  }

  // Everything is decided in these arrays, by element; the objects themselves, which lie all over
  // the memory, are touched twice: when they are made and when they are put together.
  Ref<SceneSource> source_;
  MemoryShare work_;                       // of these arrays
  std::vector<Ref<JtSceneObject>> owned_;  // nodes and attributes, until they find an owner
  std::vector<JtSceneObject*> objects_;
  std::vector<JtNode*> nodes_;  // the same where it is a node, else null
  std::vector<bool> isAttribute_;
  std::vector<NodeLinks> links_;
  std::vector<std::uint32_t> rows_;       // where the properties are, 0 for none
  std::vector<PropertyRow> furtherRows_;  // of nodes that have a row already
  std::vector<bool> hasParent_;
  std::vector<bool> isListed_;  // attributes that a node lists
  std::vector<std::int32_t> attributeIds_;
  std::vector<std::uint32_t> attributeElements_;  // beside attributeIds_; kNone: left out
  std::vector<std::int32_t> childIds_;
  std::vector<std::uint32_t> childElements_;  // beside childIds_; kNone where a link is left out
  bool inOrder_ = true;                       // every child follows its parents
  bool hasOneTop_ = true;
};

}  // namespace jt::file
