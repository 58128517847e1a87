#pragma once

#include "JtwCollection.h"
#include "VisMetaDataNode.h"

/// A device inside a component that moves on its own.
class JTW_API JtwSubDevice : public JtwCollection {
 public:
  JtwSubDevice() = default;
  /// A wrapper over `node` in the component of `root`; enters no map.
  JtwSubDevice(VisMetaDataNode* node, JtwRoot* root) : JtwCollection(node, root) {}
  JtwSubDevice(const JtwSubDevice&) = default;
  JtwSubDevice& operator=(const JtwSubDevice&) = default;
  ~JtwSubDevice() override;

  JT_NODE_TYPE type() override { return JT_SUB_DEVICE_NODE; }
};
