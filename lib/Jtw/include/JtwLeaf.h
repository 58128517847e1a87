#pragma once

#include "JtwNode.h"

/// A node that holds no other objects: an entity, a frame, an annotation.
class JTW_API JtwLeaf : public JtwNode {
 public:
  JtwLeaf() = default;
  /// A wrapper over `node` in the component of `root`; enters no map.
  JtwLeaf(JtNode* node, JtwRoot* root) : JtwNode(node, root) {}
  JtwLeaf(const JtwLeaf&) = default;
  JtwLeaf& operator=(const JtwLeaf&) = default;
  ~JtwLeaf() override;

  /// Shows or hides the object: marks its node.
  virtual void setDisplayState(bool displayed);
  /// True unless the node is marked as hidden.
  virtual bool displayState();
  /// The same of any node; what is below a hidden node is hidden too. True for null.
  static bool isDisplayed(const JtNode* node);
  /// The color of the node or the nearest one above it. The reference lives as long as the node.
  /// @param isDefault true when there is none
  virtual const ApiGraColor& color(bool& isDefault);
};
