#pragma once

#include <utility>
#include <vector>

#include "ApiGraphicsPMIAnnotationData.h"
#include "JtPMIData.h"
#include "JtString.h"
#include "JtkPMIEntity.h"
#include "JtkStrokeFont.h"
#include "JtkwPMIData.h"

// Text of annotations: its strokes, and the attributes that keep it.

namespace jtw {

using PMIAttributes = std::vector<std::pair<JtString, JtString>>;

/// The font of the fonts file beside the program; the built-in one when there is no such file.
const JtkStrokeFont& pmiFont();

/// Height of a capital letter, in millimetres, for a font size; for 14 when it is not set.
float heightOfFontSize(int size);
/// The height of an annotation's text: its own, else that of its font size.
float textHeightOf(const ApiGraphicsPMIAnnotationData& graphics);

/// The strokes of lines of text in the plane of a record's frame, the first baseline at its origin.
RTTwoLevelRWTOrderedVector<RTVec3D> layOutText(
    const RWClassicTValOrderedVector<RWClassicCString>& lines, const JtkwPMIData& frame,
    float height);

/// Keeps the text of an annotation beside its strokes; removes the attributes when there is none.
void setTextAttributes(const RWClassicTValOrderedVector<RWClassicCString>& lines,
                       std::size_t strokes, JtkPMIEntity& entity);
/// Removes what is written anew for an annotation: its lines and texts, and every attribute that is
/// written only where a value is set.
void clearForRenewal(JtkPMIEntity& entity);
/// Attributes of an entity that the writer does not know.
PMIAttributes foreignAttributes(const jt::PMIGenericEntity& entity);
/// Adds attributes that the entity does not have.
void carryAttributes(const PMIAttributes& attributes, JtkPMIEntity& entity);

}  // namespace jtw
