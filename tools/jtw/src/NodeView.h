#pragma once

#include <optional>
#include <span>
#include <string>

#include "ApiGraColor.h"
#include "JtwObjects.h"

class JtwNode;

namespace tool {

class JsonWriter;

// What is shown of an object of a component.

using jtw::keyNumber;
using jtw::kindName;
using jtw::listedLocation;
using jtw::ListedObject;
using jtw::nameOf;
using jtw::nodeIdOf;
using jtw::objectText;
using jtw::unitOf;

/// "#rrggbb" or "#rrggbbaa".
std::string colorText(const ApiGraColor& color);
/// Writes the member "color": {r, g, b, a}, with "default" when that is given.
void writeColor(JsonWriter& json, const ApiGraColor& color, std::optional<bool> isDefault = {});
/// Writes a location as a list of 16 numbers. @param node whose unit of length its file has
void writeLocation(JsonWriter& json, const char* name, const RTTran3D& location, JtwNode& node);
/// Writes the members of an object, without its children, into the object that is open.
void writeNodeMembers(JsonWriter& json, const ListedObject& object);
/// Writes the member "children" of the first object of a listing: all others, nested. Needs no call
/// stack, however deep the component is.
void writeChildren(JsonWriter& json, std::span<const ListedObject> listing);

}  // namespace tool
