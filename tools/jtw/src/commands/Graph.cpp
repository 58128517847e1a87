#include <algorithm>
#include <set>
#include <string>
#include <unordered_map>

#include "Assembly.h"
#include "Command.h"
#include "GraphValues.h"
#include "Jt.h"
#include "JtInspect.h"
#include "NodeIds.h"
#include "Session.h"
#include "VisMetaDataNode.h"

namespace tool {
namespace {

/// Properties, in stored order. Of several with one key the first counts; the others get a number.
void writeProperties(JsonWriter& json, const JtNode& node) {
  json.key("properties");
  json.beginObject(JsonWriter::Layout::line);
  std::unordered_map<std::string, std::size_t> seen;
  for (int i = 0; i < node.numProperties(); ++i) {
    JtPropAtom* key = nullptr;
    JtPropAtom* value = nullptr;
    if (!node.getProperty(i, key, value)) continue;
    std::string name = atomText(key);
    const std::size_t before = seen[name]++;
    if (before > 0) name += " #" + std::to_string(before + 1);
    json.key(name);
    writeAtom(json, value);
  }
  json.end();
}

const JtMetaData* loadMetaData(Session& session, JtNode& node) {
  auto* holder = jt::as<VisMetaDataNode>(&node);
  if (!holder) return nullptr;
  if (!holder->ensureMetaData()) {
    session.warn(jt::lastError());
    return nullptr;
  }
  return holder->metaData();
}

void writeMetaData(JsonWriter& json, const JtMetaData* metaData) {
  json.key("metadata");
  if (!metaData) {
    json.null();
    return;
  }
  json.beginObject(JsonWriter::Layout::line);
  std::set<JtString> seen;
  for (const JtMetaData::Entry& entry : metaData->entries()) {
    if (!seen.insert(entry.key).second) continue;  // the first one counts
    json.key(entry.key.stringToMbs());
    writeMetaValue(json, entry.value);
  }
  json.end();
}

void writeNode(Session& session, JtNode& node, const NodeIds& ids, bool withMetaData) {
  JsonWriter& json = session.json();
  json.beginObject();
  json.member("id", ids.of(&node));
  json.member("type", jt::elementName(&node));
  json.textOrNull("name", Jt::name(&node).stringToMbs());
  if (const auto* partition = jt::as<JtPartition>(&node))
    json.textOrNull("fileName", partition->fileName().stringToMbs());
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
    out.line("    file: " + printable(partition->fileName().stringToMbs()));
  if (ids.childCount(node) > 0) {
    out.write("    children:");
    for (int i = 0; i < ids.childCount(node); ++i)
      out.write(" " + std::to_string(ids.of(node.child(i))));
    out.line("");
  }
  for (int i = 0; i < node.numAttributes(); ++i)
    out.line("    attribute: " + printable(attributeText(*node.attribute(i))));
  for (int i = 0; i < node.numProperties(); ++i) {
    JtPropAtom* key = nullptr;
    JtPropAtom* value = nullptr;
    if (node.getProperty(i, key, value))
      out.line("    " + printable(atomText(key)) + " = " + printable(atomText(value)));
  }
  const JtMetaData* metaData = withMetaData ? loadMetaData(session, node) : nullptr;
  if (!metaData) return;
  for (const JtMetaData::Entry& entry : metaData->entries())
    out.line("    metadata " + printable(entry.key.stringToMbs()) + " = " +
             printable(metaValueText(entry.value)));
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
