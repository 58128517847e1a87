#pragma once

// The unpacked scene graph segment of one file, indexed by element. Nodes and attributes are made
// from it when the file is opened; property atoms and the properties of a node are made when
// somebody asks for them, and until then stay the bytes that they are.

#include <array>
#include <cstdint>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "JtNode.h"
#include "base/ObjectBlocks.h"
#include "base/Once.h"
#include "file/archive/FieldAccess.h"
#include "file/container/Container.h"
#include "file/container/ElementFrame.h"
#include "file/elements/ElementTable.h"
#include "file/graph/KeyIndex.h"
#include "file/graph/ObjectIds.h"
#include "file/shapes/ShapeCache.h"
#include "scene/ObjectSource.h"

namespace jt::file {

/// Row of the property table: where the pairs of one element begin.
struct PropertyRow {
  std::int32_t owner = 0;
  std::uint32_t pairs = 0;  ///< offset in the segment
};

class SceneSource final : public ObjectSource {
 public:
  static constexpr std::uint32_t kNone = ObjectIds::kNone;

  /// Unpacks the scene graph of a file and finds its elements. Throws JtFormatError.
  static Ref<SceneSource> open(Ref<Container> container);

  const Container& container() const noexcept { return *container_; }
  const Format& format() const noexcept { return container_->format(); }
  std::span<const std::byte> bytes() const noexcept { return content_.bytes; }
  const TocEntry& entry() const noexcept { return *entry_; }

  std::uint32_t elementCount() const noexcept {
    return static_cast<std::uint32_t>(offsets_.size());
  }
  /// Elements before this index are nodes and attributes, those from it on are atoms.
  std::uint32_t firstAtom() const noexcept { return firstAtom_; }
  /// False for kNone too.
  bool isAtom(std::uint32_t element) const noexcept {
    return element >= firstAtom_ && element < elementCount();
  }
  std::int32_t objectId(std::uint32_t element) const noexcept override { return ids_[element]; }
  std::int32_t maxObjectId() const noexcept { return ids_.max(); }
  /// Ids above the greatest one that the file names although no element has them. A new object with
  /// such an id would be taken for what the file has lost.
  const std::vector<std::int32_t>& missingIds() const noexcept { return missingIds_; }
  void noteMissing(std::int32_t id) {
    if (id > ids_.max()) missingIds_.push_back(id);
  }
  /// The element with that id (the first, if several have it), or kNone.
  std::uint32_t find(std::int32_t objectId) const noexcept { return ids_.find(objectId); }

  std::size_t offset(std::uint32_t element) const noexcept { return offsets_[element]; }
  /// Frame and body. Throws JtFormatError where they have to be read again and cannot.
  std::span<const std::byte> elementBytes(std::uint32_t element) const {
    const std::byte* const at = start(element);
    const auto length = loadScalar<std::int32_t>(at, format().bigEndian);
    return {at, kLengthSize + static_cast<std::size_t>(length)};
  }
  /// What is behind the frame. Throws as elementBytes().
  std::span<const std::byte> body(std::uint32_t element) const {
    return elementBytes(element).subspan(kFrameSize);
  }
  ElementFrame frame(std::uint32_t element) const;
  /// Graph elements up to that one have been made objects: their bytes may go. Who asks for one
  /// later gets it from the file. For the thread that opens the file.
  void dropBytesBefore(std::uint32_t element) noexcept {
    if (content_.packed) dropped_ = content_.owned.dropFront(dropped_, offsets_[element]);
  }
  /// The kind of an element by its type id alone, null when it is not known. Throws as
  /// elementBytes().
  const ElementKind* kind(std::uint32_t element) const;

  /// Graph elements that nothing led to when the graph was made; they are written back unread.
  bool isUnreachable(std::uint32_t element) const noexcept {
    return element < unreachable_.size() && unreachable_[element];
  }
  void setUnreachable(std::vector<bool> unreachable) { unreachable_ = std::move(unreachable); }
  /// True for a graph element that is a node, as far as its type shows.
  bool isNode(std::uint32_t element) const;

  const std::vector<PropertyRow>& rows() const noexcept { return rows_; }
  /// Calls visit(keyId, valueId) for each pair of a row.
  template <class Visit>
  void eachPair(std::uint32_t pairs, Visit visit) const {
    const std::byte* at = content_.bytes.data() + pairs;
    const bool big = format().bigEndian;
    for (std::int32_t key; (key = loadScalar<std::int32_t>(at, big)) != 0; at += 8)
      visit(key, loadScalar<std::int32_t>(at + 4, big));
  }
  std::size_t tableOffset() const noexcept { return tableOffset_; }
  std::int16_t tableVersion() const noexcept { return tableVersion_; }
  /// Bytes behind the property table, normally none.
  std::span<const std::byte> trailingBytes() const noexcept {
    return content_.bytes.subspan(trailingOffset_);
  }

