#include "ExportJob.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <iterator>

#include "Component.h"
#include "InputFile.h"
#include "JtFormatError.h"
#include "JtPartFolder.h"
#include "JtSourceFile.h"
#include "JtkPMIEntity.h"
#include "JtkPart.h"
#include "JtkwPMITypeMaps.h"
#include "Progress.h"
#include "SaveResult.h"
#include "Session.h"

namespace tool {
namespace {

ApiPMIType parseType(const std::string& name) {
  const JtkwPMITypeMaps& maps = JtkwPMITypeMaps::the();
  std::string names;
  for (int i = 0; i < API_PMI_TYPE_COUNT; ++i) {
    const auto type = static_cast<ApiPMIType>(i);
    if (maps.getPMITypeName(type) == name) return type;
    names += (names.empty() ? "" : ", ") + maps.getPMITypeName(type);
  }
  failUsage("--exclude-pmi has '" + name + "'; the types are " + names);
}

std::vector<ApiPMIType> parseTypes(const std::string& text) {
  std::vector<ApiPMIType> types;
  for (const std::string& name : commaList(text)) types.push_back(parseType(name));
  return types;
}

std::uint32_t parseVersion(const std::string& text) {
  const auto version = jt::FileVersion::parse(text);
  if (version == jt::FileVersion{8, 1} || version == jt::FileVersion{8, 2})
    return ApiGraJtVersionData::JT_VERSION_8_2;
  if (version == jt::FileVersion{9, 5}) return ApiGraJtVersionData::JT_VERSION_9_5;
  if (version == jt::FileVersion{10, 0}) return ApiGraJtVersionData::JT_VERSION_10_0;
  if (version == jt::FileVersion{10, 2}) return ApiGraJtVersionData::JT_VERSION_10_2;
  failUsage("--version is '" + text + "', not 8.2, 9.5, 10.0 or 10.2");
}

int parseLayer(const std::string& text) {
  int layer = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), layer);
  if (error != std::errc() || end != text.data() + text.size())
    failUsage("--layer is '" + text + "', not a whole number");
  return layer;
}

bool isExcluded(const JtkPMIEntity& entity, const std::vector<ApiPMIType>& types) {
  const JtkwPMITypeMaps& maps = JtkwPMITypeMaps::the();
  const ApiPMIType type = maps.getApiPMITypeFromJtTk(entity.typeID(), entity.data().type);
  return std::ranges::any_of(
      types, [&](ApiPMIType excluded) { return maps.isAncestorOfType(type, excluded); });
}

[[noreturn]] void failExport(const JtkwExportRoot& root, const std::string& output) {
  std::string reason = jt::lastError();
  if (root.errorCode() == "source_unreadable")
    throw Failure(ExitCode::input, root.errorCode(), reason + "; nothing was exported");
  if (reason.starts_with(output + ": ")) reason.erase(0, output.size() + 2);
  const JtFormatError error(root.errorCode(), std::move(reason));
  Failure failure = saveFailure(error, output);
  // What a source lacks is left out. What fails is the target, or the spool beside it.
  const bool isOutput = failure.exit() == ExitCode::input || root.errorCode() == "bad_file_name";
  throw Failure(isOutput ? ExitCode::output : failure.exit(), failure.code(), failure.what(),
                failure.where());
}

void writeResult(Session& session, const jtk::ExportReport& report, const char* argument,
                 const std::vector<jt::PartFile>& parts) {
  JsonWriter& json = session.json();
  session.beginResult();
  json.member(argument, session.argument(0));
  json.key("exported");
  json.beginObject();
  json.key("files");
  json.beginArray();
  for (const jtk::ExportedFile& file : report.files) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("file", file.file);
    json.member("bytes", file.bytes);
    json.member("parts", file.parts);
    json.end();
  }
  json.end();
  json.member("parts", report.parts);
  json.member("instances", report.instances);
  json.member("triangles", report.triangles);
  json.member("annotations", report.annotations);
  json.end();
  json.key("leftOut");
  json.beginArray();
  for (const jtk::LeftOut& left : report.leftOut) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("part", left.part.stringToMbs());
    json.member("what", left.what);
    json.textOrNull("reason", left.reason);
    json.end();
  }
  json.end();
  jt::SaveReport saved = report.saved;
  saved.alsoSaved = report.alsoSaved;
  writeSaved(session, saved);
  writeFiles(json, parts);
  session.endResult();
}

void showResult(Session& session, const jtk::ExportReport& report, bool dryRun) {
  const auto count = [](std::uint64_t number, const char* noun) {
    return counted(static_cast<std::size_t>(number), noun);
  };
  session.report().line((dryRun ? "would save " : "saved ") + printable(report.saved.file) +
                        ", version " + report.saved.version.text() + ": " +
                        count(report.parts, "part") + " in " + count(report.instances, "place") +
                        ", " + count(report.triangles, "triangle") + ", " +
                        count(report.annotations, "annotation"));
  if (report.files.size() > 1)
    session.report().line("  with " + count(report.files.size() - 1, "part file"));
}

/// Writes the exported file to standard output.
void handOver(Session& session, const ExportWishes& wishes, jtk::ExportReport& report) {
  report.saved.file = "standard output";
  for (jtk::ExportedFile& file : report.files) file.file = report.saved.file;
  if (wishes.dryRun) return;
  writeBytes("-", readBytes(wishes.output));
  namespace fs = std::filesystem;
  const fs::directory_iterator files(fs::path(wishes.output).parent_path());
  if (std::distance(fs::begin(files), fs::end(files)) > 1)
    session.warn("standard output has no folder; the images of textures are left out");
}

}  // namespace

