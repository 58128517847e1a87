#pragma once

#include <string>
#include <string_view>

#include "JsonWriter.h"
#include "JtwPatch.h"

namespace tool {

/// A patch as a document (see schemas/patch-1.json), a change a line.
std::string patchText(const jtw::Patch& patch);
/// A value of a patch: null, a truth, a number, a text or a list of numbers. Numbers are as short
/// as singles can be, but for those of a placement. @param name of the value
void writePatchValue(JsonWriter& json, const jtw::PatchValue& value, const std::string& name);
/// The place of an object in a patch: its key as a number, else a text.
void writePatchPlace(JsonWriter& json, const std::string& at);

/// Reads such a document. Throws Failure: exit code 3 for what is no JSON, 5 for a patch that is
/// wrong; the message names the change and the member. @param file for messages
jtw::Patch readPatch(std::string_view text, const std::string& file);

}  // namespace tool
