#pragma once

#include "JtkCADImporter.h"

/// An importer that keeps the host's own properties out.
class JtkwImporter : public JtkCADImporter {
 public:
  JtkwImporter() { setPropertyCallback(&JtkwImporter::propertiesCB); }
  /// @return 0 for a key that begins with "Kr", 1 for others
  static int propertiesCB(JtkProperty* property, JtkHierarchy* hierarchy);
};
