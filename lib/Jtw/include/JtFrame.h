#pragma once

#include <cstdint>

#include "ApiGlobalUniqueId.h"
#include "ApiGraColor.h"
#include "ApiProtoKey.h"
#include "IdxObject.h"
#include "JtwExport.h"
#include "RTTran3D.h"
#include "RWClassic.h"

/// One record of a frame list: a named coordinate frame of a component. A plain value that can be
/// put into an indexed text stream: key, name, text, location, color, flag, second key, number.
/// The unique id is a step of its own (getDerivedCommands), which JtFrameListProperty runs; the
/// preserved mark is not stored.
class JTW_API JtFrame : public IdxObject {
 public:
  RWClassicWString name;
  /// Placement relative to the collection, for column vectors, in millimetres.
  RTTran3D location;
  ApiGraColor color;
  /// Says whether the color counts; JtwFrame keeps its display state here.
  bool colorSet = false;
  /// Key of the frame itself.
  ApiProtoKey key;
  /// The host's attributes text.
  RWClassicCString text;
  /// Key of the attachment parent.
  ApiProtoKey secondKey;
  /// Kind of the attachment.
  std::int32_t number = 0;
  ApiGlobalUniqueId globalUniqueId;
  bool preserved = false;

  void save(IdxOFile& out) const override;
  void restore(IdxIFile& in) override;
  /// Adds the step for the unique id.
  void getDerivedCommands(IdxIOCommands& commands) override;
};
