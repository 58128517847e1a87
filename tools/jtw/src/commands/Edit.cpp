#include <string>

#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "InputFile.h"
#include "JtwScript.h"
#include "Progress.h"
#include "ScriptDocument.h"
#include "Session.h"

namespace tool {
namespace {

std::string summaryOf(const jtw::ScriptResult& result) {
  std::string line = "made " + counted(result.steps, "step");
  const auto add = [&line](const char* what, std::size_t count) {
    if (count > 0) line += std::string(", ") + what + " " + counted(count, "object");
  };
  add("changed", result.changed.size());
  add("added", result.added.size());
  add("removed", result.removed.size());
  add("detached", result.detached.size());
  return line;
}

}  // namespace

ExitCode runEdit(Session& session) {
  const std::string& file = session.argument(1);
  const std::vector<std::byte> bytes = readBytes(file);
  const std::vector<jtw::ScriptStep> steps =
      readScript({reinterpret_cast<const char*>(bytes.data()), bytes.size()},
                 file == "-" ? "standard input" : file);
  Component component(session, session.argument(0), !session.arguments().has("dry-run"));
  Progress progress(session, "editing");
  const jtw::ScriptResult result =
      jtw::runScript(component.objects(), steps, [&](std::size_t done) {
        progress.update(static_cast<double>(done) / static_cast<double>(steps.size()));
      });
  progress.clear();
  return saveAndReport(session, component, summaryOf(result), [&](JsonWriter& json) {
    json.member("steps", result.steps);
    json.numbers("changed", result.changed);
    json.numbers("added", result.added);
    json.numbers("removed", result.removed);
    json.numbers("detached", result.detached);
  });
}

}  // namespace tool
