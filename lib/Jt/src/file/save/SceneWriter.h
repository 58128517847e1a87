#pragma once

// Scene graph to bytes. Elements that were read and not touched are copied as they are when the
// form is the same; everything else runs through its field list.

#include <map>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "JtFlatMap.h"
#include "JtLights.h"
#include "JtMaterial.h"
#include "JtPartition.h"
#include "base/RecentTexts.h"
#include "file/container/ZlibPacker.h"
#include "file/graph/SceneSource.h"
#include "file/save/SavePlan.h"
#include "file/save/SegmentPlaces.h"

namespace jt::file {

/// Keys of the segments of a VisMetaDataNode.
inline constexpr const char* kMetaDataKey = "JT_LLPROP_METADATA";
inline constexpr const char* kPMIKey = "JT_LLPROP_PMI";
inline constexpr const char* kWireframeKey = "JT_LLPROP_WFREP";

/// A segment that the scene graph names and that no file has yet.
struct NewSegment {
  JtGuid id;
  std::int32_t type = 0;
  Ref<JtBase> object;
};

/// Metadata or PMI of a segment of a file that was changed since it was read.
struct ChangedObject {
  const TocEntry* entry = nullptr;
  Ref<JtBase> object;
  const char* reason = "";
};

struct EncodedScene {
  ByteSink bytes;                       ///< content of the scene graph segment
  std::vector<NewSegment> newSegments;  ///< late-loaded values made in memory
  std::vector<JtGuid> namedSegments;    ///< every segment that a late-loaded atom names
  std::vector<Diagnostic> warnings;     ///< what this form cannot hold
};

class SceneWriter {
 public:
  /// @param nodes  what is written, as nodesOf() lists it; must outlive the writer
  /// @param source the file whose ids, order and unread elements are kept; null for a new file
  /// @param plan   what is stored otherwise than the graph has it; must outlive the writer
  /// @param places gives the ids of segments; must outlive the writer
  SceneWriter(const std::vector<const JtNode*>& nodes, SceneSource* source, const Format& format,
              const SavePlan& plan, SegmentPlaces& places);

  /// Lists what is written, and gives what is new its ids. Throws JtFormatError "not_convertible"
  /// when a node cannot be put into this form. Reads nodes and attributes; of new ones it changes
  /// the ids, and nothing else.
  void collectGraph();
  /// Throws JtFormatError as well. @pre collectGraph() was called; once only
  /// @param packer gets the content while it grows, all but its end; may be null
  EncodedScene encode(ZlibPacker* packer = nullptr);

  /// True when something that the scene graph segment stores of nodes differs from the source.
  static bool isChanged(const std::vector<const JtNode*>& nodes, const SceneSource* source);
  /// Nodes of the file that `root` belongs to, parents first, each once; a partition that
  /// represents another file is a leaf.
  static std::vector<const JtNode*> nodesOf(const JtNode& root);
  /// Metadata and PMI that were changed and lie in segments of files.
  static std::vector<ChangedObject> changedMetaData(const std::vector<const JtNode*>& nodes);

 private:
  struct Item {
    const JtSceneObject* object = nullptr;  ///< null: an element of the source, copied unread
    std::uint32_t element = SceneSource::kNone;
    std::int32_t id = 0;
  };
  void collectProperties();
  void loadAhead(std::size_t at) const;
  bool collectNodeRow(const JtNode& node, std::int32_t owner, std::uint32_t sourcePairs);
  void copyRow(std::int32_t owner, std::uint32_t pairs);
  void copyPairs(std::uint32_t pairs);
  void keepDanglingPairs(std::uint32_t pairs);
  void putId(std::int32_t id);
  std::int32_t atomId(const JtPropAtom& named);
  std::int32_t newTextId(const JtStringPropAtom& text, bool& isNew);
  void addAtom(const JtPropAtom& atom, std::int32_t id);
  std::int32_t newPMISegmentType() const;
  std::int32_t newId();
  bool isOwn(const JtSceneObject& object) const { return SceneSource::isFrom(object, source_); }
  bool isUnloaded(const JtNode& node) const;
  void markAtom(std::int32_t id);
  void keepUnreachableAtoms();
  void nameSegmentsOfUnreadAtoms();

