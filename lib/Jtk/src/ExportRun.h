#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "JtInstance.h"
#include "JtPartFolder.h"
#include "JtSpool.h"
#include "JtkAssembly.h"
#include "JtkCADExporter.h"
#include "JtkPart.h"
#include "VisPartNode.h"

/// One run of an exporter.
class JtkExportRun {
 public:
  explicit JtkExportRun(JtkCADExporter& exporter) : exporter_(exporter) {}

  /// Throws JtFormatError.
  jtk::ExportReport run(JtkHierarchy& root);

 private:
  /// A node still to be written, and the node of the scene graph that it goes below.
  struct Item {
    JtkHierarchy* from;
    JtGroup* group;
    JtInstance* instance;
  };
  /// Geometry on its way through the spool.
  struct Content {
    jt::Ref<VisPartNode> shell;                   ///< with the geometry as it is now
    std::vector<jt::Ref<JtNode>> shapes;          ///< once it is stored
    std::vector<jt::Property> breps;              ///< likewise
    std::vector<jt::Ref<VisPartNode>> receivers;  ///< parts that wait for it
    JtString part;                                ///< the first of them
    bool isStored = false;
  };
  struct PartFile {
    std::string reference;
    std::optional<jt::Box> bounds;
    std::size_t file;  ///< index in the report
  };
  using FileKey = std::pair<const JtNode*, std::u16string>;

  void countPlaces(JtkHierarchy& root);
  void write(const Item& item);
  void place(const Item& item, JtNode& node) const;
  jt::Ref<JtNode> nodeOf(JtkHierarchy& from);
  jt::Ref<JtNode> partNode(JtkPart& part);
  void checkShapes(JtkPart& part);
  void count(JtkHierarchy& from);

  jt::Ref<JtNode> partInFile(JtkPart& part);
  PartFile writePartFile(JtkPart& part);
  jt::Ref<JtNode> partInSpool(JtkPart& part);
  void flush();
  void store(const std::vector<std::shared_ptr<Content>>& contents);
  static void deliver(const Content& content, VisPartNode& part);
  void forgetUnused(const JtNode* source);

  void noteDropped(const jt::SaveReport& report);
  void noteWarnings(const jt::SaveReport& report);
  void leaveOut(const JtString& part, const char* what, std::string reason);
  void showProgress() const;
  jt::Ref<JtFSStorageLocation> targetOf(const JtkHierarchy& root) const;
  jt::SaveOptions saveOptions() const;

  JtkCADExporter& exporter_;
  jtk::ExportReport report_;
  std::unordered_map<const JtkHierarchy*, std::uint64_t> places_;  ///< paths from the root
  std::unordered_map<const JtkHierarchy*, int> parents_;
  std::unordered_map<const JtkHierarchy*, jt::Ref<JtNode>> made_;
  std::vector<Item> open_;

  std::unique_ptr<jt::PartFolder> folder_;
  std::map<FileKey, PartFile> filesBySource_;
  std::unique_ptr<jt::Spool> spool_;
  std::vector<std::shared_ptr<Content>> pending_;
  std::uint64_t pendingBytes_ = 0;
  std::unordered_map<const JtNode*, std::shared_ptr<Content>> contentBySource_;
  std::unordered_map<const JtNode*, jt::Ref<JtNode>> sources_;  ///< those that the maps name
  std::unordered_map<JtGuid, JtString> partOfBrep_;             ///< by segment
  std::vector<jt::SaveWarning> warnings_;
  std::uint64_t partsDone_ = 0;
  std::uint64_t bytesDone_ = 0;
};
