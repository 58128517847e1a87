#pragma once

// Where an element names texts of its string table.

#include "JtPMIData.h"

namespace jt::file {

/// Calls `visit` with each id of a text, -1 for none included, in a fixed order. @param data
/// PMIData, const or not: the ids are given by reference
template <class Data, class Visit>
void eachTextId(Data& data, Visit visit) {
  const auto texts = [&visit](auto& lines) {
    for (auto& line : lines) visit(line.stringId);
  };
  for (auto& kind : data.flat)
    for (auto& entity : kind) texts(entity.texts);
  for (auto& kind : data.solid)
    for (auto& entity : kind) visit(entity.stringId);
  for (auto& group : data.designGroups) {
    visit(group.nameId);
    for (auto& value : group.attributes) {
      visit(value.stringId);
      visit(value.labelId);
      visit(value.descriptionId);
    }
  }
  for (auto& system : data.coordinateSystems) visit(system.nameId);
  for (auto& link : data.associations) {
    visit(link.sourceOwner);
    visit(link.destinationOwner);
  }
  for (auto& pair : data.userAttributes)
    for (auto& id : pair) visit(id);
  for (auto& view : data.modelViews) visit(view.nameId);
  for (auto& entity : data.genericEntities) {
    texts(entity.texts);
    visit(entity.typeNameId);
    visit(entity.parentTypeNameId);
  }
}

}  // namespace jt::file
