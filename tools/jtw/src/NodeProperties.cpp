#include "NodeProperties.h"

#include <set>
#include <string>
#include <unordered_map>

#include "GraphValues.h"
#include "JtLastError.h"
#include "Session.h"
#include "VisMetaDataNode.h"

namespace tool {

const JtMetaData* loadMetaData(Session& session, JtNode& node) {
  auto* holder = jt::as<VisMetaDataNode>(&node);
  if (!holder) return nullptr;
  if (!holder->ensureMetaData()) {
    session.warn(jt::lastError());
    return nullptr;
  }
  return holder->metaData();
}

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

void showProperties(Output& out, const JtNode& node) {
  for (int i = 0; i < node.numProperties(); ++i) {
    JtPropAtom* key = nullptr;
    JtPropAtom* value = nullptr;
    if (node.getProperty(i, key, value))
      out.line("    " + printable(atomText(key)) + " = " + printable(atomText(value)));
  }
}

void showMetaData(Output& out, const JtMetaData* metaData) {
  if (!metaData) return;
  for (const JtMetaData::Entry& entry : metaData->entries())
    out.line("    metadata " + printable(entry.key.stringToMbs()) + " = " +
             printable(metaValueText(entry.value)));
}

}  // namespace tool
