#pragma once

#include <span>
#include <vector>

#include "JtFrame.h"
#include "JtFrameListProperty.h"
#include "JtPartition.h"
#include "JtRefCounted.h"
#include "JtwExport.h"

class JtNode;
class JtwCollection;

// The frame lists of collections as they are stored, for listings and for lists that are replaced
// as a whole. JtwCollection makes objects of them.

namespace jtw {

/// How a frame list is stored in the file.
enum class FrameForm {
  none,        ///< there is no list
  text,        ///< in a string atom: what JtwCollection writes
  lateLoaded,  ///< as an object in a segment of its own
  unreadable,  ///< in a text that is no frame list, a damaged segment or a value of another kind
};

/// A frame list as it was found in the file.
struct StoredFrames {
  FrameForm form = FrameForm::none;
  jt::Ref<JtFrameListProperty> list;  ///< null unless there is one that can be read
};

/// The list under "KrWmFrames" on the collection's JT node, records without key included. The
/// reason why one is unreadable is in jt::lastError().
JTW_API StoredFrames storedFrames(const JtwCollection& collection);
/// The same for a JT node; late-loaded lists are loaded through `partition`.
JTW_API StoredFrames storedFrames(JtNode& node, const JtPartition* partition);

/// A finding for each frame list below a partition that cannot be read, each node once. Nodes whose
/// metadata cannot be read are left out: that is a fault of its own.
JTW_API std::vector<jt::Diagnostic> verifyFrameLists(JtPartition& partition);

/// Stores the frames among the collection's PMI as JtwCollection::storeFrames() does, but in the
/// form that the stored list has now: a late-loaded list stays one.
/// @return false, with nothing changed and the reason in jt::lastError(), when the stored list is
/// unreadable or the JT node cannot be changed
JTW_API bool storeFramesInTheirForm(JtwCollection& collection);

/// Puts other frames in the place of the collection's: the objects and the stored list, which may
/// be an unreadable one. Other PMI stay. Every frame needs a key greater than 0 that nothing else
/// in the component has.
/// @param form text or lateLoaded
/// @return false, with nothing changed, when a key does not do or the collection has no key
JTW_API bool replaceFrames(JtwCollection& collection, std::span<const JtFrame> frames,
                           FrameForm form);

}  // namespace jtw
