#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "JtPMI.h"
#include "JtkHierarchy.h"

class JtkPMIEntity;

/// A node that can carry PMI: one child for each of PMIDataManager::entities(), in that order. An
/// entity of a fixed kind shows as the generic one that it corresponds to; when one of them is
/// changed or removed, all become generic ones. What else the manager holds (views, design groups,
/// bytes that are not understood) is kept when the manager is rebuilt.
class JTK_API JtkUnitHierarchy : public JtkHierarchy {
 public:
  /// Takes the entities of a manager in place of the present ones; null: none. The manager is read
  /// when an entity is looked at and never changed. @return 1
  int load(PMIDataManager* manager);
  int load_JtkPMIDataManager(PMIDataManager* manager) { return load(manager); }

  /// The manager with all changes made since load(): the loaded one itself when there are none, a
  /// changed copy otherwise, null when there is neither a loaded manager nor an entity. The
  /// entities then represent those of the result, JtkPMIEntity::position() says for which.
  /// @return 1 on success; 0, with the reason in jt::lastError(), when the manager cannot be
  ///         changed: the output and the entities are then as before
  int updatePMIDataManager(jt::Ref<PMIDataManager>& manager);

  /// The entities; not owned by the caller.
  int numChildren() const noexcept { return static_cast<int>(children_.size()); }
  /// @return null when there is no such child
  JtkPMIEntity* child(int index) const;
  /// Counts the entities of a type, JtkEntity::PMI_ENTITY for all.
  int numEntities(TypeID type) const noexcept;
  /// Removes an entity. @return 1; 0 when it is not a child of this node
  int removePMI(JtkPMIEntity* entity);
  /// Removes several at the cost of one. @return how many were children of this node
  int removePMIs(std::span<JtkPMIEntity* const> entities);

 protected:
  ~JtkUnitHierarchy() override;

 private:
  friend class JtkEntityFactory;
  void apply(PMIDataManager& manager) const;
  bool isChanged() const;
  bool isFixed(int position) const;
  bool changesFixed() const;

  jt::Ref<PMIDataManager> loaded_;
  jt::Ref<const PMIDataManager> shown_;  // loaded_ with generic entities alone
  std::vector<jt::Ref<JtkPMIEntity>> children_;
  std::vector<int> removed_;  // positions in the loaded manager
};

using _JtkUnitHierarchy = JtkUnitHierarchy;
