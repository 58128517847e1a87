#pragma once

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "JtAssembly.h"
#include "JtDiagnostic.h"

namespace tool {

class Arguments;
class JsonWriter;
class Output;
class Style;

/// What findings mean for the answer.
struct VerdictRules {
  bool isStrict = false;          ///< warnings count as errors
  std::set<std::string> ignored;  ///< codes of findings that are left out

  /// --strict and --ignore. Throws Failure "usage".
  static VerdictRules of(const Arguments& arguments);
};

/// A part file, and what is wrong with it.
struct PartVerdict {
  jt::PartFile part;
  std::vector<jt::Diagnostic> findings;

  bool isSound() const;
};

/// What `verify` found in a file and its part files.
struct Verdict {
  std::string file;
  std::vector<jt::Diagnostic> findings;
  std::vector<PartVerdict> parts;
  std::size_t ignored = 0;  ///< findings that were left out
  /// Parts whose validation properties were compared; nothing when nobody asked for it.
  std::optional<std::size_t> compared{};

  /// There are no errors.
  bool isSound() const;
  /// The answer is yes.
  bool passes(const VerdictRules& rules) const;
  /// The finding that it is missing or no JT file, or null.
  const jt::Diagnostic* unreadable() const;
  /// Leaves out what is to be ignored.
  void ignore(const VerdictRules& rules);
};

/// Writes the members of a verdict into the object that is open.
void writeVerdict(JsonWriter& json, const Verdict& verdict);
/// The verdict that was written as this object; members that are missing or wrong count as empty.
Verdict verdictOf(const nlohmann::json& written);
void showVerdict(Output& out, const Style& style, const Verdict& verdict);

/// A verdict as bytes, for another process of this program.
std::string packedVerdict(const Verdict& verdict);
Verdict unpackedVerdict(const std::string& bytes);

}  // namespace tool
