#include <string>

#include "Assembly.h"
#include "Command.h"
#include "Component.h"
#include "InputFile.h"
#include "JtExportRoot.h"
#include "PartCopies.h"
#include "SaveResult.h"
#include "Session.h"

namespace tool {

ExitCode runExportPartition(Session& session) {
  const std::string& output = session.argument(1);
  jt::SaveOptions options;
  options.dryRun = session.arguments().has("dry-run");
  options.version = versionOption(session.arguments());
  claimOutput(session, output, options.dryRun);
  const Component component(session, session.argument(0), false);
  JtExportRoot& root = component.exportRoot();
  const auto target = jt::make<JtPartition>();
  target->setVersion(root.partition()->version());
  root.copyToPartition(target.get());
  if (target->numChildren() == 0)
    failRefused(component.document(), "not_supported", "the component cannot be copied");
  root.setCadSource();
  root.setTranslationDate();

  const bool isTopOnly = session.arguments().has("top-only") || output == "-";
  const std::vector<jt::PartFile> parts =
      isTopOnly ? std::vector<jt::PartFile>() : component.partFiles();
  const jt::SaveReport report = saveCopy(
      *target, *root.partition(), parts,
      {.input = component.file(), .output = output, .changesParts = options.version.has_value()},
      options);
  showSaveWarnings(session, report);
  const std::vector<jt::Loss> losses = listLosses(*root.partition(), report);
  if (!session.wantsJson()) {
    showSaved(session, report, options.dryRun);
    showLosses(session.report(), losses, options.dryRun);
    return exitCodeOf(parts);
  }
  session.beginResult();
  session.json().member("document", component.document());
  writeSaved(session, report);
  writeLosses(session.json(), losses);
  writeFiles(session.json(), parts);
  session.endResult();
  return exitCodeOf(parts);
}

}  // namespace tool
