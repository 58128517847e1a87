#pragma once

// What must stay in step when entities of PMI come and go: ends of associations, CAD tags, areas.

#include "JtPMI.h"

namespace jt {

/// Throws JtFormatError "not_editable" unless entities can come and go; decodes the CAD tags.
void requireEditable(PMIData& data);
/// Content of the typed layout gets the PMI version that has everything.
void raisePMIVersion(PMIData& data);
/// A number that none of the tags has.
std::int32_t unusedTag(const std::vector<std::int32_t>& tags);
/// An end as an association stores it: by CAD tag where the manager has them, since readers exist
/// that know no other ends.
std::uint32_t storedEnd(const PMIData& data, PMITypedID id);
/// Removes the associations of a generic entity and renumbers those of the entities behind it.
void removeEnds(PMIData& data, std::size_t entity);

/// True when the areas belong to the generic entities one by one. Nothing in the format says so;
/// the same number of both is taken as a sign.
bool hasAreaForEachEntity(const PMIData& data);
void removeArea(PMIPolygons& areas, std::size_t element);

/// Adds everything of `from`, which is taken by value as it is changed on the way.
void mergePMI(PMIData& to, PMIData from);

}  // namespace jt
