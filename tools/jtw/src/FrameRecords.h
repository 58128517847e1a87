#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ApiProtoKey.h"
#include "JtFrame.h"

namespace tool {

class JsonWriter;

// The records of a frame list as JSON: what `frames` prints is what it reads again.

/// Writes the member "frames": a list of {key, name, displayed, relLoc, color, attributes,
/// attachment}.
void writeFrameRecords(JsonWriter& json, const std::vector<JtFrame>& frames);

/// Reads such a list, or an object whose member "frames" it is. All members may be missing; a
/// frame without key gets the null key. Throws Failure "bad_frames", which names the place.
/// @param file what the text came from, for messages
std::vector<JtFrame> readFrameRecords(std::string_view text, const std::string& file);

}  // namespace tool
