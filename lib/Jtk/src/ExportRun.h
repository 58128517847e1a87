#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ExportParts.h"
#include "ExportRecord.h"
#include "JtInstance.h"
#include "JtkCADExporter.h"

/// One run of an exporter: walks the hierarchy and makes the scene graph of the root's file.
class JtkExportRun {
 public:
  /// Throws JtFormatError for a root that has no name for a file in the output folder.
  JtkExportRun(JtkCADExporter& exporter, JtkHierarchy& root);

  /// Throws JtFormatError.
  jtk::ExportReport run();

 private:
  /// A node still to be written, and the node of the scene graph that it goes below.
  struct Item {
    JtkHierarchy* from;
    JtGroup* group;
    JtInstance* instance;
  };

  jt::Ref<JtFSStorageLocation> targetOf(const JtkHierarchy& root) const;
  void write(const Item& item);
  void place(const Item& item, JtNode& node) const;
  jt::Ref<JtNode> nodeOf(JtkHierarchy& from);
  jt::Ref<JtNode> partNode(JtkPart& part);
  void count(JtkHierarchy& from);
  void forgetUnused(const JtNode* source);
  void completeReport(jt::Diagnostic incomplete) noexcept;
  void showProgress();

  JtkCADExporter& exporter_;
  JtkHierarchy& root_;
  jt::Ref<JtFSStorageLocation> rootFile_;
  std::unique_ptr<jtk::ExportParts> parts_;
  jtk::ExportRecord record_;  // ends before the folder of part files, which may hold its images
  std::unordered_map<const JtkHierarchy*, jt::Ref<JtNode>> made_;
  std::vector<Item> open_;
  /// Assemblies and instances with precise geometry of their own, and their names.
  std::vector<std::pair<jt::Ref<JtNode>, JtString>> solidNodes_;
  std::uint64_t partsDone_ = 0;
};
