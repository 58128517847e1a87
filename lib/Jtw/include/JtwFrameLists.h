#pragma once

#include <span>

#include "JtFrame.h"
#include "JtFrameListProperty.h"
#include "JtRefCounted.h"
#include "JtwExport.h"

class JtwCollection;

// The frame lists of collections as they are stored, for listings and for lists that are replaced
// as a whole. JtwCollection makes objects of them.

namespace jtw {

/// How a frame list stands in the file.
enum class FrameForm {
  none,        ///< there is no list
  text,        ///< in a string atom: what JtwCollection writes
  lateLoaded,  ///< as an object in a segment of its own
  unreadable,  ///< in a value of another kind, or in a damaged segment
};

struct StoredFrames {
  FrameForm form = FrameForm::none;
  jt::Ref<JtFrameListProperty> list;  ///< null unless there is one that can be read
};

/// The list under "KrWmFrames" on the collection's JT node, records without key included. The
/// reason why one is unreadable is in jt::lastError().
JTW_API StoredFrames storedFrames(const JtwCollection& collection);

/// Puts other frames in the place of the collection's: the objects and the stored list. Other PMI
/// stay. Every frame needs a key greater than 0 that nothing else in the component has.
/// @param form text or lateLoaded
/// @return false, with nothing changed, when a key does not do or the collection has no key
JTW_API bool replaceFrames(JtwCollection& collection, std::span<const JtFrame> frames,
                           FrameForm form);

}  // namespace jtw
