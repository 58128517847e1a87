#pragma once

#include <cstddef>
#include <string_view>

#include "JtBase.h"
#include "JtFrame.h"
#include "JtString.h"
#include "JtwExport.h"
#include "RWClassic.h"

/// A property value that holds an ordered list of frames. In a JT file it is one string, the
/// indexed text of the list; it is the value of a string atom or a late-loaded object of this type.
///
/// The text is the count, the frames, and, if any frame has a unique id, behind them how many have
/// one and for each of these its index in the list and its id. A reader that stops after `count`
/// frames reads the list without ids.
class JTW_API JtFrameListProperty : public JtBase {
 public:
  JtFrameListProperty();

  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override;
  bool serialize(JtBaseDataStream& stream) const override;
  /// Appends the frames that the stream's string holds. Always true, since the string ends where it
  /// ends; isReadable() says whether its text was a list. A text that was none is what serialize()
  /// writes again.
  bool deserialize(JtBaseDataStream& stream) override;

  /// The frames, in order.
  const RWClassicTValOrderedVector<JtFrame>& frames() const { return frames_; }
  RWClassicTValOrderedVector<JtFrame>& frames() { return frames_; }

  /// The indexed text of the list.
  RWClassicCString toText() const;
  /// Appends the frames of such a text; safe for any text. A blank text is an empty list. False,
  /// and isReadable() is false from then on, when the text is no list, ends too early or goes on
  /// behind the list; the frames in front of the fault are appended all the same.
  bool fromText(std::string_view text);
  /// False when frames may be missing because a text could not be read.
  bool isReadable() const noexcept { return isReadable_; }

 private:
  bool readFrames(IdxIFile& in);
  bool readIds(IdxIFile& in, std::size_t first);
  void writeIds(IdxOFile& out) const;

  RWClassicTValOrderedVector<JtFrame> frames_;
  bool isReadable_ = true;
  JtString unreadable_;  // the whole text that deserialize() could not read
};
