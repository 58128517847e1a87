#include "Examination.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "Assembly.h"
#include "Failure.h"
#include "InputFile.h"
#include "JtFormatError.h"
#include "JtInspect.h"
#include "JtValidation.h"
#include "JtwFrameLists.h"

namespace tool {
namespace {

/// Looks at what a file means, beyond its form. What the host keeps in it is looked at through the
/// component model.
/// @return the number of parts whose validation properties were compared
std::size_t addMeaningFindings(JtStorageLocation& location, const ExaminationRules& rules,
                               std::vector<jt::Diagnostic>& findings) {
  try {
    JtPartition* opened = nullptr;
    JtPartition::openPartition(&location, nullptr, opened, rules.limits);
    const auto partition = jt::Ref<JtPartition>::adopt(opened);
    if (!partition) return 0;
    std::ranges::move(jtw::verifyFrameLists(*partition), std::back_inserter(findings));
    if (!rules.properties) return 0;
    jt::ValidationReport report = jt::checkValidation(*partition, *rules.properties);
    std::ranges::move(report.findings, std::back_inserter(findings));
    return report.parts;
  } catch (const JtFormatError&) {
    return 0;  // is among the findings already
  }
}

void nameOptions(std::vector<jt::Diagnostic>& findings) {
  for (jt::Diagnostic& finding : findings)
    if (finding.isError) finding.message += limitOptions(finding.code);
}

std::vector<jt::Diagnostic> examinePart(const jt::PartFile& part, const ExaminationRules& rules,
                                        std::size_t& compared) {
  using State = jt::PartFile::State;
  std::vector<jt::Diagnostic> findings;
  if (part.state == State::read || part.state == State::damaged) {
    const auto location = jt::make<JtFSStorageLocation>(part.file);
    findings = jt::verify(*location, rules.limits);
    compared += addMeaningFindings(*location, rules, findings);
  }
  const bool hasError = std::ranges::any_of(findings, &jt::Diagnostic::isError);
  if (part.state != State::read && !hasError)
    findings.push_back(
        {std::string("part_") + jt::stateName(part.state), part.error, {}, {}, true});
  nameOptions(findings);
  return findings;
}

}  // namespace

Verdict examine(const std::string& path, const ExaminationRules& rules,
                const std::function<void(double share)>& progress) {
  const auto report = [&progress](double share) {
    if (progress) progress(share);
  };
  const jt::Ref<JtStorageLocation> location = inputLocation(path);
  std::vector<jt::PartFile> parts;
  if (path != "-") parts = listPartFiles(*location, rules.limits);
  const double share = 1.0 / static_cast<double>(parts.size() + 1);
  Verdict verdict{
      .file = path,
      .findings = jt::verify(*location, rules.limits, [&](double done) { report(done * share); }),
      .parts = {}};
  std::size_t compared = addMeaningFindings(*location, rules, verdict.findings);
  nameOptions(verdict.findings);
  for (jt::PartFile& part : parts) {
    std::vector<jt::Diagnostic> findings = examinePart(part, rules, compared);
    verdict.parts.push_back({std::move(part), std::move(findings)});
    report(static_cast<double>(verdict.parts.size() + 1) * share);
  }
  if (!rules.properties) return verdict;
  verdict.compared = compared;
  if (compared == 0 && !verdict.unreadable())
    verdict.findings.push_back(
        {"no_validation",
         "no part has anything to compare; --check of copy, convert and export stores it"});
  return verdict;
}

}  // namespace tool
