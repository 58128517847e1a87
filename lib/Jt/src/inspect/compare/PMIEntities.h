#pragma once

// What is different between the PMI of two nodes, entity by entity.

#include <span>

#include "JtPMI.h"
#include "inspect/compare/Report.h"

namespace jt::compare_detail {

/// Reports the differences between the generic entities of two managers, under names such as
/// "JT_LLPROP_PMI[20].Layer": the identity key of the entity, else its name, and what differs.
/// @param identityKeys keys of the properties that identify entities
/// @return whether there were any; other parts of a manager are not compared
bool reportPMIEntities(Report& report, PairId pair, const PMIDataManager& a,
                       const PMIDataManager& b, std::span<const JtString> identityKeys);

/// True when both hold generic entities and nothing else. Where they do, how the file numbers
/// texts, and texts that nothing names any more, mean nothing.
bool holdEntitiesAlone(const PMIDataManager& a, const PMIDataManager& b);

}  // namespace jt::compare_detail
