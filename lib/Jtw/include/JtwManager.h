#pragma once

#include <memory>
#include <vector>

#include "ApiDocument.h"
#include "ApiDocumentRef.h"
#include "ApiGraJtVersionData.h"
#include "ApiPMIType.h"
#include "JtPartition.h"
#include "JtwExport.h"
#include "JtwRoot.h"
#include "RWClassic.h"

class JtExportRoot;
class JtPartition;

/// The process-wide registry: starts and stops the JT libraries, ties host documents to their roots
/// and JT partitions, names their JT files, and carries the export options. Used from the host's
/// main thread only. Start here: init(), then computeExistingDocRoot(), last fini().
class JTW_API JtwManager {
 public:
  /// The one instance, made by the first call.
  static JtwManager& the();
  /// Starts the JT libraries and this one; call it before any component is opened.
  static void init();
  /// Stops the libraries and destroys every root.
  static void fini();

  JtwManager(const JtwManager&) = default;
  JtwManager& operator=(const JtwManager&) = default;
  ~JtwManager();

  // --- Roots (JtwManager.cpp). The registry owns them; pointers live until the root is released.

  /// The registered root, or null. Never makes one.
  JtwRoot* root(const ApiDocumentRef& document) const;
  /// The registered root, or one opened from the document's JT data. Null when that fails.
  /// @param error the reason of a failure; untouched otherwise, and when a root is registered
  JtwRoot* computeExistingDocRoot(const ApiDocumentRef& document,
                                  JtwRoot::JT_LOADING_REPRESENTATION representation,
                                  JtwRoot::OPEN_JT_ERR& error);
  /// The registered root, or a new and empty one for a document without JT data.
  JtwRoot* computeNewDocRoot(const ApiDocumentRef& document);
  /// As computeExistingDocRoot, without the reason.
  JtExportRoot* computeExistingExportRoot(const ApiDocumentRef& document,
                                          JtwRoot::JT_LOADING_REPRESENTATION representation);
  /// The registered root, or a new and empty one at the document's export location.
  JtExportRoot* computeNewExportRoot(const ApiDocumentRef& document);
  /// The registered root, or null. Every registered root can be used as an export root.
  JtExportRoot* exportRoot(const ApiDocumentRef& document) const;
  /// Destroys the document's root; false when it has none. Its partitions stay registered.
  bool releaseRoot(const ApiDocumentRef& document);
  /// Destroys every root.
  void releaseAllRoots();

  /// To be called when documents changed their identity: finds the roots under the new one.
  /// @return true
  bool refreshRootsDocuments();
  /// Moves a root to another document, and its partition to that document's file.
  /// @return false, changing nothing, when the old document has no root or the new one has
  bool updateRootDocument(const ApiDocumentRef& oldDocument, const ApiDocumentRef& newDocument);
  /// Points the document's root at another file name in the document's folder.
  /// @return false when it has no root or the name is empty
  bool updateRootDocumentWithJtFileName(const ApiDocumentRef& document,
                                        RWClassicCString& jtFileName);

  /// Records how a document is built up; the value is kept as it is given.
  void insertDocumentStructure(const ApiDocumentRef& document, ApiDocument::Structure structure);
  /// The recorded structure; false, with `structure` untouched, when there is none.
  bool findDocumentStructure(const ApiDocumentRef& document,
                             ApiDocument::Structure& structure) const;
  /// The same through the root's partition; false also when that is not registered.
  bool findDocumentStructure(const JtwRoot* root, ApiDocument::Structure& structure) const;

  /// Whether the document was seen to hold a component of the host's own kind.
  bool docHasKrJt(const ApiDocumentRef& document) const;
  /// Whether the document was seen to hold a representation switch.
  bool docHasKrSwitch(const ApiDocumentRef& document) const;

  // --- Partitions (JtwManagerPartitions.cpp). Registered, never owned.

  /// Registers a partition for a document; once, however often it is called.
  void insertJtPartition(const ApiDocumentRef& document, JtPartition* partition);
  /// The partition registered last for the document, or null.
  JtPartition* findJtPartition(const ApiDocumentRef& document) const;
  /// The document that a partition is registered for; false when there is none.
  bool getApiDocumentRef(const JtPartition* partition, ApiDocumentRef& document) const;
  /// Unregisters a partition, and forgets what docHasKrJt() and docHasKrSwitch() return for its
  /// document. Nothing happens for one that is not registered.
  void removeJtPartition(JtPartition* partition);
  /// Unregisters every partition of the document that `partition` is registered for.
  void removeJtPartitionsOfDoc(JtPartition* partition);
  /// Unregisters every partition.
  void removeAllJtPartition();
  /// Unregisters every partition of the document without closing any.
  void releaseDocument(const ApiDocumentRef& document);
  /// Closes every partition of the document; they stay registered.
  void closeJtFile(const ApiDocumentRef& document);
  /// Waits for background loading, at most about 10 seconds, and closes every registered partition;
  /// they stay registered.
  void closeAllJtFiles();
  /// Writes the registered partitions to the debugger channel. @return 0
  static int dumpJtwTables();

  /// How much a file may ask for when a component is opened from then on.
  const jt::ReadLimits& readLimits() const { return readLimits_; }
  void setReadLimits(const jt::ReadLimits& limits) { readLimits_ = limits; }

