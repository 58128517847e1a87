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
  SceneReader(const SceneReader&) = delete;
  SceneReader& operator=(const SceneReader&) = delete;
  ~SceneReader();

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
  /// What is known of an element, as bits.
  enum Fact : std::uint8_t {
    kNode = 1,
    kAttribute = 2,
    kTaken = 4,  // somebody owns the object
    kHasParent = 8,
    kListed = 16  // an attribute that a node lists
  };
  /// Links of all elements, one after another: first ids, then elements. kNone: left out.
  struct LinkList {
    std::vector<std::uint32_t> targets;
    std::vector<std::uint32_t>
        ends;  // by element: where its links end, and those of the next begin

    void add(const std::vector<std::int32_t>& ids);
    std::span<std::uint32_t> of(std::uint32_t element) {
      const std::uint32_t begin = element == 0 ? 0 : ends[element - 1];
      return std::span(targets).subspan(begin, ends[element] - begin);
    }
  };

  void makeObjects();
  void resolveAttributes(std::uint32_t element);
  void resolveChildren(std::uint32_t element);
  void dropCycles();
  void findRows();
  void assemble();
  void prefetchNode(std::size_t element);
  void assembleNode(std::uint32_t element);
  Ref<JtPartition> chooseRoot();
  void appendFurtherRows();
  void findUnreachable(const JtPartition& root);

  bool is(std::uint32_t element, Fact fact) const {
    return element < facts_.size() && (facts_[element] & fact) != 0;
  }
  void set(std::uint32_t element, Fact fact) {
    facts_[element] = static_cast<std::uint8_t>(facts_[element] | fact);
  }
  /// @pre is(element, kNode)
  JtNode& node(std::uint32_t element) const { return static_cast<JtNode&>(*objects_[element]); }
  /// A reference on an object; the reader's own one the first time.
  template <class T>
  Ref<T> take(std::uint32_t element) {
    auto* const object = static_cast<T*>(objects_[element]);
    if (is(element, kTaken)) return Ref<T>(object);
    set(element, kTaken);
    return Ref<T>::adopt(object);
  }

  // Everything is decided in these arrays, by element; the objects themselves, which lie all over
  // the memory, are touched twice: when they are made and when they are put together.
  Ref<SceneSource> source_;
  MemoryShare work_;                     // of these arrays
  std::vector<JtSceneObject*> objects_;  // nodes and attributes; owned until they are taken
  std::vector<std::uint8_t> facts_;
  LinkList attributes_;
  LinkList children_;
  std::vector<std::uint32_t> rows_;       // where the properties are, 0 for none
  std::vector<PropertyRow> furtherRows_;  // of nodes that have a row already
  bool inOrder_ = true;                   // every child follows its parents
  bool hasOneTop_ = true;
};

}  // namespace jt::file
