#include <string>

#include "Assembly.h"
#include "Command.h"
#include "GraphValues.h"
#include "Jt.h"
#include "JtByteText.h"
#include "JtInspect.h"
#include "NodeIds.h"
#include "NodeProperties.h"
#include "Session.h"

namespace tool {
namespace {

void writeNode(Session& session, JtNode& node, const NodeIds& ids, bool withMetaData) {
  JsonWriter& json = session.json();
  json.beginObject();
  json.member("id", ids.of(&node));
  json.member("type", jt::elementName(&node));
  json.textOrNull("name", Jt::name(&node).stringToMbs());
  if (const auto* partition = jt::as<JtPartition>(&node))
    json.textOrNull("fileName", jt::bytesOfText(partition->fileName()));
  json.key("children");
  json.beginArray(JsonWriter::Layout::line);
  for (int i = 0; i < ids.childCount(node); ++i) json.value(ids.of(node.child(i)));
  json.end();
  json.key("attributes");
  json.beginArray();
  for (int i = 0; i < node.numAttributes(); ++i) writeAttribute(json, *node.attribute(i));
  json.end();
  writeProperties(json, node);
  if (withMetaData) writeMetaData(json, loadMetaData(session, node));
  json.end();
}

void showNode(Session& session, JtNode& node, const NodeIds& ids, bool withMetaData) {
  Output& out = session.out();
  const std::string name = Jt::name(&node).stringToMbs();
  std::string head = std::to_string(ids.of(&node)) + "  " + printable(jt::elementName(&node));
  if (!name.empty()) head += "  \"" + printable(name) + "\"";
  out.line(session.style().paint(Ink::bold, head));
  if (const auto* partition = jt::as<JtPartition>(&node);
      partition && !partition->fileName().isEmpty())
    out.line("    file: " + printable(jt::bytesOfText(partition->fileName())));
  if (ids.childCount(node) > 0) {
    out.write("    children:");
    for (int i = 0; i < ids.childCount(node); ++i)
      out.write(" " + std::to_string(ids.of(node.child(i))));
    out.line("");
  }
  for (int i = 0; i < node.numAttributes(); ++i)
    out.line("    attribute: " + printable(attributeText(*node.attribute(i))));
  showProperties(out, node);
  if (withMetaData) showMetaData(out, loadMetaData(session, node));
}

}  // namespace

ExitCode runGraph(Session& session) {
  const std::string& path = session.argument(0);
  const bool withMetaData = session.arguments().has("metadata");
  const OpenedAssembly opened = openAssembly(session, path);
  const NodeIds ids(*opened.top, session.arguments().has("parts"));
  if (!session.wantsJson()) {
    for (JtNode* node : ids.nodes()) showNode(session, *node, ids, withMetaData);
    return exitCodeOf(opened.parts);
  }
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("file", path);
  json.key("nodes");
  json.beginArray();
  for (JtNode* node : ids.nodes()) writeNode(session, *node, ids, withMetaData);
  json.end();
  writeFiles(json, opened.parts);
  session.endResult();
  return exitCodeOf(opened.parts);
}

}  // namespace tool
