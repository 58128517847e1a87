#pragma once

#include "ApiDocumentRef.h"
#include "ApiGraColor.h"
#include "ApiProtoKey.h"
#include "ApiSysFileName.h"
#include "JtwExport.h"
#include "JtwRoot.h"
#include "RTTran3D.h"
#include "RWClassic.h"

/// A component that is exported straight into a JT file: a root whose partition lies at, or goes
/// to, the export location of a document. Its nodes are made with the operations of JtwRoot. Adds
/// operations only, so that the registry can hand any root out as one.
class JTW_API JtExportRoot : public JtwRoot {
 public:
  /// A root without partition; initialize() or initializeAsNew() comes next.
  explicit JtExportRoot(JtwRoot::JT_LOADING_REPRESENTATION loadingRep) : JtwRoot(loadingRep) {}
  JtExportRoot() = default;

  /// Opens the document's exported file; in viewer mode the document's registered partition is
  /// taken instead and the disk is left alone. False when there is no such file or it is damaged;
  /// the root then has no partition.
  bool initialize(const ApiDocumentRef& document);
  /// Starts an empty component that is written to the document's export location.
  bool initializeAsNew(const ApiDocumentRef& document);

  /// Stamps the producer, or the current time in UTC ("7/3/2024, 9:5": day, month, year, hour,
  /// minute), on the component node. False without one.
  bool setCadSource();
  bool setTranslationDate();
  /// Stores a text on the node of that key; false when there is none.
  bool setExternalID(const ApiProtoKey& key, RWClassicWString& id);
  bool setOriginalName(const ApiProtoKey& key, RWClassicWString& name);
  /// Reports whether a frame could be made below `parentKey`; makes none, so that the other
  /// arguments, the location (millimetres) too, have no effect.
  bool createPMIFrame(const ApiProtoKey& key, const ApiProtoKey& parentKey,
                      const RTTran3D& location, RWClassicWString& name, ApiGraColor& color);
  /// Gives the file the name that `newPath` ends with; the folder stays. False when the partition
  /// does not lie in a file or the name is empty.
  bool updateRelativeLocation(ApiSysFileName& newPath);

  /// Writes the partition to its place, in the registry's JT version when it was made anew, else in
  /// the version that it was read in; the reason of a failure is in jt::lastError().
  bool write();
  /// Drops the partition's content, after which it cannot be written. @return true
  bool close();
  /// Copies the component below another partition and goes on with the copy: every wrapper is
  /// of the copied node from then on. Nothing happens without component or target.
  void copyToPartition(JtPartition* target);
  /// Takes the component node out of the graph; from then on it hangs below a group of its own,
  /// which lives as long as the root. Its wrappers stay usable. False without component node.
  bool disconnect();

 private:
  bool stamp(JtNode* node, const char* key, const RWClassicCString& value);
  bool stampOnKey(const ApiProtoKey& key, const char* property, const RWClassicWString& value);
};
