#pragma once

// What must stay in step when entities of PMI come and go: ends of associations, CAD tags, areas.

#include "JtPMI.h"
#include "file/archive/Format.h"

namespace jt::file {

/// Throws JtFormatError "not_editable" unless entities can come and go; decodes the CAD tags.
void requireEditable(PMIData& data);
/// Content of the typed layout gets the PMI version that has everything.
void raisePMIVersion(PMIData& data);

/// Makes `cadTags.tags` what the stored bytes say. False when they cannot be decoded.
/// @pre the flag is 1
bool decodeCadTags(PMIData& data);
/// Makes the stored bytes what `cadTags.tags` says. @pre the tags are there
void encodeCadTags(PMIData& data, const Format& format);
/// Gives every entity of a manager without CAD tags one.
void ensureTags(PMIData& data);
/// A number from 1 on that none of the tags has; the one above the greatest, if possible.
/// @param greatest of those of 32 bits; -1: not known. Updated, so that further numbers cost
/// nothing.
std::int32_t newTag(const std::vector<PMICadTag>& tags, std::int32_t& greatest);

/// An end as an association stores it: by CAD tag where the manager has them, since readers exist
/// that know no other ends. @pre no entity of a fixed kind
std::uint32_t storedEnd(const PMIData& data, PMITypedID id);

/// Removes generic entities with their associations, tags and areas, and renumbers direct ends.
/// @param isRemoved for each generic entity
void removeGeneric(PMIData& data, const std::vector<bool>& isRemoved);

/// Adds everything of `from`, which is taken by value as it is changed on the way.
void mergePMI(PMIData& to, PMIData from);

}  // namespace jt::file
