#include "Assembly.h"

#include <algorithm>

#include "InputFile.h"
#include "Session.h"

namespace tool {
namespace {

bool isRead(const jt::PartFile& part) { return part.state == jt::PartFile::State::read; }

}  // namespace

OpenedAssembly openAssembly(Session& session, const std::string& path) {
  OpenedAssembly opened;
  opened.top = openFile(session, path);
  if (path == "-") {
    if (const auto count = jt::partFilesOf(*opened.top).size())
      session.warn("standard input has no folder; " + counted(count, "part file") +
                   " not looked for");
    return opened;
  }
  const std::size_t shown = opened.top->notes().size();
  JtPartition::openAllPartitions(opened.top.get(), true);
  showNotes(session, path, std::span(opened.top->notes()).subspan(shown));
  opened.parts = jt::partFilesOf(*opened.top);
  return opened;
}

std::vector<jt::PartFile> listPartFiles(JtStorageLocation& location, const jt::ReadLimits& limits) {
  JtPartition::_autoLoadShapes = false;
  try {
    JtPartition* opened = nullptr;
    JtPartition::openPartition(&location, nullptr, opened, limits);
    const auto top = jt::Ref<JtPartition>::adopt(opened);
    JtPartition::openAllPartitions(opened, true);
    std::vector<jt::PartFile> parts = jt::partFilesOf(*top);
    for (jt::PartFile& part : parts) {
      part.partition = nullptr;
      part.holders.clear();
    }
    return parts;
  } catch (const JtFormatError&) {
    return {};  // whoever works on it says why
  }
}

void writeFiles(JsonWriter& json, const std::vector<jt::PartFile>& parts) {
  json.key("files");
  json.beginArray();
  for (const jt::PartFile& part : parts) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("file", part.file);
    json.member("state", jt::stateName(part.state));
    json.textOrNull("error", part.error);
    json.end();
  }
  json.end();
}

ExitCode exitCodeOf(const std::vector<jt::PartFile>& parts) {
  return std::ranges::all_of(parts, isRead) ? ExitCode::done : ExitCode::no;
}

}  // namespace tool
