#pragma once

// Content of PMI in the form of another version, as far as it is known how the forms correspond.

#include "PMIElement.h"

namespace jt::file {

/// The form that most producers of a version use, and that new elements get.
PMIForm usualPMIForm(const Format& format);
/// True for entities that the generic layout has no place for.
bool hasTypedPMI(const PMIData& data);
PMILayout layoutOf(const Format& format) noexcept;

/// Makes content what a version can hold; nothing happens to content that was read in that layout.
/// What has no place is left out and told in `losses`. Throws JtFormatError "not_convertible" when
/// it is not known how entities would be stored.
void convertPMI(PMIData& data, const Format& format, codec::Report& losses);

/// Makes the stored bytes what `cadTags.tags` says. @pre the tags are there
void encodeCadTags(PMIData& data, const Format& format);

}  // namespace jt::file
