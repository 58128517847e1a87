#pragma once

// Entities with more points than the 16-bit indices of a version reach: divided when they are
// written, whole again when they are read.

#include "JtPMI.h"
#include "file/archive/Format.h"

namespace jt::file {

/// Divides what the indices of a version cannot reach. Strokes of a text go on in further texts
/// without a string; lines go on in further entities behind all others, which look alike, are shown
/// in the same views and name the entity that they continue.
void splitLongEntities(PMIData& data, const Format& format);
/// True when the content may have been divided by splitLongEntities().
bool hasSplitEntities(const PMIData& data);
/// Undoes splitLongEntities(). Content that was changed since may come out wrong: the caller has to
/// compare what it would be divided into.
void joinSplitEntities(PMIData& data);

}  // namespace jt::file
