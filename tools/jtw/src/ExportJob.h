#pragma once

#include <string>
#include <vector>

#include "ApiPMIType.h"
#include "Failure.h"
#include "JtkwComponentExportRoot.h"
#include "ScratchFolder.h"
#include "SelectedAssembly.h"

namespace tool {

class Session;

// What `export` and `assemble` have in common.

/// Readers of sources, started for as long as the object lives.
class ExportImporter {
 public:
  ExportImporter() { root_.initImporter(); }
  ~ExportImporter() { root_.deleteImporter(); }
  ExportImporter(const ExportImporter&) = delete;
  ExportImporter& operator=(const ExportImporter&) = delete;

 private:
  JtkwComponentExportRoot root_;
};

/// The options of an export. Throws Failure "usage" when it is made.
struct ExportWishes {
  explicit ExportWishes(Session& session);

  std::string output;     ///< of standard output, a temporary file
  bool isOutput = false;  ///< goes to standard output
  ScratchFolder scratch;
  /// Throws Failure "usage" for a file that is read and that the export would replace or remove.
  void requireOther(const std::string& input) const;

  ApiApproxJtExportData data;
  std::optional<int> layer;
  std::vector<ApiPMIType> excludedPMI;
  bool dryRun = false;
  bool validation = false;
};

/// A source of an export: a JT file with its part files, and what the toolkit made of it.
struct ExportSource {
  SelectedAssembly opened;
  JtkwComponentExportRoot root;  ///< keeps the hierarchy until it is written
};

/// Opens a component or a JT file and imports it. Throws Failure, also when the export would
/// replace one of its files.
void readSource(Session& session, const std::string& path, const ExportWishes& wishes,
                ExportSource& source);

/// Takes PMI of these types, and of those that they are groups of, out of a hierarchy.
void excludePMI(JtkHierarchy& top, const std::vector<ApiPMIType>& types);

/// Stamps the document, writes it and reports. Throws Failure.
/// @param argument name of the member of the result with the first argument
/// @param parts    part files that were read
ExitCode writeExport(Session& session, JtkwExportRoot& root, const ExportWishes& wishes,
                     const char* argument, const std::vector<jt::PartFile>& parts);

}  // namespace tool
