#include "NodeView.h"

#include <cmath>
#include <string>

#include "GraphValues.h"
#include "JsonWriter.h"
#include "JtwLeaf.h"
#include "JtwTree.h"

namespace tool {
namespace {

JtwLeaf* asLeaf(JtwNode& node) {
  return node.isCollection() ? nullptr : static_cast<JtwLeaf*>(&node);
}

void writeAttachment(JsonWriter& json, JtwNode& node) {
  ApiProtoKey parent;
  AttachmentType type = ATTACHMENT_DEFAULT;
  node.getAttachmentParent(parent, type);
  json.key("attachment");
  if (parent.isNull()) {
    json.null();
    return;
  }
  json.beginObject(JsonWriter::Layout::line);
  json.member("parent", parent.getAsLong());
  json.member("type", static_cast<int>(type));
  json.end();
}

}  // namespace

std::string colorText(const ApiGraColor& color) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::string text = "#";
  const auto add = [&text](unsigned byte) {
    text += kHex[byte >> 4];
    text += kHex[byte & 0x0f];
  };
  add(color.red());
  add(color.green());
  add(color.blue());
  if (color.getAlpha() < 1.0F) add(static_cast<unsigned>(std::lround(color.getAlpha() * 255.0F)));
  return text;
}

void writeColor(JsonWriter& json, const ApiGraColor& color, std::optional<bool> isDefault) {
  float r = 0;
  float g = 0;
  float b = 0;
  color.getRGB(r, g, b);
  json.key("color");
  json.beginObject(JsonWriter::Layout::line);
  json.member("r", r);
  json.member("g", g);
  json.member("b", b);
  json.member("a", color.getAlpha());
  if (isDefault) json.member("default", *isDefault);
  json.end();
}

void writeLocation(JsonWriter& json, const char* name, const RTTran3D& location, JtwNode& node) {
  const auto unit = static_cast<double>(node.measurementUnitRatio());
  json.key(name);
  json.beginArray(JsonWriter::Layout::line);
  for (std::size_t row = 0; row < 4; ++row)
    for (std::size_t column = 0; column < 4; ++column)
      json.storedValue(location(row, column), row < 3 && column == 3 && unit > 0 ? unit : 1);
  json.end();
}

void writeNodeMembers(JsonWriter& json, const ListedObject& object) {
  JtwNode& node = *object.node;
  json.member("kind", kindName(node));
  json.member("key", keyNumber(node.key()));
  const std::int32_t id = nodeIdOf(node);
  json.member("nodeId", id == 0 ? std::optional<std::int32_t>() : std::optional<std::int32_t>(id));
  json.textOrNull("address", object.address);
  json.textOrNull("sameAs", object.sameAs);
  json.textOrNull("name", object.name.empty() ? nameOf(node) : object.name);
  const char* unit = unitOf(node);
  json.textOrNull("unit", unit ? unit : "");
  const float ratio = node.measurementUnitRatio();
  json.member("unitRatio", ratio > 0 ? std::optional<float>(ratio) : std::optional<float>());
  writeLocation(json, "relLoc",
                object.relLoc ? *object.relLoc : listedLocation(node, object.parent), node);
  bool isDefault = true;
  const ApiGraColor color = jtw::colorOf(node, isDefault);
  writeColor(json, color, isDefault);
  JtwLeaf* leaf = asLeaf(node);
  json.member("displayed", leaf ? std::optional<bool>(leaf->displayState()) : std::nullopt);
  json.member("preserved", node.isPreserved(false));
  json.textOrNull("attributes", node.attributes());
  json.textOrNull("uniqueId", node.globalUniqueId().getAsString());
  json.textOrNull("relStringId", node.relStringId());
  writeAttachment(json, node);
}

void writeChildren(JsonWriter& json, std::span<const ListedObject> listing) {
  std::size_t open = 0;  // objects whose children are being written
  json.key("children");
  json.beginArray();
  const auto closeDownTo = [&](std::size_t levels) {
    for (; open > levels; --open) {
      json.end();  // children
      json.end();  // the object
    }
  };
  for (const ListedObject& object : listing.subspan(1)) {
    closeDownTo(static_cast<std::size_t>(object.depth - listing[0].depth - 1));
    json.beginObject();
    writeNodeMembers(json, object);
    json.key("children");
    json.beginArray();
    ++open;
  }
  closeDownTo(0);
  json.end();
}

}  // namespace tool