ExportWishes::ExportWishes(Session& session) : output(session.argument(1)) {
  const Arguments& arguments = session.arguments();
  isOutput = output == "-";
  if (isOutput && arguments.has("per-part"))
    failUsage("--per-part writes several files; '-' is only one");
  claimOutput(session, output, arguments.has("dry-run"));
  if (isOutput) output = scratch.place("export.jt");
  if (DocumentName(output).isFolder || DocumentName(output).isStream)
    failUsage("'" + output + "' is no name for a JT file");
  if (arguments.has("per-part") && arguments.has("monolithic"))
    failUsage("--per-part and --monolithic exclude each other");
  data.setTargetJtFormat(arguments.has("per-part") ? ApiApproxJtExportData::PART_FILES
                                                   : ApiApproxJtExportData::SINGLE_FILE);
  data.setIncludeExactGeom(arguments.has("exact"));
  if (const std::string* text = arguments.value("version")) data.setJtVersion(parseVersion(*text));
  if (const std::string* text = arguments.value("layer")) layer = parseLayer(*text);
  if (const std::string* text = arguments.value("exclude-pmi")) excludedPMI = parseTypes(*text);
  dryRun = arguments.has("dry-run");
  validation = arguments.has("check");
}

void ExportWishes::requireOther(const std::string& input) const {
  namespace fs = std::filesystem;
  const fs::path target(output);
  std::error_code ignored;
  if (fs::equivalent(target, input, ignored))
    failUsage("'" + output + "' is read for the export; name another file");
  // Part files of an older export are removed at the end.
  const bool hasPartFiles = data.targetJtFormat() == ApiApproxJtExportData::PART_FILES;
  if (hasPartFiles &&
      fs::equivalent(jt::partFolderOf(output), fs::path(input).parent_path(), ignored))
    failUsage("'" + input + "' is read for the export and is in the folder of its part files");
}

void readSource(Session& session, const std::string& path, const ExportWishes& wishes,
                ExportSource& source) {
  wishes.requireOther(jtFileOf(DocumentName(path).path));
  source.opened = SelectedAssembly(session, path);
  for (const jt::PartFile& part : source.opened.parts()) {
    wishes.requireOther(part.file);
    for (const JtPartition* holder : part.holders)
      if (const auto& failure = holder->partFailure(); failure && jt::isReadFailure(failure->code))
        throw Failure(ExitCode::input, "source_unreadable", failure->message, {.file = part.file});
  }
  if (!source.root.importHierarchy(ApiKey(1), ApiKey(0), &source.opened.top()))
    throw Failure(ExitCode::input, "empty", "there is nothing to export in it", {.file = path});
}

void excludePMI(JtkHierarchy& top, const std::vector<ApiPMIType>& types) {
  if (types.empty()) return;
  for (JtkHierarchy* node : jtk::distinctNodes(top)) {
    if (node->isOfType(JtkEntity::INSTANCE)) continue;
    auto& unit = static_cast<JtkUnitHierarchy&>(*node);
    std::vector<JtkPMIEntity*> excluded;
    for (int i = 0; i < unit.numChildren(); ++i)
      if (isExcluded(*unit.child(i), types)) excluded.push_back(unit.child(i));
    unit.removePMIs(excluded);
  }
}

ExitCode writeExport(Session& session, JtkwExportRoot& root, const ExportWishes& wishes,
                     const char* argument, const std::vector<jt::PartFile>& parts) {
  root.setCadSource();
  root.setTranslationDate();
  Progress progress(session, wishes.isOutput ? "exporting" : "exporting " + wishes.output);
  root.setWriteOptions(
      {.dryRun = wishes.dryRun,
       .progress =
           [&progress](const jtk::ExportProgress& now) {
             const double share = static_cast<double>(now.parts) / static_cast<double>(now.ofParts);
             constexpr double kMegabyte = 1e6;
             progress.update(
                 share,
                 counted(now.parts, "part") + ", " +
                     std::to_string(static_cast<int>(static_cast<double>(now.bytes) / kMegabyte)) +
                     " MB");
           },
       .shapeEncoding = {},
       .validation = wishes.validation});
  if (!root.write(wishes.data)) failExport(root, wishes.output);
  // Before anything else is allocated: the files are there.
  if (!wishes.dryRun && !wishes.isOutput) session.noteWritten(root.report().saved.file);
  jtk::ExportReport report = root.report();
  if (wishes.isOutput) {
    handOver(session, wishes, report);
    if (!wishes.dryRun) session.noteWritten(report.saved.file);
  }
  jt::SaveReport saved = report.saved;
  saved.alsoSaved = report.alsoSaved;
  // What is left out is reported below, for each part.
  saved.lostGeometry.clear();
  for (jt::SaveReport& part : saved.alsoSaved) part.lostGeometry.clear();
  showSaveWarnings(session, saved);
  for (const jtk::LeftOut& left : report.leftOut)
    session.warn("part '" + printable(left.part.stringToMbs()) + "': " + left.what +
                 " left out: " + left.reason);
  if (session.wantsJson())
    writeResult(session, report, argument, parts);
  else
    showResult(session, report, wishes.dryRun);
  const bool isDamaged = std::ranges::any_of(
      report.leftOut, [](const jtk::LeftOut& left) { return left.what == "geometry"; });
  return isDamaged ? ExitCode::no : exitCodeOf(parts);
}

}  // namespace tool
