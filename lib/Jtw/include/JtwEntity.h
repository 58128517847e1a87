#pragma once

#include "JtwLeaf.h"
#include "VisPartNode.h"

/// A part with its geometry.
class JTW_API JtwEntity : public JtwLeaf {
 public:
  JtwEntity() = default;
  /// @param name what name() gives when the part has no name of its own
  JtwEntity(VisPartNode* part, JtwRoot* root, const RWClassicWString& name);
  JtwEntity(const JtwEntity&) = default;
  JtwEntity& operator=(const JtwEntity&) = default;
  ~JtwEntity() override;

  JT_NODE_TYPE type() override { return JT_ENTITY_NODE; }
  RWClassicWString name() override;
  bool isPreserved(bool deep) override;
  /// Takes effect only while the part has no such mark.
  void setPreserved(bool preserved) override;

  /// Whether approximated geometry is to be computed. Asking takes the mark away.
  bool shouldCalculateApx();
  /// Takes effect only while the part has no such mark.
  void setShouldCalculateApx(bool calculate);

 private:
  RWClassicWString name_;
};
