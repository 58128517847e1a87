#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "InputFile.h"
#include "Session.h"

namespace tool {
namespace {

struct Kind {
  std::string_view name;
  JtwRoot::JT_BUFFER buffer;
};

constexpr std::array kKinds{
    Kind{"kin", JtwRoot::JT_KIN_BUFFER},
    Kind{"kin-modeling", JtwRoot::JT_KIN_MODELING_BUFFER},
    Kind{"kin-techno", JtwRoot::JT_KIN_TECHNO_BUFFER},
    Kind{"mop", JtwRoot::JT_MOP_BUFFER},
    Kind{"dot-kin", JtwRoot::JT_DOT_KIN_BUFFER},
    Kind{"gm-kin", JtwRoot::JT_GM_KIN_BUFFER},
    Kind{"plc-logic", JtwRoot::JT_PLC_LOGIC_BLOCK},
    Kind{"kin-techno-double", JtwRoot::JT_KIN_TECHNO_DOUBLE_BUFFER},
};

const Kind& findKind(const std::string& name) {
  std::string names;
  for (const Kind& kind : kKinds) {
    if (name == kind.name) return kind;
    names += (names.empty() ? "" : ", ") + std::string(kind.name);
  }
  failUsage("there is no buffer '" + name + "'; there are: " + names);
}

/// What the component keeps in one buffer.
struct Content {
  bool found = false;
  unsigned version = 0;
  unsigned size = 0;
  RTAutoPtr<char> data;

  Content(JtwRoot& root, const Kind& kind)
      : data(root.getBuffer(kind.buffer, version, found, size)) {}
};

[[noreturn]] void failAbsent(const Component& component, const Kind& kind) {
  failRefused(component.document(), "no_buffer",
              "the component has no buffer '" + std::string(kind.name) + "'");
}

void writeContent(JsonWriter& json, const Kind& kind, const Content& content) {
  json.member("buffer", kind.name);
  json.member("size", content.size);
  json.member("version",
              content.size > 0 ? std::optional<unsigned>(content.version) : std::nullopt);
}

std::string describe(const Kind& kind, const Content& content) {
  return std::string(kind.name) + ": " + counted(content.size, "byte");
}

ExitCode list(Session& session) {
  const Component component(session, session.argument(0), false);
  JsonWriter& json = session.json();
  if (session.wantsJson()) {
    session.beginResult();
    json.member("document", component.document());
    json.key("buffers");
    json.beginArray();
  }
  for (const Kind& kind : kKinds) {
    const Content content(component.root(), kind);
    if (!content.found) continue;
    if (!session.wantsJson()) {
      session.out().line(describe(kind, content));
      continue;
    }
    json.beginObject(JsonWriter::Layout::line);
    writeContent(json, kind, content);
    json.end();
  }
  if (session.wantsJson()) {
    json.end();
    session.endResult();
  }
  return ExitCode::done;
}

ExitCode get(Session& session, const Kind& kind, const std::string& file) {
  if (session.arguments().has("dry-run")) failUsage("--dry-run goes with set and rm");
  claimOutput(session, file, false);
  const Component component(session, session.argument(0), false);
  const Content content(component.root(), kind);
  if (!content.found) failAbsent(component, kind);
  writeBytes(file, std::as_bytes(std::span(content.data.get(), content.size)));
  session.noteWritten(file);
  if (!session.wantsJson()) {
    session.out().line(describe(kind, content) + " written to " + printable(file));
    return ExitCode::done;
  }
  session.beginResult();
  session.json().member("document", component.document());
  writeContent(session.json(), kind, content);
  session.json().member("file", file);
  session.endResult();
  return ExitCode::done;
}

ExitCode set(Session& session, const Kind& kind, const std::string& file) {
  const std::vector<std::byte> bytes = readBytes(file);
  Component component(session, session.argument(0), !session.arguments().has("dry-run"));
  if (bytes.empty())
    failRefused(component.document(), "empty_buffer",
                "an empty buffer cannot be kept; 'rm' in the place of 'set' removes it");
  if (bytes.size() > 0x7fffffffU ||
      !component.root().setBuffer(kind.buffer, reinterpret_cast<const char*>(bytes.data()),
                                  static_cast<unsigned>(bytes.size())))
    failRefused(component.document(), "too_large", "a buffer has at most 2147483647 bytes");
  const Content content(component.root(), kind);
  return saveAndReport(session, component, describe(kind, content),
                       [&](JsonWriter& json) { writeContent(json, kind, content); });
}

ExitCode remove(Session& session, const Kind& kind) {
  Component component(session, session.argument(0), !session.arguments().has("dry-run"));
  if (!component.root().hasBuffer(kind.buffer)) failAbsent(component, kind);
  component.root().setBuffer(kind.buffer, nullptr, 0);
  return saveAndReport(session, component, "removed " + std::string(kind.name),
                       [&](JsonWriter& json) { json.member("buffer", kind.name); });
}

}  // namespace

ExitCode runBuffer(Session& session) {
  const auto& words = session.arguments().positional();
  if (words.size() == 1) return list(session);
  const Kind& kind = findKind(words[1]);
  const std::string action = words.size() > 2 ? words[2] : "";
  const std::string file = words.size() > 3 ? words[3] : "-";
  if (action == "get") return get(session, kind, file);
  if (action == "set") return set(session, kind, file);
  if (action != "rm")
    failUsage("what to do with the buffer is '" + action + "', not get, set or rm");
  if (words.size() > 3) failUsage("rm takes no file");
  return remove(session, kind);
}

}  // namespace tool
