#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "JtPartition.h"
#include "JtString.h"
#include "JtkExport.h"
#include "JtkRefCounted.h"

class JtkHierarchy;
class JtkPart;

namespace jtk {

/// A file that an export wrote, or would write.
struct ExportedFile {
  std::string file;
  std::optional<std::uint64_t> bytes;  ///< nothing in a dry run
  std::uint64_t parts = 0;             ///< whose geometry is in it
};

/// Something of a part that is not in the exported files.
struct LeftOut {
  JtString part;
  std::string what;  ///< "exact geometry", "geometry", "texture image"
  std::string reason;
};

/// What an export did.
struct ExportReport {
  std::vector<ExportedFile> files;  ///< part files first, the file of the root last
  std::uint64_t parts = 0;          ///< part nodes of the hierarchy
  std::uint64_t instances = 0;      ///< places of parts below the root
  std::uint64_t triangles = 0;      ///< of the finest levels of detail, in all places
  std::uint64_t annotations = 0;    ///< PMI entities
  std::vector<LeftOut> leftOut;
  jt::SaveReport saved;                   ///< of the file of the root
  std::vector<jt::SaveReport> alsoSaved;  ///< of part files
};

/// How far an export is.
struct ExportProgress {
  std::uint64_t parts = 0;  ///< written
  std::uint64_t ofParts = 0;
  std::uint64_t bytes = 0;  ///< written
};

}  // namespace jtk

/// Writes a toolkit hierarchy as JT files. Parts are written one after the other, with callbacks
/// around each, so that geometry may be there for as long as its part is being written.
class JTK_API JtkCADExporter final : public JtkRefCounted {
 public:
  /// What setOption() takes. Of each group the last one set counts.
  enum Option : int {
    /// A file for each part, in a folder beside the root's file and named after it. Parts with the
    /// same geometry source, name and properties share a file.
    PART_FILES = 7,
    SINGLE_FILE = 8,  ///< everything in the root's file; the default

    TESSELLATION = 9,     ///< without precise geometry; the default
    EXACT_GEOMETRY = 10,  ///< with the precise geometry that parts have

    VERSION_8_2 = 17,
    VERSION_9_5 = 24,
    VERSION_10_0 = 25,  ///< the default
    VERSION_10_2 = 27,

    // Accepted, without effect.
    RESERVED_36 = 36,
    RESERVED_44 = 44,
    RESERVED_46 = 46,
    RESERVED_48 = 48,
    RESERVED_50 = 50,
  };
  /// What callbacks return to let the export go on; with any other result it fails.
  static constexpr int kGoOn = 2;
  using PartCallback = int (*)(JtkPart*, JtkCADExporter*);

  /// @return 1; 0 for a number that is no option, without effect
  int setOption(int option);
  /// TESSELLATION or EXACT_GEOMETRY.
  int geometryOption() const noexcept { return geometry_; }
  /// The folder that files are written to; either separator, at the end too. Empty: the current
  /// one.
  void setOutputDirectory(const JtString& folder) { folder_ = folder; }
  /// Called before a part is written, and after it. A part that is in several places is written
  /// once.
  void setPartExportPreCallback(PartCallback callback) { before_ = callback; }
  void setPartExportPostCallback(PartCallback callback) { after_ = callback; }
  /// Works everything out and writes nothing.
  void setDryRun(bool on) noexcept { dryRun_ = on; }
  void setProgress(std::function<void(const jtk::ExportProgress&)> progress) {
    progress_ = std::move(progress);
  }
  /// How geometry is stored that is not in a file yet.
  void setShapeEncoding(const std::optional<jt::ShapeEncoding>& encoding) { encoding_ = encoding; }
  /// Whether each part gets validation properties: what its geometry measured before it was
  /// encoded, see JtValidation.h.
  void setValidation(bool on) noexcept { validation_ = on; }

  /// Writes the root and what is below it. Its file is named by its file name, else by its name;
  /// it is written last, in one step: an export that fails leaves an older one as it was.
  /// @return 1 on success; 0, with the reason in jt::lastError(), otherwise
  int exportHierarchy(JtkHierarchy* root);
  /// Of the last export that succeeded.
  const jtk::ExportReport& report() const noexcept { return report_; }
  /// Moves the report out, which needs no memory.
  jtk::ExportReport takeReport() noexcept { return std::move(report_); }
  /// The stable code of the error that the last export failed with; empty for none.
  const std::string& errorCode() const noexcept { return errorCode_; }

 private:
  friend class JtkExportRun;
  ~JtkCADExporter() override;

  bool partFiles_ = false;
  int geometry_ = TESSELLATION;
  jt::FileVersion version_{10, 0};
  JtString folder_;
  PartCallback before_ = nullptr;
  PartCallback after_ = nullptr;
  bool dryRun_ = false;
  bool validation_ = false;
  std::function<void(const jtk::ExportProgress&)> progress_;
  std::optional<jt::ShapeEncoding> encoding_;
  jtk::ExportReport report_;
  std::string errorCode_;
};
