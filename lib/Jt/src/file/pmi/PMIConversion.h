#pragma once

// Content of PMI in the form of another version, as far as it is known how the forms correspond.

#include "file/pmi/PMIElement.h"

namespace jt::file {

/// The form that most producers of a version use, and that new elements get.
PMIForm usualPMIForm(const Format& format);
PMILayout layoutOf(const Format& format) noexcept;

/// Makes content what a version can hold; nothing happens to content that was read in that layout
/// and has no entity that is too long for it. Entities of fixed kinds become generic where a
/// version has no others. What has no place is left out and listed in `losses`.
void convertPMI(PMIData& data, const Format& format, codec::Report& losses);

}  // namespace jt::file
