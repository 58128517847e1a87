#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "ApiGraColor.h"
#include "RTTran3D.h"

class JtwNode;

namespace tool {

class Component;
class JsonWriter;

// What is shown of an object of a component.

/// "component", "block", "link", "sub-device", "entity", "frame" or "annotation".
const char* kindName(JtwNode& node);
/// The object id of its node, for a new object that in the file that it was saved to; 0 for a frame
/// or annotation, and for a node that no file has.
std::int32_t nodeIdOf(JtwNode& node);
/// What names the object on the command line: its key, "#ID" where it has none, "-" where it has
/// neither.
std::string objectText(JtwNode& node);
/// The object's name in UTF-8.
std::string nameOf(JtwNode& node);
/// Its own colour or the one that it inherits.
ApiGraColor colorOf(JtwNode& node, bool& isDefault);
/// "#rrggbb" or "#rrggbbaa".
std::string colorText(const ApiGraColor& color);
/// Writes the member "color": {r, g, b, a}, with "default" when that is given.
void writeColor(JsonWriter& json, const ApiGraColor& color, std::optional<bool> isDefault = {});
/// Its unit of length; null when it has none.
const char* unitOf(JtwNode& node);
/// Its place relative to the object that it is listed under.
RTTran3D listedLocation(JtwNode& node, JtwNode* parent);

/// Writes the members of an object, without its children, into the object that is open.
void writeNodeMembers(JsonWriter& json, JtwNode& node, JtwNode* parent);
/// Writes the member "children": everything that is listed below an entry. Needs no call stack,
/// however deep the component is.
void writeChildren(JsonWriter& json, const Component& component, std::size_t index);

}  // namespace tool
