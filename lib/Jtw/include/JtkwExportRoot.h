#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "ApiApproxJtExportData.h"
#include "ApiGraColor.h"
#include "ApiKey.h"
#include "ApiSysFileName.h"
#include "JtkCADExporter.h"
#include "JtwExport.h"
#include "NwObj.h"
#include "RTTran3D.h"
#include "RWClassic.h"

class ApiGraMaterial;
class JtNode;
class JtkHierarchy;
class JtkRefCounted;
class JtkwEntityCreationData;
class JtkwPMIData;

/// One JT document that is exported through the toolkit. The host makes nodes as it walks its own
/// tree, parents before children, and finds them again by its keys; write() makes the files, after
/// which the root is empty. Copies share the nodes.
///
/// A scene-graph node that holds the geometry of a part is kept alive until the part is written;
/// writing gives it the name "e<n>.part;;:", for good. Hand in a copy of a node that is needed
/// under its name.
class JTW_API JtkwExportRoot {
 public:
  JtkwExportRoot();
  virtual ~JtkwExportRoot();
  JtkwExportRoot(const JtkwExportRoot& other);
  JtkwExportRoot& operator=(const JtkwExportRoot& other);

  // --- Nodes. Locations are in millimetres. A null parent key represents no parent.

  /// Makes the assembly of the document, unless there is one, maps `key` to it and takes the path
  /// of the file to write: folder and name, either separator. False when it cannot be made.
  bool initializeJtkRoot(const ApiKey& key, const RWClassicWString& name,
                         const RWClassicCString& fullPath);
  /// False when the parent is not mapped or is no assembly; the node is made all the same.
  bool createAssemblyNode(const ApiKey& key, const ApiKey& parentKey, const RWClassicWString& name,
                          const RTTran3D& relLoc);
  bool createEntityNode(const ApiKey& parentKey, const JtkwEntityCreationData& data);
  /// Adds a node below the parent, which takes the caller's reference over. With a null parent key
  /// it becomes the root when there is none; otherwise nothing happens, and the result is true.
  bool attachToHierarchy(const ApiKey& parentKey, JtkHierarchy* node);
  /// The node of a key, not owned; false, with the output untouched, when there is none.
  bool getNodeByKey(const ApiKey& key, JtkHierarchy*& node);
  void addNodeToMapByKey(const ApiKey& key, JtkHierarchy* node);

  // --- What nodes have. A key that is not mapped has no effect; where there is a result it is
  // false.

  /// Replaces the color. @param instanceColor the color wins over a final one above the node
  /// @param finalState the color wins over those below the node
  void setColor(const ApiKey& key, const ApiGraColor& color, bool instanceColor, bool finalState);
  void setRelLoc(const ApiKey& key, const RTTran3D& relLoc);
  bool setLayer(const ApiKey& key, int layer);
  /// Labels a node with the unit of that many millimetres; lengths stay as they are. Kilometres are
  /// labelled as metres, and a ratio of no known unit leaves the node without.
  bool setMeasurementUnitRatio(const ApiKey& key, float ratio);
  /// Converts native JT data to millimetres, in place: the transforms, geometry and PMI of all
  /// nodes in another unit. Only where "KrObjType" of the node, or of one above it, is the integer
  /// 0.
  void translateMeasurementUnitsForUnitedNativeJT(JtNode* node);
  /// Writes PMI to an assembly. True for a part, which gets none.
  bool createPMIData(NwObj::Type type, const ApiKey& key, const JtkwPMIData& data);

  // --- The document

  /// The producer, the local time ("7/3/2024, 9:5": day, month, year, hour, minute) and the version
  /// of the host's database. False without root.
  bool setCadSource();
  bool setTranslationDate();
  bool setReleaseVersion();
  /// True for a root that is an assembly without children and PMI.
  void isRootEmpty(bool& empty);
  /// Lets the file go into the folder that `newPath` ends with, inside the folder of the export.
  /// getFileName() stays as it is. Always true.
  bool updateRelativeLocation(ApiSysFileName& newPath);
  RWClassicCString getFileName() { return fileName_; }
  void setFileName(RWClassicCString name) { fileName_ = std::move(name); }

  /// Writes the files. False, with the reason in jt::lastError(), when that fails, without root,
  /// and while another root is being written.
  bool write(const ApiApproxJtExportData& exportData);

  /// Further wishes for write().
  struct WriteOptions {
    bool dryRun = false;
    std::function<void(const jtk::ExportProgress&)> progress;
    std::optional<jt::ShapeEncoding> shapeEncoding;
    bool validation = false;  ///< parts get validation properties, see JtValidation.h
  };
  void setWriteOptions(WriteOptions options) { options_ = std::move(options); }
  /// What the last write() did.
  const jtk::ExportReport& report() const noexcept { return report_; }
  /// The stable code of the error that it failed with.
  const std::string& errorCode() const noexcept { return errorCode_; }
  /// The root; null before it is made and after write(). Not owned.
  JtkHierarchy* jtkRoot() const noexcept;

  /// Lets a part of the toolkit take its geometry from a node when it is written; nothing for other
  /// nodes of a hierarchy. Takes a reference on `node`.
  static void saveJTOnJtkNode(JtNode* node, JtkRefCounted*& jtkNode);

 protected:
  /// Keeps a reference on a node that has no place in the tree, so that it ends with the root.
  void keepLoose(JtkHierarchy* node);

 private:
  struct Tree;

  bool attach(const ApiKey& parentKey, JtkHierarchy* node, bool& isTaken);
  static JtkHierarchy* createJtkAssembly(const RWClassicWString& name);
  static JtkHierarchy* createJtkPart(const RWClassicWString& name);
  static void setRelLoc(JtkHierarchy* node, const RTTran3D& relLoc);
  static void setMaterial(JtkHierarchy* node, const ApiGraMaterial& material, bool instanceColor,
                          bool finalState);
  static void removeMaterial(JtkHierarchy* node);
  bool stamp(const char* key, const RWClassicCString& value);
  void computeLocationAndFileName(const RWClassicCString& fullPath);
  void setJtFileNameToRoot(const RWClassicCString& name);
  void prepare(JtkCADExporter& exporter, const ApiApproxJtExportData& exportData);

  std::shared_ptr<Tree> tree_;
  RWClassicCString location_;  ///< with a '\' at the end once it is set
  RWClassicCString fileName_;
  RWClassicTValHashDictionary<ApiKey, JtkHierarchy*> nodes_;  ///< not owned
  WriteOptions options_;
  jtk::ExportReport report_;
  std::string errorCode_;
};
