#pragma once

#include "JtNode.h"
#include "JtPartition.h"
#include "JtString.h"
#include "JtwExport.h"
#include "RWClassic.h"
#include "VisPartNode.h"

class JtwNode;
class JtwPMI;

// Small tests and conversions that wrappers, walks and exporters share. A test's result says
// whether the question could be asked; the answer goes to the output, which is untouched otherwise.

/// Whether a node carries a prototype key. False for null.
JTW_API bool JtwUtilsJtHasProtoKey(JtNode* node, bool& has);
/// Whether a node, or one above it, carries a kinematics buffer. False for null.
JTW_API bool JtwUtilsJtHasKinDevice(JtNode* node, bool& has);
/// Whether a node, or one above it, carries a kinematics modelling buffer. False for null.
JTW_API bool JtwUtilsJtHasKinModelingDevice(JtNode* node, bool& has);
/// Whether the partition is marked as data that another system wrote. False for null.
JTW_API bool JtwUtilsDidJtOriginateFromNativeJt(JtPartition* partition, bool& native);
/// Whether the partition's document keeps PMI. False, with `on` false, when the registry knows no
/// document of this partition.
JTW_API bool JtwUtilsIsPMIModeOn(const JtPartition* partition, bool& on);
/// Whether a PMI is to be left out of an export: annotations of the model view label kind always,
/// other annotations by the registry's options, frames never. True unless `pmi` is null.
JTW_API bool JtwUtilsShouldExcludePMI(JtwPMI* pmi, bool& exclude);

/// Whether the node's PMI have a generic entity of the name "Multicad Geometry". Loads the PMI;
/// false for null, a node without PMI, and PMI that cannot be read.
JTW_API bool JtwUtilsDoesPMIContainMulticadGeom(JtNode* node);
/// Whether the node's PMI have something to draw: text, lines or filled areas of an annotation.
/// Otherwise as JtwUtilsDoesPMIContainMulticadGeom.
JTW_API bool JtwUtilsDoesPMIContatinGraphicPMI(JtNode* node);
/// Takes the PMI of `part` away. What it holds is added to the PMI of the node of `node`'s parent,
/// where there is one. Where it cannot be added (PMI of either cannot be read, the parent cannot
/// carry any), all stays as it was and the reason is in jt::lastError(). Always true.
JTW_API bool JtwUtilsMovePMIFromNodeToParent(JtwNode* node, VisPartNode* part);

/// Writes `pmis` as all the PMI of a collection or an entity into its JT node, with the mark that
/// a collection keeps of preserved PMI; nothing for other objects. The partition still has to be
/// saved. Where the PMI cannot be written, the reason is in jt::lastError(). Always true.
JTW_API bool JtwUtilsWritePMIs(JtwNode* node, RWClassicTValOrderedVector<JtwPMI*> pmis);

/// The node's name as stored; empty for null or a node without name.
JTW_API RWClassicWString JtwUtilsGetNamePropertyAsRWWString(const JtNode* node);
/// Host text as JT text. Both conversions keep every character.
JTW_API JtString JtwUtilsGetRWWStringAsJtString(const RWClassicWString& s);
JTW_API void JtwUtilsConvertRWCStringToJtString(const RWClassicCString& s, JtString& out);