  // --- Export options

  /// Whether partitions are shared with a viewer in this process; false at first.
  bool usingJtViewer() const { return usingJtViewer_; }
  /// Switching on also switches usingJtInCO() on; switching off leaves that alone.
  void setUsingJtViewer(bool on);
  /// Whether .co and .cor documents are looked into for JT data.
  bool usingJtInCO() const { return usingJtInCO_; }
  /// A switch that is kept for the exporters; false at first.
  bool defaultFiltering() const { return defaultFiltering_; }
  void setDefaultFiltering(bool on) { defaultFiltering_ = on; }

  /// The JT version of files that are exported anew; at first the default one, 10.0.
  ApiGraJtVersionData::apiGraJtVersion getJtVersion() const { return jtVersion_; }
  /// Stored as it is, without a look at the list.
  void setJtVersion(ApiGraJtVersionData::apiGraJtVersion version) { jtVersion_ = version; }
  ApiGraJtVersionData::apiGraJtVersion getDefaultJtVersion() const { return kDefaultJtVersion; }
  /// The versions that the host may offer, oldest first.
  const RWClassicTValOrderedVector<ApiGraJtVersionData>& getJtVersionList() const {
    return jtVersionList_;
  }

  /// The PMI types left out of exports, indexed by ApiPMIType; empty: none.
  const std::vector<bool>& getExcludedPMITypes() const { return excludedPMITypes_; }
  /// One bit for each ApiPMIType, or none at all: nothing is excluded.
  void setExcludedPMITypes(const std::vector<bool>& types) { excludedPMITypes_ = types; }
  /// False for a type that the bits do not cover.
  bool isPMITypeExcluded(ApiPMIType type) const;

  // --- File naming (JtwFileNaming.cpp)

  /// Extension of JT files, "jt".
  static const RWClassicCString JT_SUFFIX;
  /// Extension of component folders, "kpak".
  static const RWClassicCString CO_SUFFIX;

  /// Where the JT data of an existing document lies: a file in its component folder, or the
  /// document itself when it is neither a component folder nor a .co or .cor document.
  /// @param location the folder with a trailing '/'; untouched when `name` is a whole path
  /// @param name     the file's name in it, or the document's path when that exists
  /// @return false when the document has no JT file
  static bool getFileNameFromDocument(const ApiDocumentRef& document, RWClassicCString& location,
                                      RWClassicCString& name);
  /// Where the JT file of a new or moved component folder goes. The document's path is taken for a
  /// folder whatever it is.
  static void getDatastoreLocationAndName(const ApiDocumentRef& document,
                                          RWClassicCString& location, RWClassicCString& name);
  /// The JT file in the component folder `path`: the one named like the folder, or any other.
  /// @param manyJtFiles the folder holds several, of which the newest counts
  static bool getJtFileNameFromPath(const RWClassicCString& path, bool manyJtFiles,
                                    RWClassicCString& location, RWClassicCString& name);
  /// A JT file in a folder: the first by name, or the newest of them all with `manyJtFiles`.
  static bool findJtFile(const RWClassicCString& folder, RWClassicCString& name, bool manyJtFiles);
  /// Where a document is exported to: beside it, under its base name with the JT suffix. Never the
  /// document's own JT file: part.jt is exported to part.export.jt.
  static void getExportLocationAndName(const ApiDocumentRef& document, RWClassicCString& location,
                                       RWClassicCString& name);
  /// The same; false when there is no such file.
  static bool getExportFileNameFromDocument(const ApiDocumentRef& document,
                                            RWClassicCString& location, RWClassicCString& name);

 private:
  using Partitions = RWClassicTValOrderedVector<JtPartition*>;
  static constexpr auto kDefaultJtVersion = ApiGraJtVersionData::JT_VERSION_10_0;

  JtwManager();
  void initJtVersionList();
  void setUsingJtInCO(bool on) { usingJtInCO_ = on; }
  JtwRoot* insertRootToHashTables(const ApiDocumentRef& document, std::shared_ptr<JtwRoot> root);
  void refreshDocTojtPartitionsHash();
  Partitions partitionsOf(const ApiDocumentRef& document) const;

  RWClassicTValHashDictionary<ApiDocumentRef, std::shared_ptr<JtwRoot>> roots_{64};
  RWClassicTValHashDictionary<ApiDocumentRef, Partitions> docTojtPartitionsVec_{64};
  RWClassicTValHashDictionary<const JtPartition*, ApiDocumentRef> jtPartitionToDoc_{64};
  RWClassicTValHashSet<ApiDocumentRef> docsWithKrSwitch_{64};
  RWClassicTValHashSet<ApiDocumentRef> docsWithKrJt_{64};
  RWClassicTValHashDictionary<ApiDocumentRef, ApiDocument::Structure> documentStructures_{64};
  std::vector<bool> excludedPMITypes_;
  jt::ReadLimits readLimits_;
  bool usingJtViewer_ = false;
  bool usingJtInCO_ = false;
  bool defaultFiltering_ = false;
  ApiGraJtVersionData::apiGraJtVersion jtVersion_ = kDefaultJtVersion;
  RWClassicTValOrderedVector<ApiGraJtVersionData> jtVersionList_;
};