  std::int32_t idOf(const JtSceneObject& object) const;
  void setNewId(const JtSceneObject& object, std::int32_t id);
  bool hasOwnSlot(const JtSceneObject& object) const;

  const ElementKind* kindOf(const JtType* type);
  void writeItem(ByteSink& out, const Item& item);
  /// @param links ids of its attributes and children
  void writeObject(ByteSink& out, const Item& item, const Links& links);
  void fillLinks(const JtSceneObject& object);
  std::int32_t newIdOf(const SceneSource& from, std::int32_t id);
  void takeLights(const std::vector<const JtLightSet*>& sets, std::vector<Item>& added);
  Ref<JtSceneObject> withNewIds(const JtSceneObject& object);
  bool namesLostSegment(const Property& property);
  std::optional<JtGuid> newIdOf(const JtLateLoadedPropAtom& late, const JtType* wanted) const;
  void addLateLoaded(const JtLateLoadedPropAtom& late, std::int32_t id);
  bool skipsInConversion(const Item& item);
  void noteLosses(const JtAttribute& attribute);
  void noteLosses(const JtMaterial& material);
  void tellLosses();
  /// True for an object made in memory that this form cannot hold; says so.
  bool skipsNew(const JtSceneObject& object);
  /// @param id of the object in the file that it is from
  /// @param object null for one that was not read
  void leaveOut(const std::string& what, std::int32_t id, const JtSceneObject* object);
  /// " of 'Bolt' (#7)": the first node that lists that attribute; empty when none does.
  std::string ownerText(const JtSceneObject& attribute);

  void packAhead() {
    if (packer_) packer_->add(result_.bytes.bytes());
  }

  const std::vector<const JtNode*>& nodes_;
  SceneSource* source_;
  Format format_;
  bool sameForm_;
  const SavePlan& plan_;
  SegmentPlaces& places_;
  const JtType* lastType_ = nullptr;  // of kindOf()
  const ElementKind* lastKind_ = nullptr;
  EncodedScene result_;
  ZlibPacker* packer_ = nullptr;
  std::int32_t nextId_ = 1;
  std::unordered_set<std::int32_t> takenIds_;  // greater than those of the source's elements
  std::vector<Item> graph_;
  ByteSink newAtoms_;  // elements of atoms that are not from the source
  ByteSink* atomsOut_ = &newAtoms_;
  Links links_;    // of the node that is being written
  ByteSink rows_;  // of the property table, without its head
  std::int32_t rowCount_ = 0;
  std::unordered_map<const JtSceneObject*, const JtNode*>
      owners_;                                        // of attributes, when one is left out
  std::unordered_set<const JtSceneObject*> leftOut_;  // what this form cannot hold
  std::size_t lostReflectivities_ = 0;
  std::size_t lostBumps_ = 0;
  std::size_t lostFinalFields_ = 0;
  std::size_t lostObjects_ = 0;
  FlatMap<const JtSceneObject*, std::int32_t, PointerHash>
      ids_;  // of shared objects that are not from the source
  std::int32_t firstNewId_ = 1;
  std::vector<const JtString*> newTextOf_;  // by id - firstNewId_
  RecentTexts newTexts_;                    // equal texts share one atom
  std::vector<bool> liveAtoms_;             // by element - firstAtom
  std::vector<Ref<JtPropAtom>> kept_;       // what ids_ points at
  std::vector<Ref<JtSceneObject>> lights_;  // that light sets of other files name
  // New ids of objects of other files; filled when a value first names one.
  std::map<std::pair<const SceneSource*, std::int32_t>, std::int32_t> newIdOf_;
  bool knowsNewIds_ = false;
};

}  // namespace jt::file
