#pragma once

#include <vector>

#include "VisMetaDataNode.h"

/// Name of the entities that other programs keep copies of geometry in.
inline constexpr const char* kMulticadGeometry = "Multicad Geometry";

/// Looks through the PMI of a JT node for what the host is interested in.
class JtkwPMIReader {
 public:
  /// Loads the node's PMI. Null, a node that cannot carry PMI and PMI that cannot be read count as
  /// none.
  explicit JtkwPMIReader(JtNode* node);

  /// True when there is something to draw: an annotation with text, lines or filled areas.
  /// Coordinate systems, part transforms and the styles of views are no graphics.
  bool hasGraphicPMI() const;
  /// Positions of the generic entities for which hasGenericEntity() holds, ascending.
  std::vector<int> genericEntities(const char* name) const;
  /// True when the property that names a generic entity ("Description", else "name") is exactly
  /// `name`. The entity's texts and type do not count.
  bool hasGenericEntity(const char* name) const;

 private:
  jt::Ref<PMIDataManager> pmi_;
};
