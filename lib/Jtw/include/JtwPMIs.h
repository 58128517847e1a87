#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ApiGraphicsPMIAnnotationData.h"
#include "JtwExport.h"
#include "RTTran3D.h"
#include "RWClassic.h"

class JtwCollection;
class JtwNode;
class JtwPMI;
class JtwRoot;

// PMI of a component on their way into its JT nodes.

namespace jtw {

/// Writes the PMI of every object of the component whose PMI differ from what its JT node has:
/// annotations and frames that are new, changed, moved or deleted. JT nodes without a difference
/// stay untouched. The partition still has to be saved.
/// @return false, with the reason in jt::lastError(), when the PMI of a JT node cannot be written;
///         those of the others are
JTW_API bool writePMIs(JtwRoot& root);

/// Takes everything that an annotation is drawn with, its plane included, through a transform.
JTW_API void transformGraphics(ApiGraphicsPMIAnnotationData& graphics, const RTTran3D& by);

/// PMI of a JT node that is no object of the host.
struct OtherPMI {
  int id = 0;              ///< place in the file, as JtwPMI::id()
  std::uint16_t code = 0;  ///< code of its type in ISO 14306
  std::string typeName;    ///< may be empty
  std::string name;
  bool isCoordinateSystem = false;
  RTTran3D location;  ///< relative to the collection; of a coordinate system with its axes
};
/// Coordinate systems that no frame has, and PMI of kinds that the host does not know, in stored
/// order. @param carrier the object of the JT node @param collection what its PMI hang on
JTW_API std::vector<OtherPMI> otherPMIs(JtwNode& carrier, JtwCollection& collection);

/// Writes `pmis` as all the PMI of one object, with the marks that a collection keeps of them;
/// nothing for objects that are neither collections nor entities. Result as writePMIs().
JTW_API bool writePMIsOf(JtwNode& node, const RWClassicTValOrderedVector<JtwPMI*>& pmis);

}  // namespace jtw
