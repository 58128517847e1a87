#include <filesystem>

#include "Command.h"
#include "Component.h"
#include "ExportJob.h"
#include "Jt.h"
#include "JtkHierarchy.h"
#include "Session.h"

namespace tool {
namespace {

/// The version of the source, or the nearest one that can be written.
std::uint32_t versionLike(jt::FileVersion version) {
  if (version.major <= 8) return ApiGraJtVersionData::JT_VERSION_8_2;
  if (version.major == 9) return ApiGraJtVersionData::JT_VERSION_9_5;
  return version == jt::FileVersion{10, 0} ? ApiGraJtVersionData::JT_VERSION_10_0
                                           : ApiGraJtVersionData::JT_VERSION_10_2;
}

}  // namespace

ExitCode runExport(Session& session) {
  ExportWishes wishes(session);
  const std::string& document = session.argument(0);
  const Library library(session);
  const ExportImporter importer;
  ExportSource source;
  readSource(session, document, wishes, source);
  if (wishes.data.getJtVersion() == ApiApproxJtExportData::NO_VERSION)
    wishes.data.setJtVersion(versionLike(source.opened.top().version()));

  JtkwExportRoot& root = source.root;
  JtkHierarchy& top = *root.jtkRoot();
  if (top.name().isEmpty()) top.setName(Jt::name(&source.opened.top()));
  if (top.name().isEmpty()) top.setName(JtString(std::filesystem::path(document).stem().string()));
  root.initializeJtkRoot(ApiKey(1), {}, wishes.output);
  excludePMI(top, wishes.excludedPMI);
  if (wishes.layer) root.setLayer(ApiKey(1), *wishes.layer);
  // A root that is exported with part files loses the ".jt" of its name.
  if (wishes.data.targetJtFormat() == ApiApproxJtExportData::PART_FILES)
    top.setName(JtString(std::u16string(top.name().units()) + u".jt"));
  return writeExport(session, root, wishes, "document", source.opened.parts());
}

}  // namespace tool
