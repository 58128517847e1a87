#pragma once

#include "ApiGraphicsPMIAnnotationData.h"
#include "JtwExport.h"
#include "RTTran3D.h"
#include "RWClassic.h"

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

/// Writes `pmis` as all the PMI of one object, with the marks that a collection keeps of them;
/// nothing for objects that are neither collections nor entities. Result as writePMIs().
JTW_API bool writePMIsOf(JtwNode& node, const RWClassicTValOrderedVector<JtwPMI*>& pmis);

}  // namespace jtw
