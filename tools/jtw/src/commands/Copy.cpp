#include "Assembly.h"
#include "Command.h"
#include "CommandLines.h"
#include "FileList.h"
#include "InputFile.h"
#include "JtInspect.h"
#include "PartCopies.h"
#include "SaveResult.h"
#include "Session.h"
#include "Validation.h"

namespace tool {
namespace {

jt::SaveOptions saveOptions(const Arguments& arguments) {
  jt::SaveOptions options;
  options.dryRun = arguments.has("dry-run");
  options.rewriteSceneGraph = true;
  options.version = versionOption(arguments);
  return options;
}

void writeResult(Session& session, const std::string& input, const jt::SaveReport& report,
                 const std::vector<jt::Loss>& losses, const std::vector<jt::PartFile>& parts) {
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
  writeLosses(json, losses);
  writeFiles(json, parts);
  session.endResult();
}

}  // namespace

ExitCode runCopy(Session& session) {
  if (const std::string* folder = session.arguments().value("output-dir"))
    return runIntoFolder(session, {.folder = *folder, .extension = ".jt", .bringsParts = true});
  requireNoList(session);
  requireArguments(session, 2, 2);
  const std::string& input = session.argument(0);
  const std::string& output = session.argument(1);
  const jt::SaveOptions options = saveOptions(session.arguments());
  claimOutput(session, output, options.dryRun);
  // Beside standard input there are no part files, and beside standard output no place for them.
  const bool isTopOnly = session.arguments().has("top-only") || input == "-" || output == "-";
  const OpenedAssembly opened =
      isTopOnly ? OpenedAssembly{openFile(session, input), {}} : openAssembly(session, input);
  const bool stores = session.arguments().has("check");
  if (stores) storeValidations(session, *opened.top, input);
  jt::SaveReport report = saveCopy(
      *opened.top, *opened.top, opened.parts,
      {.input = input, .output = output, .changesParts = stores || options.version}, options);
  showSaveWarnings(session, report);
  const std::vector<jt::Loss> losses = listLosses(*opened.top, report);
  if (session.wantsJson()) {
    writeResult(session, input, report, losses, opened.parts);
  } else {
    showSaved(session, report, options.dryRun);
    showLosses(session.report(), losses, options.dryRun);
  }
  return exitCodeOf(opened.parts);
}

}  // namespace tool
