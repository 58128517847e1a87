#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "JtPMI.h"
#include "JtString.h"
#include "JtkEntity.h"

namespace jtk {

/// The toolkit type of entities with this type code of ISO 14306; PMI_ENTITY for other codes.
JTK_API JtkEntity::TypeID typeOfEntityCode(std::uint16_t code) noexcept;

}  // namespace jtk

/// A piece of PMI: one entity of a PMI data manager, as a generic one. It is made by
/// JtkEntityFactory::createPMI() or JtkUnitHierarchy::load(). Setting a value that the entity has
/// already is no change. Coordinates are in the unit of the JT node.
class JTK_API JtkPMIEntity : public JtkEntity {
 public:
  /// A new entity that is in no manager, and one over an entity of a manager.
  JtkPMIEntity(TypeID type, jt::PMIGenericEntity made);
  JtkPMIEntity(TypeID type, const PMIDataManager& manager, int position);

  TypeID typeID() const noexcept override { return type_; }

  /// The name: the attribute "Description".
  JtString name() const;
  /// Sets it. An equal name is no change.
  void setName(const JtString& name);

  /// Index among the entities() of the manager that it was loaded from or last written to; -1: none
  /// yet.
  int position() const noexcept { return position_; }
  /// That manager as PMIDataManager::generic() gives it; null: none yet.
  const PMIDataManager* manager() const noexcept { return manager_.get(); }
  /// True when it differs from what was loaded.
  bool isChanged() const noexcept { return own_ != nullptr || position_ < 0; }
  /// The entity as it would be stored. String ids below -1 are texts not yet in a manager.
  const jt::PMIGenericEntity& data() const noexcept { return own_ ? *own_ : *stored_; }

 protected:
  ~JtkPMIEntity() override;

  /// The entity to be changed.
  jt::PMIGenericEntity& edit();
  /// An id for a text that is added to the manager later.
  std::int32_t pendingId(const JtString& text);
  /// The text with an id, pending or stored; empty for none.
  JtString textOf(std::int32_t id) const;

 private:
  friend class JtkUnitHierarchy;
  jt::PMIGenericEntity resolved(PMIDataManager& manager) const;
  void settle(const PMIDataManager& manager, int position);

  TypeID type_;
  int position_ = -1;
  jt::Ref<const PMIDataManager> manager_;
  const jt::PMIGenericEntity* stored_ = nullptr;  // in manager_
  std::unique_ptr<jt::PMIGenericEntity> own_;
  std::vector<JtString> pending_;
};

/// An entity with attributes: keys with a text each.
class JTK_API JtkPMIGenericEntity : public JtkPMIEntity {
 public:
  /// Sets an attribute; the first one with that name if there are several. @return 1
  int addAttrProperty(const JtString& name, const JtString& value);
  /// The first value with that name, or null. Valid until the entity is changed.
  const JtString* attrProperty(const JtString& name) const;
  /// Removes all attributes with that name. @return 1; 0 when there is none
  int removeAttrProperty(const JtString& name);

  /// The type code of ISO 14306; setting it sets the parent's code too.
  std::uint16_t entityCode() const noexcept { return data().type; }
  void setEntityCode(std::uint16_t code);
  /// The display name of the type.
  JtString typeName() const { return textOf(data().typeNameId); }
  void setTypeName(const JtString& name);

 protected:
  using JtkPMIEntity::JtkPMIEntity;
  ~JtkPMIGenericEntity() override;
};

/// An entity that can be seen: a frame, lines and text.
class JTK_API JtkPMIVisualEntity : public JtkPMIGenericEntity {
 public:
  using Point = std::array<float, 3>;

  /// Sets the frame: its origin, a point on its x axis and one on its y axis.
  void setVisualFrame(const Point& origin, const Point& pointX, const Point& pointY);
  /// Sets the height of the text.
  void setVisualTextHeight(float height);
  /// Flat to the screen: drawn facing the viewer.
  void setFlatToScreen(bool on);

  /// Sets all lines, laid out as jt::PMIPolylines has them; types: one for each line or none.
  /// @return 1; 0, with nothing changed, when the sequences do not fit together
  int setVisualPolylines(std::span<const Point> vertices, std::span<const std::int32_t> indices,
                         std::span<const std::int16_t> types);

  /// How many texts the entity shows.
  int numVisualTextData() const noexcept { return static_cast<int>(data().texts.size()); }
  /// @return 1; 0 when there is no such text
  int unsetVisualTextData(int index);
  /// Appends a text. @param layout box and strokes in the frame; its string id is not used
  void addVisualTextData(const JtString& text, jt::PMIText layout);

 protected:
  friend class JtkEntityFactory;
  using JtkPMIGenericEntity::JtkPMIGenericEntity;
  ~JtkPMIVisualEntity() override;

 private:
  void nameKind(const JtString& typeName, const JtString& groupName);
};

/// A dimension, a symbol, a specification: every kind without operations of its own.
class JTK_API JtkPMIPlainEntity final : public JtkPMIVisualEntity {
 public:
  using JtkPMIVisualEntity::JtkPMIVisualEntity;
};

/// Kinds whose type name the host sets.
class JTK_API JtkPMINote final : public JtkPMIVisualEntity {
 public:
  using JtkPMIVisualEntity::JtkPMIVisualEntity;
  /// Sets the name of the type.
  void setPMIType(const JtString& name) { setTypeName(name); }
};
/// A spot weld.
class JTK_API JtkPMISpotWeld final : public JtkPMIVisualEntity {
 public:
  using JtkPMIVisualEntity::JtkPMIVisualEntity;
  /// Sets the name of the type.
  void setPMIType(const JtString& name) { setTypeName(name); }
};
/// A line weld.
class JTK_API JtkPMILineWeld final : public JtkPMIVisualEntity {
 public:
  using JtkPMIVisualEntity::JtkPMIVisualEntity;
  /// Sets the name of the type.
  void setPMIType(const JtString& name) { setTypeName(name); }
};
/// A measurement point.
class JTK_API JtkPMIMeasurementPoint final : public JtkPMIVisualEntity {
 public:
  using JtkPMIVisualEntity::JtkPMIVisualEntity;
  /// Sets the name of the type.
  void setPMIType(const JtString& name) { setTypeName(name); }
};
/// A locator.
class JTK_API JtkPMILocator final : public JtkPMIVisualEntity {
 public:
  using JtkPMIVisualEntity::JtkPMIVisualEntity;
  /// Sets the name of the type.
  void setPMIType(const JtString& name) { setTypeName(name); }
};

/// A coordinate system: its frame is its visual frame.
class JTK_API JtkPMICoordinateSystem final : public JtkPMIVisualEntity {
 public:
  using JtkPMIVisualEntity::JtkPMIVisualEntity;
  /// @param pointX, pointY points on the axes
  void setCoordinateFrame(const Point& origin, const Point& pointX, const Point& pointY) {
    setVisualFrame(origin, pointX, pointY);
  }
};
