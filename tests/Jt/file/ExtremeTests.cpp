// What becomes of extreme values: the finding of verify for ten values of every field that explain
// lists, compared with extremes.txt. A check that is gone shows there, even when something else
// refuses the file later.
//
// After a change that is meant: JTW_UPDATE_EXTREMES=1 jt_file_tests --gtest_filter='Extremes.*'

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <set>

#include "support/FieldValues.h"
#include "support/GoldenFiles.h"
#include "support/PMIBodies.h"
#include "support/PrimitiveContent.h"
#include "support/WireLayout.h"

namespace {

using jt::file::Format;

const std::string kTable = JTW_TEST_DATA "/../Jt/file/extremes.txt";
constexpr std::size_t kMostAlike = 3;  // fields of a file whose paths differ in numbers only
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kOneOf = 8;
#else
constexpr std::size_t kOneOf = 1;
#endif

constexpr Format k81{8, 1, false};
constexpr Format k95{9, 5, false};
constexpr Format k100{10, 0, false};

/// The golden files and some whose content is in forms that those lack.
std::vector<GoldenFile> extremeFiles() {
  std::vector<GoldenFile> files = goldenFiles();
  WireLayout wires;
  wires.hasTags = true;
  for (const Format& format : {k95, k100}) {
    files.push_back({"wires" + formatText(format), wireFile(format, wireContent(format, wires))});
    const Bytes primitives = primitiveContent(format, 1, {3, 2, 4}, format == k95, false, true);
    const auto node = jt::make<JtPrimitiveSet>();
    files.push_back({"primitives" + formatText(format), shapeFile(format, *node, primitives)});
  }
  const auto addPMI = [&](const char* name, const Format& format, const Bytes& body) {
    files.push_back({name, pmiFile(format, pmiContent(format, body))});
  };
  addPMI("pmi8.1", k81, TypedBody(k81, 1, 7).bytes());
  addPMI("pmi9.5", k95, TypedBody(k95, 2, 8).bytes());
  addPMI("pmi10.0", k100, genericBody(k100, true, false));
  return files;
}

/// A path without numbers.
std::string generalPath(std::string path) {
  std::erase_if(path, [](char c) { return c == '[' || c == ']' || (c >= '0' && c <= '9'); });
  return path;
}

/// A finding without what is particular to a place: numbers, ids, names of fields and elements.
std::string general(const jt::Diagnostic& finding) {
  std::string_view text = finding.message;
  const auto dropUpTo = [&](std::string_view end) {
    if (const auto at = text.find(end); at != text.npos) text.remove_prefix(at + end.size());
  };
  if (finding.code == "damaged_element" || finding.code == "unreadable_pmi") dropUpTo(": ");
  text = text.substr(0, text.find("; "));
  std::string made = finding.code + ": ";
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    const auto has = [&](std::string_view from, char first, char last) {
      return std::ranges::any_of(from, [&](char c) { return c >= first && c <= last; });
    };
    made += has(word, '0', '9') ? "#" : has(word.substr(1), 'A', 'Z') ? "*" : word;
    if (made.ends_with("says #") || made.ends_with("of type #")) break;  // a name comes next
    text.remove_prefix(std::min(end + 1, text.size()));
    if (!text.empty()) made += ' ';
  }
  return made;
}

/// What verify finds in a file, the first of it that it did not find before.
class Findings {
 public:
  explicit Findings(const Bytes& sound) {
    for (const jt::Diagnostic& finding : of(sound)) known_.insert(general(finding));
  }
  /// Empty: nothing new.
  std::string firstIn(const Bytes& file) {
    for (const jt::Diagnostic& finding : of(file))
      if (const std::string text = general(finding); !known_.contains(text)) return text;
    return {};
  }

 private:
  std::vector<jt::Diagnostic> of(const Bytes& file) {
    storage_["file"] = file;
    return jt::verify(MemoryLocation("file"));
  }
  MemoryStorage storage_;
  std::set<std::string> known_;
};

/// The table: a name for each finding, and in how many fields a row is found. A row is a path, a
/// letter for what is found with each value, and the names of the letters.
struct Table {
  std::map<std::string, std::string> names;
  std::map<std::string, std::size_t> rows;

