#include "VerifyReports.h"

#include <nlohmann/json.hpp>
#include <span>
#include <string_view>

#include "Failure.h"
#include "FindingCodes.h"
#include "InputFile.h"
#include "Output.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

/// A path as a reference in a URI.
std::string uriOf(const std::string& path) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string uri = path.starts_with('/') ? "file://" : "";
  for (const char letter : path) {
    const bool isPlain = (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
                         (letter >= '0' && letter <= '9') ||
                         std::string_view("-._~/").find(letter) != std::string_view::npos;
    const auto byte = static_cast<unsigned char>(letter);
    uri += isPlain ? std::string{letter} : std::string{'%', kHex[byte >> 4], kHex[byte & 0x0f]};
  }
  return uri;
}

/// Calls `take` for each finding and the file that it is about.
template <class Take>
void forEachFinding(const Verdict& verdict, const Take& take) {
  for (const jt::Diagnostic& finding : verdict.findings) take(verdict.file, finding);
  for (const PartVerdict& part : verdict.parts)
    for (const jt::Diagnostic& finding : part.findings) take(part.part.file, finding);
}

Json resultOf(const std::string& file, const jt::Diagnostic& finding, bool isStrict) {
  Json place = {{"physicalLocation", {{"artifactLocation", {{"uri", uriOf(file)}}}}}};
  // Offsets of a segment count in its inflated bytes.
  if (!finding.segment.empty()) {
    std::string name = finding.segment;
    if (finding.offset) name += ", offset " + std::to_string(*finding.offset);
    place["logicalLocations"] = Json::array({{{"fullyQualifiedName", printable(name)}}});
  } else if (finding.offset) {
    place["physicalLocation"]["region"] = {{"byteOffset", *finding.offset}, {"byteLength", 1}};
  }
  return {{"ruleId", finding.code},
          {"level", finding.isError || isStrict ? "error" : "warning"},
          {"message", {{"text", printable(finding.message)}}},
          {"locations", Json::array({std::move(place)})}};
}

Json rulesOfLog() {
  Json rules = Json::array();
  for (const FindingCode& row : findingCodes())
    rules.push_back({{"id", row.code},
                     {"shortDescription", {{"text", row.meaning}}},
                     {"defaultConfiguration", {{"level", row.isError ? "error" : "warning"}}}});
  return rules;
}

std::string xml(std::string_view text) {
  std::string escaped;
  for (const char letter : printable(text)) switch (letter) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += letter;
    }
  return escaped;
}

std::string lineOf(const std::string& file, const jt::Diagnostic& finding) {
  return xml(std::string(finding.isError ? "error " : "warning ") + finding.code + ": " +
             describe({.file = file, .segment = finding.segment, .offset = finding.offset},
                      finding.message)) +
         "\n";
}

std::string testCase(const Verdict& verdict, const VerdictRules& rules) {
  std::string failing;
  std::string others;
  const jt::Diagnostic* first = nullptr;
  forEachFinding(verdict, [&](const std::string& file, const jt::Diagnostic& finding) {
    const bool fails = finding.isError || rules.isStrict;
    if (fails && !first) first = &finding;
    (fails ? failing : others) += lineOf(file, finding);
  });
  std::string text =
      "    <testcase classname=\"jtw.verify\" name=\"" + xml(verdict.file) + "\" time=\"0\">\n";
  if (first) {
    const std::string element = verdict.unreadable() ? "error" : "failure";
    text += "      <" + element + " type=\"" + xml(first->code) + "\" message=\"" +
            xml(first->message) + "\">" + failing + "</" + element + ">\n";
  }
  if (!others.empty()) text += "      <system-out>" + others + "</system-out>\n";
  return text + "    </testcase>\n";
}

}  // namespace

std::string sarifLog(const std::vector<Verdict>& verdicts, const VerdictRules& rules) {
  Json results = Json::array();
  for (const Verdict& verdict : verdicts)
    forEachFinding(verdict, [&](const std::string& file, const jt::Diagnostic& finding) {
      results.push_back(resultOf(file, finding, rules.isStrict));
    });
  const Json driver = {{"name", "jtw"}, {"version", JTW_VERSION}, {"rules", rulesOfLog()}};
  const Json run = {{"tool", {{"driver", driver}}}, {"results", std::move(results)}};
  const Json log = {{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
                    {"version", "2.1.0"},
                    {"runs", Json::array({run})}};
  return log.dump(2) + "\n";
}

std::string junitReport(const std::vector<Verdict>& verdicts, const VerdictRules& rules) {
  std::size_t failures = 0;
  std::size_t errors = 0;
  std::string cases;
  for (const Verdict& verdict : verdicts) {
    if (verdict.unreadable())
      ++errors;
    else if (!verdict.passes(rules))
      ++failures;
    cases += testCase(verdict, rules);
  }
  const std::string counts = " tests=\"" + std::to_string(verdicts.size()) + "\" failures=\"" +
                             std::to_string(failures) + "\" errors=\"" + std::to_string(errors) +
                             "\" time=\"0\"";
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" + counts +
         ">\n  <testsuite name=\"jtw verify\"" + counts + " skipped=\"0\">\n" + cases +
         "  </testsuite>\n</testsuites>\n";
}

VerifyReportFiles::VerifyReportFiles(Session& session)
    : sarif_(reportName(session, "sarif")), junit_(reportName(session, "junit")) {
  if (sarif_ == "-" && junit_ == "-") failUsage("only one report can go to standard output");
  claimOutput(session, sarif_ == "-" ? sarif_ : junit_, false);
}

void VerifyReportFiles::write(const std::vector<Verdict>& verdicts,
                              const VerdictRules& rules) const {
  const auto save = [](const std::string& file, const std::string& text) {
    writeBytes(file, std::as_bytes(std::span(text)));
  };
  if (!sarif_.empty()) save(sarif_, sarifLog(verdicts, rules));
  if (!junit_.empty()) save(junit_, junitReport(verdicts, rules));
}

}  // namespace tool
