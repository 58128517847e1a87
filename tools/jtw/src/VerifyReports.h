#pragma once

#include <string>
#include <vector>

#include "Verdict.h"

namespace tool {

class Session;

// What `verify` found, in forms that other programs read.

/// A log in SARIF 2.1.0: a result for each finding. Names of files are relative references where
/// they were given so.
std::string sarifLog(const std::vector<Verdict>& verdicts, const VerdictRules& rules);

/// A report in JUnit's XML: a test case for each file. What fails it is a failure, or an error when
/// the file cannot be read; other findings are its output.
std::string junitReport(const std::vector<Verdict>& verdicts, const VerdictRules& rules);

/// The files of --sarif and --junit, for a command that has these options.
class VerifyReportFiles {
 public:
  /// Throws Failure "usage" for what cannot be the name of a report.
  explicit VerifyReportFiles(Session& session);
  bool any() const noexcept { return !sarif_.empty() || !junit_.empty(); }
  void write(const std::vector<Verdict>& verdicts, const VerdictRules& rules) const;

 private:
  std::string sarif_;
  std::string junit_;
};

}  // namespace tool