  static Table read() {
    Table table;
    std::ifstream file(kTable);
    for (std::string line; std::getline(file, line);) {
      if (line.empty() || line.starts_with('#')) continue;
      const std::size_t at = line.find(" = ");
      if (at == line.npos) {
        const std::size_t end = line.rfind(' ');
        table.rows[line.substr(0, end)] = std::stoul(line.substr(end + 2));
      } else {
        const std::string name = line.substr(0, at);
        table.names[name.substr(0, name.find('.')) + ": " + line.substr(at + 3)] = name;
      }
    }
    return table;
  }

  void write() const {
    std::ofstream file(kTable);
    file << "# What verify finds when a field has an extreme value; made by ExtremeTests.cpp.\n"
            "# Of integers: 0, 1, n - 1, n + 1, 2n, greatest, least, least + 1, -2, -1; of real "
            "numbers:\n"
            "# 0, smallest, -n, infinity, -infinity, greatest, -0, no number, about 1, no "
            "number.\n\n";
    for (const auto& [finding, name] : names)
      file << name << " = " << finding.substr(finding.find(':') + 2) << '\n';
    file << '\n';
    for (const auto& [row, count] : rows) file << row << " x" << count << '\n';
  }

  /// Names findings by their codes, with a number where a code has several.
  void name(const std::set<std::string>& findings) {
    std::map<std::string, std::vector<std::string>> ofCode;
    for (const std::string& finding : findings)
      ofCode[finding.substr(0, finding.find(':'))].push_back(finding);
    for (const auto& [code, same] : ofCode)
      for (std::size_t i = 0; i < same.size(); ++i)
        names[same[i]] = same.size() == 1 ? code : code + "." + std::to_string(i + 1);
  }

  std::string row(const std::string& path, const std::vector<std::string>& findings) const {
    std::string letters;
    std::vector<std::string> met;
    for (const std::string& finding : findings) {
      if (finding.empty()) {
        letters += '.';
        continue;
      }
      const auto at = std::ranges::find(met, finding) - met.begin();
      if (at == std::ssize(met)) met.push_back(finding);
      letters += static_cast<char>('a' + at);
    }
    std::string text = path + "  " + letters;
    for (const std::string& finding : met) {
      const auto named = names.find(finding);
      text += named == names.end() ? " (" + finding + ")" : " " + named->second;
    }
    return text;
  }
};

/// A field with what was found for each of its values.
struct TriedField {
  std::string file;
  std::string path;
  std::vector<std::string> findings;
};

std::vector<TriedField> tryFields() {
  std::vector<TriedField> tried;
  std::size_t count = 0;
  for (const GoldenFile& golden : extremeFiles()) {
    Findings findings(golden.bytes);
    const FieldValues values(golden.bytes);
    std::map<std::string, std::size_t> alike;
    for (const ValueField& field : values.fields()) {
      const std::string path = generalPath(field.path);
      if (++alike[path] > kMostAlike || count++ % kOneOf != 0) continue;
      TriedField& one = tried.emplace_back(TriedField{golden.name, path, {}});
      for (const std::uint64_t value : values.extremes(field))
        one.findings.push_back(findings.firstIn(values.with(field, value)));
    }
  }
  return tried;
}

TEST(Extremes, OfEveryFieldAreFoundByTheSameCheck) {
  const std::vector<TriedField> tried = tryFields();
  if (std::getenv("JTW_UPDATE_EXTREMES") && kOneOf == 1) {
    std::set<std::string> findings;
    for (const TriedField& field : tried)
      findings.insert(field.findings.begin(), field.findings.end());
    findings.erase("");
    Table table;
    table.name(findings);
    for (const TriedField& field : tried) ++table.rows[table.row(field.path, field.findings)];
    table.write();
  }
  Table expected = Table::read();
  for (const TriedField& field : tried) {
    const std::string row = expected.row(field.path, field.findings);
    const auto found = expected.rows.find(row);
    if (found == expected.rows.end()) {
      ADD_FAILURE() << "new in " << field.file << ": " << row;
    } else {
      found->second -= kOneOf == 1;
    }
  }
  if (kOneOf > 1) return;
  for (const auto& [row, left] : expected.rows) EXPECT_EQ(left, 0U) << row;
}

}  // namespace
