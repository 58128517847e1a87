#pragma once

#include <cstdint>

/// What the host wants of an export through the toolkit.
class ApiApproxJtExportData {
 public:
  /// Values of targetJtFormat(); others have no meaning.
  enum TargetFormat : int {
    PART_FILES = 0,  ///< a file for each part beside that of the assembly
    SINGLE_FILE = 1
  };
  /// The value of getJtVersion() when no version was chosen.
  static constexpr std::uint32_t NO_VERSION = 0xFFFFFFFFU;

  /// Whether the exact geometry of parts is written too; false at first.
  bool shouldIncludeExactGeom() const { return exact_; }
  void setIncludeExactGeom(bool on) { exact_ = on; }
  /// A value of TargetFormat: how many files are written.
  int targetJtFormat() const { return format_; }
  void setTargetJtFormat(int format) { format_ = format; }
  /// A version as ApiGraJtVersionData::apiGraJtVersion counts them.
  std::uint32_t getJtVersion() const { return version_; }
  void setJtVersion(std::uint32_t version) { version_ = version; }

 private:
  bool exact_ = false;
  int format_ = SINGLE_FILE;
  std::uint32_t version_ = NO_VERSION;
};
