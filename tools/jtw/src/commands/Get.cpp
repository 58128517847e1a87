#include <string>

#include "Assembly.h"
#include "Choice.h"
#include "Command.h"
#include "Component.h"
#include "JtwTree.h"
#include "NodeView.h"
#include "Session.h"

namespace tool {
namespace {

std::string matrixText(const RTTran3D& location) {
  std::string text;
  for (std::size_t row = 0; row < 4; ++row) {
    text += row == 0 ? "" : "\n                ";
    for (std::size_t column = 0; column < 4; ++column)
      text += ' ' + padLeft(numberText(static_cast<float>(location(row, column))), 13);
  }
  return text;
}

void showNode(Session& session, const ListedObject& object, std::uint64_t places) {
  JtwNode& node = *object.node;
  JtwNode* const parent = object.parent;
  Output& out = session.out();
  const auto row = [&out](const char* name, const std::string& text) {
    if (!text.empty()) out.line("  " + padRight(name, 14) + text);
  };
  out.line(session.style().paint(Ink::bold, std::string(kindName(node)) + " " + object.address));
  row("name", printable(nameOf(node)));
  row("parent", parent && !parent->key().isNull() ? std::to_string(parent->key().getAsLong()) : "");
  row("places", places > 1 ? std::to_string(places) : "");
  const char* unit = unitOf(node);
  row("unit", unit ? unit : "");
  bool isDefault = true;
  const ApiGraColor color = jtw::colorOf(node, isDefault);
  row("color", isDefault ? "default" : colorText(color));
  row("preserved", node.isPreserved(false) ? "yes" : "no");
  row("attributes", printable(node.attributes()));
  row("uniqueId", printable(node.globalUniqueId().getAsString()));
  row("relStringId", printable(node.relStringId()));
  row("relLoc", matrixText(listedLocation(node, parent)));
  row("absLoc", matrixText(node.absLoc()));
}

}  // namespace

ExitCode runGet(Session& session) {
  const Choice choice(session);
  const Component component(session, session.argument(0), false);
  const jtw::Objects& objects = component.objects();
  const std::vector<std::size_t> chosen = choice.of(objects);
  if (!session.wantsJson()) {
    for (const std::size_t index : chosen)
      showNode(session, objects.listed(index), objects.placeCount(index));
    return ExitCode::done;
  }
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("document", component.document());
  const auto writeMembers = [&](std::size_t index) {
    const ListedObject object = objects.listed(index);
    writeNodeMembers(json, object);
    writeLocation(json, "absLoc", object.node->absLoc(), *object.node);
    json.member("places", objects.placeCount(index));
  };
  if (choice.isSelection()) {
    json.key("nodes");
    json.beginArray();
    for (const std::size_t index : chosen) {
      json.beginObject();
      writeMembers(index);
      json.end();
    }
    json.end();
  } else {
    writeMembers(chosen.front());
    writeChildren(json, objects.listing(chosen.front()));
  }
  writeFiles(json, component.partFiles());
  session.endResult();
  return ExitCode::done;
}

}  // namespace tool
