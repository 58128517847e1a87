#include <optional>
#include <string>

#include "Assembly.h"
#include "Command.h"
#include "Component.h"
#include "Jt.h"
#include "JtwEditError.h"
#include "JtwTree.h"
#include "NodeIds.h"
#include "NodeProperties.h"
#include "Session.h"

namespace tool {
namespace {

/// A node and what it is called.
struct NamedNode {
  JtNode* node = nullptr;
  std::int64_t id = 0;
  std::string name;
  std::string path;  ///< of an object of a component; else empty
};

std::optional<int> keyOf(const JtNode& node) {
  const auto* key = jt::as<JtInt32PropAtom>(node.property(JtString(jtw::keyProperty())));
  return key ? std::optional<int>(key->value()) : std::nullopt;
}

/// Prints nodes one after the other.
class Listing {
 public:
  Listing(Session& session, const std::string& file) : session_(session) {
    if (!session.wantsJson()) return;
    session.beginResult();
    session.json().member("file", file);
    session.json().key("nodes");
    session.json().beginArray();
  }

  void add(const NamedNode& named) {
    const JtMetaData* metaData = loadMetaData(session_, *named.node);
    if (!session_.wantsJson()) {
      const std::string& name = named.path.empty() ? named.name : named.path;
      session_.out().line(session_.style().paint(
          Ink::bold, "#" + std::to_string(named.id) + "  " + printable(name)));
      showProperties(session_.out(), *named.node);
      showMetaData(session_.out(), metaData);
      return;
    }
    JsonWriter& json = session_.json();
    json.beginObject();
    json.member("id", named.id);
    json.member("key", keyOf(*named.node));
    json.textOrNull("name", named.name);
    json.textOrNull("path", named.path);
    writeMetaData(json, metaData);
    writeProperties(json, *named.node);
    json.end();
  }

  void end(const std::vector<jt::PartFile>& parts) {
    if (!session_.wantsJson()) return;
    session_.json().end();
    writeFiles(session_.json(), parts);
    session_.endResult();
  }

 private:
  Session& session_;
};

NamedNode named(JtNode& node, const NodeIds& ids) {
  return {&node, ids.of(&node), Jt::name(&node).stringToMbs(), {}};
}

bool hasAny(Session& session, JtNode& node) {
  return node.numProperties() > 0 || loadMetaData(session, node) != nullptr;
}

/// All nodes that have properties or metadata.
ExitCode listAll(Session& session, const std::string& file) {
  const OpenedAssembly opened = openAssembly(session, file);
  const NodeIds ids(*opened.top, session.arguments().has("parts"));
  Listing listing(session, file);
  for (JtNode* node : ids.nodes())
    if (hasAny(session, *node)) listing.add(named(*node, ids));
  listing.end(opened.parts);
  return exitCodeOf(opened.parts);
}

/// The node of a JT file with that id.
ExitCode showNode(Session& session, const std::string& file, std::int32_t id) {
  const OpenedAssembly opened = openAssembly(session, file);
  const NodeIds ids(*opened.top, false);
  for (JtNode* node : ids.nodes()) {
    if (ids.of(node) != id) continue;
    Listing listing(session, file);
    listing.add(named(*node, ids));
    listing.end(opened.parts);
    return ExitCode::done;
  }
  jtw::failRefused(file, "unknown_key", "the file has no node #" + std::to_string(id));
}

/// The node of an object of a component.
ExitCode showObject(Session& session, const std::string& file, const jtw::ObjectAddress& address) {
  const Component component(session, file, false);
  const jtw::Objects& objects = component.objects();
  const std::size_t index = objects.find(address);
  JtwNode& object = objects.node(index);
  if (object.isOfTypePMI() || !object.jtNode())
    jtw::failRefused(file, "no_node",
                     "object " + address.text() + " has no node of its own: it is of the kind " +
                         jtw::kindName(object));
  Listing listing(session, file);
  listing.add({object.jtNode(), jtw::nodeIdOf(object), objects.name(index), objects.path(index)});
  listing.end(component.partFiles());
  return ExitCode::done;
}

}  // namespace

ExitCode runMetadata(Session& session) {
  const auto& words = session.arguments().positional();
  const std::string& file = words[0];
  if (words.size() == 1) return listAll(session, file);
  if (session.arguments().has("parts")) failUsage("--parts goes without a KEY");
  const jtw::ObjectAddress address(words[1]);
  const auto& ids = address.nodeIds();
  if (ids.size() == 1 && address.key().isNull()) return showNode(session, file, ids.front());
  return showObject(session, file, address);
}

}  // namespace tool
