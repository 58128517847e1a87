#include "Command.h"
#include "InputFile.h"
#include "JtInspect.h"
#include "SaveResult.h"
#include "Session.h"

namespace tool {
namespace {

jt::SaveOptions saveOptions(const Arguments& arguments) {
  jt::SaveOptions options;
  options.dryRun = arguments.has("dry-run");
  options.rewriteSceneGraph = true;
  options.version = versionOption(arguments);
  return options;
}

void writeResult(Session& session, const std::string& input, const jt::SaveReport& report) {
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("file", input);
  json.key("segments");
  json.beginArray();
  for (const jt::SegmentAction& action : report.segments) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("id", action.id.text());
    json.member("type", action.type);
    json.member("action", actionName(action.kind));
    json.textOrNull("reason", action.reason);
    json.end();
  }
  json.end();
  writeSaved(session, report);
  session.endResult();
}

}  // namespace

ExitCode runCopy(Session& session) {
  const std::string& input = session.argument(0);
  const std::string& output = session.argument(1);
  const jt::SaveOptions options = saveOptions(session.arguments());
  claimOutput(session, output, options.dryRun);
  const jt::Ref<JtPartition> partition = openFile(session, input);
  const jt::Ref<JtStorageLocation> location = outputLocation(output);
  jt::SaveReport report = savePartition(*partition, location.get(), options, output);
  if (output == "-") report.file = output;
  showSaveWarnings(session, report);
  if (session.wantsJson())
    writeResult(session, input, report);
  else
    showSaved(session, report, options.dryRun);
  return ExitCode::done;
}

}  // namespace tool
