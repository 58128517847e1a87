#pragma once

#include <optional>

#include "Comparison.h"
#include "JtPartition.h"

namespace tool {

class Arguments;
class JsonWriter;
class Session;

// `diff --picture`.

/// Throws Failure "usage" for options of a picture that is not asked for, and for bad values.
void checkDiffPicture(const Arguments& arguments);
/// Draws two files in one picture and writes it, when it is asked for. Shapes that cannot be read
/// are warnings. Throws Failure. @param tolerance in millimetres
std::optional<ComparedShapes> drawDiffPicture(Session& session, JtPartition& before,
                                              JtPartition& after, double tolerance);
/// What a picture shows, in a line of text.
void showDiffPicture(Session& session, const std::optional<ComparedShapes>& shapes);
/// Writes the member "picture" of a result.
void writeDiffPicture(JsonWriter& json, const Arguments& arguments,
                      const std::optional<ComparedShapes>& shapes);

}  // namespace tool
