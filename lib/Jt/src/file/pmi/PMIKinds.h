#pragma once

// The kinds of PMI entities, their places in the list of CAD tags, and what the ends of
// associations name.

#include <optional>
#include <span>
#include <vector>

#include "JtPMI.h"

namespace jt::file {

/// A fixed kind of the typed layout, with the generic type that corresponds to it.
struct PMIFixedKind {
  PMIKind kind;
  std::uint16_t type;
  std::uint16_t parentType;
  const char* typeName;
  const char* parentName;
};

/// In the order of the list of CAD tags.
std::span<const PMIFixedKind> pmiFixedKinds();
/// Null for generic entities, views and B-rep elements.
const PMIFixedKind* findFixedKind(PMIKind kind);

/// Entities of a fixed kind: `flat` or `solid` is set, neither for coordinate systems.
struct PMIKindList {
  const std::vector<PMI2DEntity>* flat = nullptr;
  const std::vector<PMI3DEntity>* solid = nullptr;
};
/// @pre the kind is a fixed one
PMIKindList entitiesOf(const PMIData& data, PMIKind kind);
/// Number of entities or views of a kind; 0 for B-rep elements.
std::size_t countOf(const PMIData& data, PMIKind kind);

/// The list of CAD tags: typed kinds, views, design groups, coordinate systems, generic entities.
struct PMITagPlaces {
  explicit PMITagPlaces(const PMIData& data);
  /// Place of the first entity of a kind; nothing for kinds without a place.
  std::optional<std::size_t> first(PMIKind kind) const;
  /// What is at a place; nothing for design groups. @pre place < total
  std::optional<PMITypedID> at(std::size_t place) const;

  /// The places of one kind.
  struct Run {
    std::optional<PMIKind> kind;  ///< nothing: design groups
    std::size_t begin = 0;
    std::size_t end = 0;
  };
  /// Always the same kinds, in order.
  const std::vector<Run>& runs() const noexcept { return runs_; }

  std::size_t total = 0;

 private:
  std::vector<Run> runs_;
};

/// Resolves the ends of the associations of one manager, in logarithmic time each.
class PMIEnds {
 public:
  explicit PMIEnds(const PMIData& data);
  /// What an end names. Nothing for an end in another manager (`owner` is not -1) and for one that
  /// names nothing here. B-rep elements have the index that is stored.
  std::optional<PMITypedID> resolve(std::uint32_t end, std::int32_t owner) const;

 private:
  const PMIData& data_;
  PMITagPlaces places_;
  std::vector<std::pair<std::int32_t, std::size_t>> placeOfTag_;  // sorted
};

inline PMITypedID typedID(PMIKind kind, std::size_t index) {
  return PMIDataManager::constructPMITypedID(static_cast<int>(kind), static_cast<int>(index));
}

}  // namespace jt::file
