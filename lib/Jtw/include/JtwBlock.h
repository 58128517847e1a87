#pragma once

#include <cstdint>

#include "JtwCollection.h"
#include "VisMetaDataNode.h"

/// A sub-assembly. It is preserved when itself, its PMI or something below it is.
class JTW_API JtwBlock : public JtwCollection {
 public:
  JtwBlock() = default;
  JtwBlock(VisMetaDataNode* node, JtwRoot* root) : JtwCollection(node, root) {}
  JtwBlock(const JtwBlock&) = default;
  JtwBlock& operator=(const JtwBlock&) = default;
  ~JtwBlock() override;

  JT_NODE_TYPE type() override { return JT_BLOCK_NODE; }
  /// @param deep false: looks at the block, its PMI and its children, and remembers the answer.
  /// True: looks at everything below, and leaves marks in the JT nodes that make the next deep test
  /// quick.
  bool isPreserved(bool deep) override;
  /// Takes effect only while the JT node has no such mark.
  void setPreserved(bool preserved) override;

 protected:
  bool checkForPreservedChildren();
  bool hasPMIChildren();
  bool isNodePreserved(JtNode* node);
  bool isTestedforPreservedDescendants(JtNode* node);
  bool isKrFramesOnBlock(JtNode* node);
  bool jtTraverseIsPreserved(JtNode* node);
  bool jtwTraverseIsPreserved();
  void setTestBlockPreservedDescendantsProp(bool tested);

 private:
  enum class State : std::uint8_t { unknown, preserved, notPreserved };

  JtwBlock* blockOf(JtNode* node);
  bool carriesPreservedMark(JtNode* node, JtwBlock& block);

  State state_ = State::unknown;
};
