#include <string>

#include "Command.h"
#include "Component.h"
#include "InputFile.h"
#include "JtExportRoot.h"
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

  const jt::Ref<JtStorageLocation> location = outputLocation(output);
  jt::SaveReport report = savePartition(*target, location.get(), options, output);
  if (output == "-") report.file = output;
  showSaveWarnings(session, report);
  if (!session.wantsJson()) {
    showSaved(session, report, options.dryRun);
    return ExitCode::done;
  }
  session.beginResult();
  session.json().member("document", component.document());
  writeSaved(session, report);
  session.endResult();
  return ExitCode::done;
}

}  // namespace tool
