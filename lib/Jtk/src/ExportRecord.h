#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "ExportImages.h"
#include "ExportPlaces.h"
#include "ExportSources.h"
#include "JtPartition.h"
#include "JtkCADExporter.h"
#include "JtkPart.h"

namespace jtk {

/// What an exporter is set to.
struct ExportSettings {
  jt::FileVersion version;
  std::optional<jt::ShapeEncoding> encoding;
  bool isExact = false;  ///< with precise geometry
  bool dryRun = false;
  bool validation = false;  ///< with validation properties, see JtValidation.h

  jt::SaveOptions saveOptions() const;
  /// A partition of the version, without location.
  jt::Ref<JtPartition> newPartition() const;
};

/// What the steps of an export share: settings, sources, and the report that they write.
class ExportRecord {
 public:
  ExportRecord(const ExportSettings& settings, JtkHierarchy& root);

  const ExportSettings& settings() const noexcept { return settings_; }
  const ExportPlaces& places() const noexcept { return places_; }
  ExportSources& sources() noexcept { return sources_; }
  ExportReport& report() noexcept { return report_; }

  /// Counts the triangles of a part in all its places.
  void countTriangles(const JtkPart& part, std::uint64_t triangles);
  /// Counts bytes that were written, for showing progress.
  void countBytes(std::uint64_t bytes) noexcept { bytes_ += bytes; }
  std::uint64_t bytes() const noexcept { return bytes_; }
  /// Reports what is left out of a part. Each name of a source is reported
  /// once, in however many places the source is shown.
  void leaveOut(const JtNode* source, const JtString& part, const char* what,
                const std::string& reason);
  /// Copies the image files that the textures of a node name.
  /// @param place of the file that the node will be in
  void bringTextures(const JtNode& node, const JtNode* source, const JtString& name,
                     const JtStorageLocation& place);
  /// Keeps the copies of image files.
  void commitImages() noexcept { images_.commit(); }
  /// Keeps the warnings of a save for the report, equal ones once.
  void noteWarnings(const jt::SaveReport& saved);
  const std::vector<jt::Diagnostic>& warnings() const noexcept { return warnings_; }
  /// Forgets what was reported of a source that cannot come again.
  void forget(const JtNode* source);

 private:
  ExportSettings settings_;
  ExportPlaces places_;
  ExportSources sources_;
  ExportImages images_;
  ExportReport report_;
  std::uint64_t bytes_ = 0;
  std::set<std::tuple<const JtNode*, std::u16string, std::string, std::string>> reported_;
  std::vector<jt::Diagnostic> warnings_;
};

}  // namespace jtk
