#pragma once

// The frame of XT precise geometry. The geometry in it is the same in all versions of the format.

#include <optional>

#include "file/segments/SegmentObjects.h"

namespace jt::file {

const JtGuid& xtBrepTypeId() noexcept;

inline constexpr std::int32_t kMultiXtSegment = 30;

/// True for an XT segment that has no geometry of its own: it names bodies that a MultiXT segment
/// of its file holds. False for a damaged one, which is carried as it is. Throws JtFormatError when
/// the system cannot read the file.
bool namesPooledBodies(const Container& file, const TocEntry& entry);

/// The body of an element with the same geometry in the form of 8.x or 9.x. Nothing for a target
/// whose form is not known whole (10.x ends with a collection of unknown layout), and where the
/// geometry is not found. Throws JtFormatError for a damaged frame.
std::optional<Buffer> convertXtBrep(const SegmentElement& element, const Format& from,
                                    const Format& to);

}  // namespace jt::file
