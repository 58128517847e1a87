#include "JtkUnitHierarchy.h"

#include <algorithm>
#include <limits>
#include <unordered_set>
#include <utility>

#include "JtFormatError.h"
#include "JtPartition.h"
#include "JtkPMIEntity.h"
#include "PMIEntities.h"

JtkUnitHierarchy::~JtkUnitHierarchy() = default;

int JtkUnitHierarchy::load(PMIDataManager* manager) {
  loaded_ = jt::Ref<PMIDataManager>(manager);
  shown_ = manager ? manager->generic() : nullptr;
  children_.clear();
  removed_.clear();
  if (!manager) return 1;
  const auto& entities = shown_->pmiDataGenericArray();
  children_.reserve(entities.size());
  for (std::size_t i = 0; i < entities.size(); ++i)
    children_.push_back(
        jtk::makeEntity(jtk::typeOfEntityCode(entities[i].type), *shown_, static_cast<int>(i)));
  return 1;
}

JtkPMIEntity* JtkUnitHierarchy::child(int index) const {
  if (index < 0 || index >= numChildren()) return nullptr;
  return children_[static_cast<std::size_t>(index)].get();
}

int JtkUnitHierarchy::numEntities(TypeID type) const noexcept {
  return static_cast<int>(
      std::ranges::count_if(children_, [&](const auto& entity) { return entity->isOfType(type); }));
}

int JtkUnitHierarchy::removePMI(JtkPMIEntity* entity) { return removePMIs({&entity, 1}); }

int JtkUnitHierarchy::removePMIs(std::span<JtkPMIEntity* const> entities) {
  const std::unordered_set<const JtkPMIEntity*> gone(entities.begin(), entities.end());
  return static_cast<int>(std::erase_if(children_, [&](const jt::Ref<JtkPMIEntity>& child) {
    if (!gone.contains(child.get())) return false;
    if (child->position() >= 0) removed_.push_back(child->position());
    return true;
  }));
}

bool JtkUnitHierarchy::isChanged() const {
  return !removed_.empty() ||
         std::ranges::any_of(children_, [](const auto& child) { return child->isChanged(); });
}

bool JtkUnitHierarchy::isFixed(int position) const {
  return loaded_ && position >= static_cast<int>(loaded_->pmiDataGenericArray().size());
}

bool JtkUnitHierarchy::changesFixed() const {
  const auto isChangedFixed = [this](const auto& child) {
    return child->isChanged() && isFixed(child->position());
  };
  return std::ranges::any_of(removed_, [this](int position) { return isFixed(position); }) ||
         std::ranges::any_of(children_, isChangedFixed);
}

void JtkUnitHierarchy::apply(PMIDataManager& manager) const {
  if (changesFixed()) manager.makeGeneric();
  std::int32_t label = 0;
  if (shown_)
    for (const jt::PMIGenericEntity& entity : shown_->pmiDataGenericArray())
      label = std::max(label, entity.base.userLabel);
  for (const auto& child : children_)
    if (child->position() >= 0 && child->isChanged())
      *manager.editGenericEntity(child->position()) = child->resolved(manager);
  manager.removeGenericEntities(removed_);
  for (const auto& child : children_) {
    if (child->position() >= 0) continue;
    jt::PMIGenericEntity entity = child->resolved(manager);
    if (label < std::numeric_limits<std::int32_t>::max()) ++label;
    entity.base.userLabel = label;
    manager.addGenericEntity(std::move(entity));
  }
}

int JtkUnitHierarchy::updatePMIDataManager(jt::Ref<PMIDataManager>& manager) {
  if (isChanged()) {
    try {
      jt::Ref<PMIDataManager> rebuilt = jt::make<PMIDataManager>();
      if (loaded_)
        rebuilt = jt::Ref<PMIDataManager>(jt::as<PMIDataManager>(loaded_->clone().get()));
      apply(*rebuilt);
      // Entities of fixed kinds follow all generic ones, new ones too.
      if (!changesFixed())
        std::stable_partition(children_.begin(), children_.end(),
                              [this](const auto& child) { return !isFixed(child->position()); });
      loaded_ = std::move(rebuilt);
    } catch (const JtFormatError& error) {
      jt::setLastError(error.what());
      return 0;
    }
    shown_ = loaded_->generic();
    removed_.clear();
    for (std::size_t i = 0; i < children_.size(); ++i)
      children_[i]->settle(*shown_, static_cast<int>(i));
  }
  manager = loaded_;
  return 1;
}
