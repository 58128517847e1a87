#pragma once

// Product and manufacturing information (PMI) of an assembly or a part: annotations, model views,
// coordinate systems, and what links them.

#include <cstdint>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "JtBase.h"
#include "JtPMIData.h"

namespace jt::file {
struct FieldAccess;
}

class PMIDataManager;

/// Kinds of things that a PMITypedID can name, with their numbers in files. Other numbers occur.
enum class PMIKind : std::uint8_t {
  brepVertex = 14,
  brepEdge = 15,
  brepFace = 16,
  modelView = 17,
  genericEntity = 18,
  // Entities of the fixed kinds of versions 8 and 9. Their numbers in files are not known; these
  // are this library's own and are never stored.
  lineWeld = 64,
  spotWeld,
  surfaceFinish,
  measurementPoint,
  referenceGeometry,
  datumTarget,
  featureControlFrame,
  locator,
  dimension,
  datumFeatureSymbol,
  note,
  coordinateSystem,
};

/// A kind with a position among the entities of that kind, packed as in the ends of associations.
struct JT_API PMITypedID {
  static constexpr std::uint32_t kIndirect = 0x80000000U;  ///< the index is one of a CAD tag
  static constexpr std::uint32_t kMaxIndex = 0x00ffffffU;
  std::uint32_t word = 0;

  /// The kind of the entity, as a number, and its index among those of the kind.
  PMIKind kind() const noexcept { return static_cast<PMIKind>((word >> 24) & 0x7fU); }
  int index() const noexcept { return static_cast<int>(word & kMaxIndex); }
  friend bool operator==(const PMITypedID&, const PMITypedID&) = default;
};

/// One entity of a manager, looked at. Valid until an entity or a view is added to or removed from
/// the manager, or it ends.
class JT_API PMIEntity {
 public:
  PMIEntity() = default;
  /// False when the manager has no such entity; it has no name and no properties then.
  bool isValid() const noexcept { return properties_ != nullptr; }
  PMITypedID id() const noexcept { return id_; }
  /// The display name of the entity. Of a view its name without quotation marks. Of a generic
  /// entity the property "Description", else "name", else its first text, else the name of its
  /// type. Of an entity of a fixed kind its text, else the name of its type.
  JtString name() const;
  /// Code of the type: 0x0082 dimension, 0x0100 note, 0x0104 coordinate system, ... Entities of
  /// fixed kinds have the code of the generic entity that they correspond to; 0 for views.
  std::uint16_t typeCode() const;
  /// Name of the type, such as "Notes"; that of a generic entity may be empty.
  JtString typeName() const;
  /// The entity as a generic one; an entity of a fixed kind is converted, its lines from the plane
  /// of its frame to x, y, z in the unit of the node. Text ids are those of the manager; the names
  /// of a converted entity's types are -1, see typeName(). @pre isValid(), no view
  jt::PMIGenericEntity asGeneric() const;
  /// In stored order; none for fixed kinds. @pre isValid()
  const std::vector<jt::PMIProperty>& properties() const noexcept { return *properties_; }
  /// The first value under a key, or null.
  const JtString* property(const JtString& key) const;

 private:
  friend class PMIDataManager;
  const jt::PMIGenericEntity* generic() const;
  JtString text(std::int32_t id) const;
  const PMIDataManager* manager_ = nullptr;
  PMITypedID id_;
  const std::vector<jt::PMIProperty>* properties_ = nullptr;
};

/// The PMI of one node (element "PMI Manager Meta Data"). What this library does not understand of
/// it is kept and written back. One manager belongs to all nodes that name its segment.
class JT_API PMIDataManager : public JtBase {
 public:
  PMIDataManager() = default;
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override;
  /// Writes the content in one form whatever file it is from, so that it can be compared; false
  /// when it holds what is not understood.
  bool serialize(JtBaseDataStream& stream) const override;

  /// Everything as it is stored.
  const jt::PMIData& data() const noexcept { return data_; }
  /// True when there is no entity and no view.
  bool isEmpty() const;
  /// True when something changed since the manager was read.
  bool isModified() const noexcept { return modified_; }

