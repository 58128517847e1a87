#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "ExportImages.h"
#include "JtFormatError.h"
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
  explicit JtkExportRun(JtkCADExporter& exporter)
      : exporter_(exporter), images_(exporter.dryRun_) {}

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
    jt::Ref<VisPartNode> shell;           ///< with the geometry as it is now
    std::vector<jt::Ref<JtNode>> shapes;  ///< once it is stored
    std::vector<jt::Property> breps;      ///< likewise
    std::vector<std::pair<jt::Ref<VisPartNode>, JtString>> receivers;  ///< parts that wait for it
    std::vector<std::pair<const char*, std::string>> leftOut;  ///< what, and why; once it is stored
    const JtNode* source = nullptr;
    std::uint64_t triangles = 0;
    bool isStored = false;
  };
  struct PartFile {
    std::string reference;
    std::optional<jt::Box> bounds;
    std::size_t file;  ///< index in the report
    std::uint64_t triangles;
  };
  using FileKey = std::pair<const JtNode*, std::u16string>;

  void countPlaces(JtkHierarchy& root);
  void write(const Item& item);
  void place(const Item& item, JtNode& node) const;
  bool isShared(const JtkHierarchy& node) const;
  jt::Ref<JtNode> nodeOf(JtkHierarchy& from);
  jt::Ref<JtNode> partNode(JtkPart& part);
  void checkGeometry(JtkPart& part, const JtStorageLocation& place);
  void noteFile(const JtSceneObject& object);
  void noteFiles(const JtNode& node);
  void releaseSources();
  void count(JtkHierarchy& from);
  void countTriangles(const JtkPart& part, std::uint64_t triangles);

  jt::Ref<JtNode> partInFile(JtkPart& part);
  PartFile writePartFile(JtkPart& part);
  jt::Ref<JtNode> partInSpool(JtkPart& part);
  void flush();
  jt::SaveReport encode(JtPartition& content) const;
  bool hasForm(Content& content);
  void store(const std::vector<std::shared_ptr<Content>>& contents);
  void hand(Content& content);
  void deliver(const Content& content, VisPartNode& part, const JtString& name);
  void forgetUnused(const JtNode* source);

  [[noreturn]] static void failAtSource(const std::string& reason);
  bool isFinal(const JtFormatError& error) const;
  void noteWarnings(const jt::SaveReport& report);
  void bringTextures(const JtNode& node, const JtNode* source, const JtString& name,
                     const JtStorageLocation& place);
  void leaveOut(const JtNode* source, const JtString& part, const char* what,
                const std::string& reason);
  void completeReport(jt::Diagnostic incomplete) noexcept;
  void showProgress() const;
  jt::Ref<JtFSStorageLocation> targetOf(const JtkHierarchy& root) const;
  jt::SaveOptions saveOptions() const;

  JtkCADExporter& exporter_;
  jt::Ref<JtFSStorageLocation> place_;  ///< of the file of the root
  jtk::ExportReport report_;
  std::unordered_map<const JtkHierarchy*, std::uint64_t> places_;  ///< paths from the root
  std::unordered_map<const JtkHierarchy*, int> parents_;
  std::unordered_map<const JtkHierarchy*, jt::Ref<JtNode>> made_;
  std::vector<Item> open_;
  /// Assemblies and instances with precise geometry of their own, and their names.
  std::vector<std::pair<jt::Ref<JtNode>, JtString>> solidNodes_;

  std::unique_ptr<jt::PartFolder> folder_;
  jtk::ExportImages images_;  // ends before the folder, which may hold some
  std::map<FileKey, PartFile> filesBySource_;
  std::unique_ptr<jt::Spool> spool_;
  std::vector<std::shared_ptr<Content>> pending_;
  std::uint64_t pendingBytes_ = 0;
  std::uint64_t storedBytes_ = 0;  ///< estimated as pendingBytes_ is
  std::unordered_map<const JtNode*, std::shared_ptr<Content>> contentBySource_;
  std::unordered_map<const JtNode*, jt::Ref<JtNode>> sources_;  ///< those that the maps name
  /// Files that parts on their way are read from, held until their pages are given back.
  std::unordered_map<const jt::FileImage*, jt::Ref<const jt::FileImage>> readFiles_;
  std::unordered_set<std::string> sourceFiles_;  ///< names of all of them
  /// What was reported of sources: one that is in many places is reported once for each name.
  std::set<std::tuple<const JtNode*, std::u16string, std::string, std::string>> reported_;
  std::vector<jt::Diagnostic> warnings_;
  std::uint64_t partsDone_ = 0;
  std::uint64_t bytesDone_ = 0;
};
