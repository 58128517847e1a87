#include "Verdict.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Failure.h"
#include "FindingCodes.h"
#include "JsonInput.h"
#include "JsonWriter.h"
#include "JtwNearestName.h"
#include "Output.h"

namespace tool {
namespace {

using Json = nlohmann::json;

bool areSound(const std::vector<jt::Diagnostic>& findings) {
  return std::ranges::none_of(findings,
                              [](const jt::Diagnostic& finding) { return finding.isError; });
}

/// The code of a finding that can be left out. What leaves nothing to be verified cannot.
std::string checkedCode(const std::string& code) {
  std::vector<const char*> known;
  for (const FindingCode& row : findingCodes())
    if (!isUnreadable(row.code)) known.push_back(row.code);
  if (isUnreadable(code) || code == "worker_failed")
    failUsage("--ignore cannot leave out '" + code + "': the file was not verified then");
  if (!findFindingCode(code))
    failUsage("--ignore has '" + code + "', which no finding has" + jtw::suggestion(code, known));
  return code;
}

void writeFindings(JsonWriter& json, const std::string& part,
                   const std::vector<jt::Diagnostic>& findings) {
  for (const jt::Diagnostic& finding : findings) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("severity", finding.isError ? "error" : "warning");
    json.member("code", finding.code);
    json.textOrNull("segment", finding.segment);
    json.member("offset", finding.offset);
    json.member("message", finding.message);
    json.textOrNull("file", part);
    json.end();
  }
}

void showFindings(Output& out, const Style& style, const std::string& part,
                  const std::vector<jt::Diagnostic>& findings) {
  for (const jt::Diagnostic& finding : findings)
    out.line(
        "  " +
        style.paint(finding.isError ? Ink::red : Ink::yellow,
                    finding.isError ? "error  " : "warning") +
        " " + finding.code + ": " +
        printable(describe({.file = part, .segment = finding.segment, .offset = finding.offset},
                           finding.message)));
}

Json packedFindings(const std::vector<jt::Diagnostic>& findings) {
  Json list = Json::array();
  for (const jt::Diagnostic& finding : findings)
    list.push_back({finding.code, finding.message, finding.segment,
                    finding.offset ? Json(*finding.offset) : Json(), finding.isError});
  return list;
}

std::vector<jt::Diagnostic> unpackedFindings(const Json& list) {
  std::vector<jt::Diagnostic> findings;
  findings.reserve(list.size());
  for (const Json& row : list) {
    jt::Diagnostic finding{row[0], row[1], row[2], {}, row[4]};
    if (!row[3].is_null()) finding.offset = row[3].get<std::uint64_t>();
    findings.push_back(std::move(finding));
  }
  return findings;
}

}  // namespace

VerdictRules VerdictRules::of(const Arguments& arguments) {
  VerdictRules rules;
  rules.isStrict = arguments.has("strict");
  for (const std::string& codes : arguments.values("ignore"))
    for (const std::string& code : commaList(codes)) rules.ignored.insert(checkedCode(code));
  return rules;
}

bool PartVerdict::isSound() const { return areSound(findings); }

bool Verdict::isSound() const {
  return areSound(findings) && std::ranges::all_of(parts, &PartVerdict::isSound);
}

bool Verdict::passes(const VerdictRules& rules) const {
  const auto isEmpty = [](const PartVerdict& part) { return part.findings.empty(); };
  return isSound() &&
         (!rules.isStrict || (findings.empty() && std::ranges::all_of(parts, isEmpty)));
}

const jt::Diagnostic* Verdict::unreadable() const {
  const auto found = std::ranges::find_if(findings, [](const jt::Diagnostic& finding) {
    return finding.isError && isUnreadable(finding.code);
  });
  return found == findings.end() ? nullptr : &*found;
}

void Verdict::ignore(const VerdictRules& rules) {
  const auto erase = [&](std::vector<jt::Diagnostic>& list) {
    ignored += std::erase_if(list, [&rules](const jt::Diagnostic& finding) {
      return rules.ignored.contains(finding.code);
    });
  };
  erase(findings);
  for (PartVerdict& part : parts) erase(part.findings);
}

void writeVerdict(JsonWriter& json, const Verdict& verdict) {
  json.member("file", verdict.file);
  json.member("sound", verdict.isSound());
  json.member("ignored", verdict.ignored);
  if (verdict.compared) json.member("compared", *verdict.compared);
  json.key("findings");
  json.beginArray();
  writeFindings(json, {}, verdict.findings);
  for (const PartVerdict& part : verdict.parts) writeFindings(json, part.part.file, part.findings);
  json.end();
  if (verdict.parts.empty()) return;
  json.key("files");
  json.beginArray();
  for (const PartVerdict& part : verdict.parts) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("file", part.part.file);
    json.member("state", jt::stateName(part.part.state));
    json.textOrNull("error", part.part.error);
    json.member("sound", part.isSound());
    json.end();
  }
  json.end();
}

Verdict verdictOf(const Json& written) {
  Verdict verdict{.file = textIn(written, "file"), .findings = {}, .parts = {}};
  const auto findings = written.find("findings");
  if (findings == written.end()) return verdict;
  for (const Json& row : *findings) {
    if (!row.is_object()) continue;
    jt::Diagnostic finding{textIn(row, "code"),
                           textIn(row, "message"),
                           textIn(row, "segment"),
                           {},
                           textIn(row, "severity") == "error"};
    const auto offset = row.find("offset");
    if (offset != row.end() && offset->is_number_unsigned())
      finding.offset = offset->get<std::uint64_t>();
    const std::string file = textIn(row, "file");
    if (file.empty()) {
      verdict.findings.push_back(std::move(finding));
      continue;
    }
    // Findings of a part file follow each other.
    if (verdict.parts.empty() || verdict.parts.back().part.file != file)
      verdict.parts.emplace_back().part.file = file;
    verdict.parts.back().findings.push_back(std::move(finding));
  }
  return verdict;
}

void showVerdict(Output& out, const Style& style, const Verdict& verdict) {
  const bool sound = verdict.isSound();
  out.line(printable(verdict.file) + ": " +
           style.paint(sound ? Ink::green : Ink::red, sound ? "sound" : "not sound") +
           (verdict.ignored > 0 ? " (" + counted(verdict.ignored, "finding") + " ignored)" : "") +
           (verdict.compared ? ", " + counted(*verdict.compared, "part") + " compared" : ""));
  showFindings(out, style, {}, verdict.findings);
  for (const PartVerdict& part : verdict.parts)
    showFindings(out, style, part.part.file, part.findings);
}

// Names need not be UTF-8, so the bytes are no JSON text.

std::string packedVerdict(const Verdict& verdict) {
  Json parts = Json::array();
  for (const PartVerdict& part : verdict.parts)
    parts.push_back({part.part.file, packedFindings(part.findings)});
  std::string bytes;
  Json::to_msgpack({verdict.file, packedFindings(verdict.findings), parts}, bytes);
  return bytes;
}

Verdict unpackedVerdict(const std::string& bytes) {
  const Json packed = Json::from_msgpack(bytes);
  Verdict verdict{.file = packed[0], .findings = unpackedFindings(packed[1]), .parts = {}};
  for (const Json& row : packed[2]) {
    PartVerdict part;
    part.part.file = row[0];
    part.findings = unpackedFindings(row[1]);
    verdict.parts.push_back(std::move(part));
  }
  return verdict;
}

}  // namespace tool
