#pragma once

#include "JtwCollection.h"
#include "VisMetaDataNode.h"

/// A kinematic link.
class JTW_API JtwLink : public JtwCollection {
 public:
  JtwLink() = default;
  /// A wrapper over `node` in the component of `root`; enters no map.
  JtwLink(VisMetaDataNode* node, JtwRoot* root) : JtwCollection(node, root) {}
  JtwLink(const JtwLink&) = default;
  JtwLink& operator=(const JtwLink&) = default;
  ~JtwLink() override;

  JT_NODE_TYPE type() override { return JT_LINK_NODE; }
};