  /// The generic entities, in stored order.
  const std::vector<jt::PMIGenericEntity>& pmiDataGenericArray() const noexcept {
    return data_.genericEntities;
  }
  /// The id of the entity at a position. @param kind 18: generic entities, 17: model views
  /// @pre 0 <= index <= PMITypedID::kMaxIndex
  static PMITypedID constructPMITypedID(int kind, int index) noexcept;
  /// The entity or model view with that id; not valid for B-rep elements.
  PMIEntity pmiEntity(PMITypedID id) const;
  /// All entities that can be shown: the generic ones in stored order, then those of fixed kinds,
  /// kind by kind. Views and design groups are none.
  std::vector<PMITypedID> entities() const;

  /// Text of the string table; null when there is none with that id.
  const JtString* string(std::int32_t id) const;
  /// The id of a text, which is added unless it is there.
  std::int32_t stringId(const JtString& text);

  /// Adds an entity; its string ids must be those of this manager. The content of an old file is
  /// raised to the PMI version that has generic entities. An entity may have any number of points:
  /// a save divides it where indices of the version are too narrow. A new manager gives CAD tags to
  /// what is added. Throws JtFormatError "not_editable" when the element has more than this library
  /// can keep consistent.
  PMITypedID addGenericEntity(jt::PMIGenericEntity entity);
  /// Removes an entity with the associations that it is an end of. False when there is none at that
  /// position. Throws as addGenericEntity.
  bool removeGenericEntity(int index);
  /// Removes several entities at once, in time linear in what the manager holds. Positions are
  /// those before the call; those of no entity are skipped. Returns how many were removed. Throws
  /// as addGenericEntity.
  int removeGenericEntities(std::span<const int> indices);
  /// An entity to be changed, or null; counts as a change of the manager.
  jt::PMIGenericEntity* editGenericEntity(int index);
  /// Adds a model view behind the others; its name is a string id of this manager. Versions 8 and 9
  /// have no place for its properties. Throws as addGenericEntity.
  PMITypedID addModelView(jt::PMIModelView view);
  /// A view to be changed, or null; counts as a change of the manager.
  jt::PMIModelView* editModelView(int index);
  /// Turns all entities of fixed kinds, coordinate systems included, into generic ones, which
  /// follow those that are there. Links and CAD tags stay with them, except links that name them in
  /// a way that is not known. Throws as addGenericEntity.
  void makeGeneric();
  /// This manager when it has generic entities alone; else a copy that has all entities() as
  /// generic ones, in that order. The copy is for reading: it is made of what cannot be edited too.
  jt::Ref<const PMIDataManager> generic() const;

  /// Links two entities. @param reason 98: `source` is shown in the model view `destination`
  /// Throws JtFormatError "not_editable" for ends of fixed kinds; see makeGeneric().
  void addAssociation(PMITypedID source, PMITypedID destination, std::int32_t reason);
  /// Both ends of an association as ids; nothing for ends in other managers and ends that name
  /// nothing here. B-rep elements have the index that is stored.
  struct Link {
    std::optional<PMITypedID> source;
    std::optional<PMITypedID> destination;
    std::int32_t reason = 0;
  };
  /// The associations, in stored order.
  std::vector<Link> links() const;

  /// Adds everything that another manager has; its entities follow those of the same kind, as
  /// generic ones where this manager is of version 10. Ends of associations are renumbered;
  /// associations between kinds whose numbers are not known are left out. Throws JtFormatError
  /// "not_editable", without effect then.
  void merge(const PMIDataManager& other);

 private:
  friend struct jt::file::FieldAccess;
  /// Makes the content one that an entity or a view can be added to. @param count those of its kind
  void prepareForNew(std::size_t count);
  /// Gives a new CAD tag to what is added at a place in the order of tags, if there are tags.
  void addTag(std::size_t place);
  /// To be called before the content is changed, by everything that changes it.
  void record();
  jt::PMIData data_;
  /// What was found out about the content.
  struct Lookups {
    // The first id of each text, as far as texts were looked up; texts are only ever appended.
    std::unordered_map<JtString, std::int32_t, jt::TextHash> textIds;
    std::size_t indexedTexts = 0;
    std::int32_t greatestTag = -1;  // of the CAD tags of 32 bits; -1: not known
  };
  Lookups lookups_;
  std::uint32_t revision_ = 0;  // grows with each change
  bool modified_ = false;
};
