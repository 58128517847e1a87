#pragma once

// Product and manufacturing information (PMI) of an assembly or a part: annotations, model views,
// coordinate systems, and what links them.

#include <cstdint>
#include <vector>

#include "JtBase.h"
#include "JtPMIData.h"

namespace jt::file {
struct PMIAccess;
}

class PMIDataManager;

/// Kinds of things that a PMITypedID can name, with their numbers in files. Other numbers occur.
enum class PMIKind : std::uint8_t {
  brepVertex = 14,
  brepEdge = 15,
  brepFace = 16,
  modelView = 17,
  genericEntity = 18,
};

/// A kind with a position among the entities of that kind, packed as in the ends of associations.
struct JT_API PMITypedID {
  static constexpr std::uint32_t kIndirect = 0x80000000U;  ///< the index is one of a CAD tag
  static constexpr std::uint32_t kMaxIndex = 0x00ffffffU;
  std::uint32_t word = 0;

  PMIKind kind() const noexcept { return static_cast<PMIKind>((word >> 24) & 0x7fU); }
  int index() const noexcept { return static_cast<int>(word & kMaxIndex); }
  friend bool operator==(const PMITypedID&, const PMITypedID&) = default;
};

/// One entity of a manager, looked at. Valid until an entity is added to or removed from the
/// manager, or it ends.
class JT_API PMIEntity {
 public:
  PMIEntity() = default;
  /// False when the manager has no such entity; it has no name and no properties then.
  bool isValid() const noexcept { return properties_ != nullptr; }
  PMITypedID id() const noexcept { return id_; }
  /// What people call the entity. Of a view its name without quotation marks. Of a generic entity
  /// the property "Description", else "name", else its first text, else the name of its type.
  JtString name() const;
  /// In stored order. @pre isValid()
  const std::vector<jt::PMIProperty>& properties() const noexcept { return *properties_; }
  /// The first value under a key, or null.
  const JtString* property(const JtString& key) const;

 private:
  friend class PMIDataManager;
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
  /// The generic entity or model view with that id; not valid for others.
  PMIEntity pmiEntity(PMITypedID id) const;

  /// Text of the string table; null when there is none with that id.
  const JtString* string(std::int32_t id) const;
  /// The id of a text, which is added unless it is there.
  std::int32_t stringId(const JtString& text);

  /// Adds an entity; its string ids must be those of this manager. The content of an old file is
  /// raised to the PMI version that has generic entities. Throws JtFormatError "not_editable" when
  /// the element has more than this library can keep consistent.
  PMITypedID addGenericEntity(jt::PMIGenericEntity entity);
  /// Removes an entity with the associations that it is an end of. False when there is none at that
  /// position. Throws as addGenericEntity.
  bool removeGenericEntity(int index);
  /// An entity to be changed, or null; counts as a change of the manager.
  jt::PMIGenericEntity* editGenericEntity(int index);
  /// Links two entities. @param reason 98: `source` is shown in the model view `destination`
  void addAssociation(PMITypedID source, PMITypedID destination, std::int32_t reason);

  /// Adds everything that another manager has; its entities follow those of the same kind. Ends of
  /// associations are renumbered; associations between kinds whose numbers are not known are left
  /// out. Throws JtFormatError "not_editable", without effect then.
  void merge(const PMIDataManager& other);

 private:
  friend struct jt::file::PMIAccess;
  jt::PMIData data_;
  bool modified_ = false;
};
