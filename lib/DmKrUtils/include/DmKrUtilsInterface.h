#pragma once

#include "DmKrUtilsExport.h"
#include "JtPartition.h"
#include "JtXform.h"
#include "RWClassic.h"

/// Operations on scene graphs that the host's other libraries share.
class DMKR_API DmKrUtilsInterface {
 public:
  /// Removes attributes that have no effect from `top` and what is below it: ignored ones, identity
  /// transforms, and materials that repeat one listed before them. What is seen, and which material
  /// a node lists first, stays the same. Nodes that are as they were read are left alone, so that
  /// an opened file stays unmodified. Each node is looked at once, however many paths lead to it.
  /// @return how many were removed
  static int cleanupUnusedAttributes(JtNode* top);

  /// Opens a JT file alone: partitions that represent other files stay closed.
  /// @return null when it cannot be opened; the reason is in jt::lastError()
  static jt::Ref<JtPartition> OpenJt(const RWClassicCString& path,
                                     const jt::ReadLimits& limits = {});

  /// Sets the matrix (row vectors) of a transform attribute; false for null.
  static bool setMatrix(JtXform* xform, const jt::Matrix4& matrix);
};
