#include <string>
#include <vector>

#include "Command.h"
#include "MergedReport.h"
#include "Session.h"
#include "VerifyReports.h"

namespace tool {

ExitCode runReport(Session& session) {
  const VerifyReportFiles files(session);
  std::vector<RunReport> reports;
  for (const std::string& path : session.arguments().positional())
    reports.push_back(readRunReport(path));
  const MergedReport merged(std::move(reports), MergedReport::Scope::allShards);
  if (files.any() && merged.header().command != "verify")
    failUsage("--sarif and --junit are for reports of verify");
  if (files.any()) files.write(merged.verdicts(), merged.rules());
  showReport(session, merged, session.arguments().has("all"));
  return merged.exit();
}

}  // namespace tool
