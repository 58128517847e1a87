#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "ApiGraColor.h"
#include "RTTran3D.h"

class JtwNode;

namespace tool {

class JsonWriter;

// What is shown of an object of a component.

/// "component", "block", "link", "sub-device", "entity", "frame" or "annotation".
const char* kindName(JtwNode& node);
/// The object id of its node, for a new object that in the file that it was saved to; 0 for a frame
/// or annotation, and for a node that no file has.
std::int32_t nodeIdOf(JtwNode& node);
/// Its key, "#ID" where it has none, "-" where it has neither: what names it in a single file.
std::string objectText(JtwNode& node);
/// The object's name in UTF-8.
std::string nameOf(JtwNode& node);
/// "#rrggbb" or "#rrggbbaa".
std::string colorText(const ApiGraColor& color);
/// Writes the member "color": {r, g, b, a}, with "default" when that is given.
void writeColor(JsonWriter& json, const ApiGraColor& color, std::optional<bool> isDefault = {});
/// Its unit of length; null when it has none.
const char* unitOf(JtwNode& node);
/// Its place relative to the object that it is listed under.
RTTran3D listedLocation(JtwNode& node, JtwNode* parent);

/// A line of a listing: an object in one of its places.
struct ListedObject {
  JtwNode* node = nullptr;
  JtwNode* parent = nullptr;  ///< under which it is listed; null for the component itself
  int depth = 0;              ///< 0 for the start of the listing
  std::string address{};      ///< see ObjectName; empty for a frame without key
  // Of a place where an object is listed again:
  std::string sameAs{};              ///< its address in the first place; empty for that
  std::optional<RTTran3D> relLoc{};  ///< relative to `parent`, in millimetres
  std::string name{};                ///< when it has its name from where it is placed
};

/// Writes the members of an object, without its children, into the object that is open.
void writeNodeMembers(JsonWriter& json, const ListedObject& object);
/// Writes the member "children" of the first object of a listing: all others, nested. Needs no call
/// stack, however deep the component is.
void writeChildren(JsonWriter& json, std::span<const ListedObject> listing);

}  // namespace tool
