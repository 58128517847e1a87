#pragma once

#include <string_view>

#include "JtBase.h"
#include "JtFrame.h"
#include "JtwExport.h"
#include "RWClassic.h"

/// A property value that holds an ordered list of frames. In a JT file it is one string, the
/// indexed text of the list; it stands in a string atom or in a late-loaded object of this type.
class JTW_API JtFrameListProperty : public JtBase {
 public:
  JtFrameListProperty();

  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override;
  bool serialize(JtBaseDataStream& stream) const override;
  /// Appends the frames that the stream's string holds. Always true; from a damaged text come the
  /// frames before the damage.
  bool deserialize(JtBaseDataStream& stream) override;

  const RWClassicTValOrderedVector<JtFrame>& frames() const { return frames_; }
  RWClassicTValOrderedVector<JtFrame>& frames() { return frames_; }

  /// The indexed text of the list: the count, then the frames.
  RWClassicCString toText() const;
  /// Appends the frames of such a text; safe for any text.
  void fromText(std::string_view text);

 private:
  RWClassicTValOrderedVector<JtFrame> frames_;
};