  /// The atom of an element, made when nobody holds it. Never null. Safe from several threads.
  Ref<JtPropAtom> atom(std::uint32_t element);
  /// Elements of atoms that name MultiXT segments, one for each segment. Safe from several threads.
  const std::vector<std::uint32_t>& poolAtoms();
  /// The properties of a row; pairs without an atom are left out. Safe from several threads.
  PropertyList properties(std::uint32_t pairs);
  void readProperties(std::atomic<std::uint32_t>& row, PropertyList& properties) override;
  bool mayHave(std::uint32_t pairs, const JtString& key) override {
    return keys().has(*this, pairs, key);
  }
  /// The keys of all properties, read the first time. Safe from several threads.
  const KeyIndex& keys();

  /// Makes objects belong to elements of a source. They get their references on it together, when
  /// the binding ends; until then none of them may end.
  class Binding {
   public:
    explicit Binding(SceneSource& source) noexcept : source_(source) {}
    Binding(const Binding&) = delete;
    Binding& operator=(const Binding&) = delete;
    ~Binding() {
      if (bound_ > 0) source_.ref(bound_);
    }
    void bind(JtSceneObject& object, std::uint32_t element) noexcept {
      FieldAccess::source(object) = &source_;
      FieldAccess::element(object) = element;
      FieldAccess::modified(object) = false;
      ++bound_;
    }

   private:
    SceneSource& source_;
    std::uint32_t bound_ = 0;
  };
  /// Makes one object belong to an element of this source.
  void bind(JtSceneObject& object, std::uint32_t element) noexcept {
    Binding(*this).bind(object, element);
  }
  void forget(const JtSceneObject& object) noexcept override;
  void endValues(std::span<Property> properties) noexcept override;
  /// True for the object of an element of that source; copies of it do not count.
  static bool isFrom(const JtSceneObject& object, const SceneSource* source) noexcept {
    return FieldAccess::source(object) == source && source && !FieldAccess::copied(object);
  }
  /// Source and element of an object, or of the original of a copy. Scenes have no other sources.
  static std::uint32_t elementOf(const JtSceneObject& object) noexcept {
    return FieldAccess::element(object);
  }
  static SceneSource* sourceOf(const JtSceneObject& object) noexcept {
    return static_cast<SceneSource*>(ObjectSource::of(object));
  }

  /// Counts what lives as long as the source: its tables, and the objects that are bound to it. For
  /// the thread that opens the file.
  MemoryShare& memory() noexcept { return memory_; }
  /// Memory of the objects that are bound to the source. For the thread that opens the file.
  ObjectBlocks& objects() noexcept { return objects_; }

  /// The decoded shapes of the file.
  ShapeCache& shapes() noexcept { return *shapes_; }
  /// Asks the residency manager to decode all shapes of the file. What is damaged counts as a
  /// failure there. Ends early when the limit is reached or after ShapeCache::stopLoading.
  void loadShapesAhead();

  FilePosition position(std::size_t offset) const { return container_->position(*entry_, offset); }
  std::vector<Diagnostic>& notes() noexcept { return notes_; }
  void note(bool isError, const char* code, std::size_t offset, std::string message);

 private:
  SceneSource() = default;
  const std::byte* start(std::uint32_t element) const {
    const std::size_t at = offsets_[element];
    if (at < dropped_) restoreBytes();
    return content_.bytes.data() + at;
  }
  void restoreBytes() const;
  void scan();
  std::size_t scanElements(std::size_t at, bool lastList);
  void scanTable(std::size_t at);
  [[noreturn]] static void throwShortTable(const char* what, std::size_t left, std::size_t offset);
  void indexIds();
  void countTables();
  const ElementKind* atomKind(std::uint32_t element);
  void prepareAtoms() {
    if (atoms_.empty()) atoms_.resize(elementCount() - firstAtom_);
  }
  /// As atom(), under the lock and once prepareAtoms() was called.
  JtPropAtom* atomLocked(std::uint32_t element, Binding& binding) {
    JtPropAtom* const made = atoms_[element - firstAtom_];
    return made && made->tryRef() ? made : makeAtom(element, binding);
  }
  JtPropAtom* makeAtom(std::uint32_t element, Binding& binding);
  void propertiesLocked(std::uint32_t pairs, PropertyList& result);

  Ref<Container> container_;
  std::unique_ptr<ShapeCache> shapes_;
  const TocEntry* entry_ = nullptr;
  mutable SegmentContent content_;
  std::size_t dropped_ = 0;  // bytes of it in front
  mutable Once restored_;
  MemoryShare memory_;
  ObjectBlocks objects_;
  std::vector<std::uint32_t> offsets_;
  ObjectIds ids_;
  std::uint32_t firstAtom_ = 0;
  std::vector<std::int32_t> missingIds_;
  std::vector<PropertyRow> rows_;
  std::size_t tableOffset_ = 0;
  std::size_t trailingOffset_ = 0;
  std::int16_t tableVersion_ = 1;
  std::vector<Diagnostic> notes_;
  std::vector<bool> unreachable_;

  std::mutex atomsMutex_;           // of the next four, and of objects_ once the file is open
  std::vector<JtPropAtom*> atoms_;  // by element - firstAtom_; not owned
  const ElementKind* lastKind_ = nullptr;
  std::array<std::byte, 16> lastKindId_{};  // as the file has it
  Once poolsFound_;
  std::vector<std::uint32_t> poolAtoms_;
  Once keysRead_;
  std::optional<KeyIndex> keys_;
};

}  // namespace jt::file
