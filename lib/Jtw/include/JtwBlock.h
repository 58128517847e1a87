#pragma once

#include <cstdint>

#include "JtwCollection.h"
#include "VisMetaDataNode.h"

/// A sub-assembly. It is preserved when itself, its PMI or something below it is.
class JTW_API JtwBlock : public JtwCollection {
 public:
  JtwBlock() = default;
  /// A wrapper over `node` in the component of `root`; enters no map.
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
  /// True when the block, its PMI or one of its children is preserved.
  bool checkForPreservedChildren();
  /// True when PMI hang on the block and the partition is in PMI mode.
  bool hasPMIChildren();
  /// The mark on a JT node that preserves it.
  bool isNodePreserved(JtNode* node);
  /// Whether an earlier deep test left its mark on a JT node.
  bool isTestedforPreservedDescendants(JtNode* node);
  /// Whether a JT node stores frames, for a block with PMI.
  bool isKrFramesOnBlock(JtNode* node);
  /// The deep test, which looks at everything below a JT node and leaves marks.
  bool jtTraverseIsPreserved(JtNode* node);
  /// The shallow test, whose answer is kept.
  bool jtwTraverseIsPreserved();
  /// Stores the mark of a deep test.
  void setTestBlockPreservedDescendantsProp(bool tested);

 private:
  enum class State : std::uint8_t { unknown, preserved, notPreserved };

  JtwBlock* blockOf(JtNode* node);
  bool carriesPreservedMark(JtNode* node, JtwBlock& block);

  State state_ = State::unknown;
};
