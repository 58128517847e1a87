#include <string>

#include "Command.h"
#include "Component.h"
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

void showNode(Session& session, JtwNode& node, JtwNode* parent) {
  Output& out = session.out();
  const auto row = [&out](const char* name, const std::string& text) {
    if (!text.empty()) out.line("  " + padRight(name, 14) + text);
  };
  out.line(session.style().paint(Ink::bold, std::string(kindName(node)) + " " + objectText(node)));
  row("name", printable(nameOf(node)));
  row("parent", parent && !parent->key().isNull() ? std::to_string(parent->key().getAsLong()) : "");
  const char* unit = unitOf(node);
  row("unit", unit ? unit : "");
  bool isDefault = true;
  const ApiGraColor color = colorOf(node, isDefault);
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
  const ObjectName name(session.argument(1));
  const Component component(session, session.argument(0), false);
  const std::size_t index = component.find(name);
  JtwNode& node = *component.entries()[index].node;
  JtwNode* parent = component.listedParent(index);
  if (!session.wantsJson()) {
    showNode(session, node, parent);
    return ExitCode::done;
  }
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("document", component.document());
  writeNodeMembers(json, node, parent);
  json.numbers("absLoc", node.absLoc().values());
  writeChildren(json, component, index);
  session.endResult();
  return ExitCode::done;
}

}  // namespace tool
