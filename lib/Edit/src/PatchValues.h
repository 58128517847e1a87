#pragma once

#include <string>
#include <vector>

#include "JtNode.h"
#include "JtwPatch.h"

class JtwPMI;

namespace jtw {

// The values of objects as patches have them. Readers append facts in the order of patches.

/// Placement, colors, visibility and properties of a JT node.
/// @param hasFrames frames with keys hang on it: of their list counts only that there is one
void readValues(const JtNode& node, bool hasFrames, std::vector<PatchFact>& facts);
/// Values of a frame or annotation.
void readValues(JtwPMI& pmi, std::vector<PatchFact>& facts);

/// Why a node, a frame or an annotation cannot have the new value of a change, whatever it is made
/// to; empty when it can. Of a frame it takes those of annotations too.
std::string nodeFaultOf(const PatchChange& change);
std::string annotationFaultOf(const PatchChange& change);

/// Writes a value. @pre the change has no fault
/// @return false when the node refuses
bool writeValue(JtNode& node, const PatchChange& change);
void writeValue(JtwPMI& pmi, const PatchChange& change);

/// A frame without an entity in the PMI gets none when others are written.
void keepAsStored(JtwPMI& pmi);

/// True for the number that only ever grows: of two values the greater one holds.
bool isCounter(const PatchChange& change);

/// True for the list of frames of a JT node.
bool isFrameList(const PatchChange& change);
/// True for what a component keeps of its frames and annotations beside them. It is not the same
/// wherever these are the same: it shows what was there before.
bool isBookkeeping(const PatchChange& change);

/// How a value is shaped.
enum class ValueShape : std::uint8_t { text, integer, truth, numbers };

/// The fault of a value that should have that shape and is called `name`; empty for none.
/// @param count of numbers; 0: any
std::string shapeFault(const PatchValue& value, ValueShape shape, std::size_t count = 0);

}  // namespace jtw
