#pragma once

#include "JtwPMI.h"

class JtFrame;

/// A coordinate frame of a collection: one record of its stored frame list.
class JTW_API JtwFrame : public JtwPMI {
 public:
  JtwFrame() = default;
  /// A frame without key on a collection; enters no map.
  JtwFrame(JtwCollection* collection, JtwRoot* root) : JtwPMI(collection, root) {}
  /// From a stored record. The frame stays without key when the root maps the record's key to
  /// another node; the root does not record the key as a new one.
  JtwFrame(JtwCollection* collection, const JtFrame& record, JtwRoot* root);
  JtwFrame(const JtwFrame&) = default;
  JtwFrame& operator=(const JtwFrame&) = default;
  ~JtwFrame() override;

  JT_NODE_TYPE type() override { return JT_FRAME_NODE; }

  /// Writes everything but the preserved flag into `record`.
  void convertToJtFrame(JtFrame& record);
};
