#pragma once

#include <vector>

#include "JtwPatch.h"

class JtwPMI;

namespace jtw {

/// What an object of a patch is in the component: a JT node, or a frame or annotation.
struct PatchTarget {
  JtNode* node = nullptr;
  JtwPMI* pmi = nullptr;
};

/// True when frames with keys hang on an object.
bool hasFrames(JtwNode& node);

/// The facts about a component. @param targets what each object is, in the same order; null: not
/// asked for
std::vector<PatchObject> readFacts(const Objects& objects, std::vector<PatchTarget>* targets);

}  // namespace jtw
