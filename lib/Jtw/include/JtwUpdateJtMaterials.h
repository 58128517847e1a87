#pragma once

#include <optional>

#include "ApiDocumentRef.h"
#include "DmKrUtilsUpdateJtMaterials.h"
#include "JtFormatError.h"
#include "JtPartition.h"
#include "JtPropAtom.h"
#include "JtwExport.h"

class JtNode;
class JtSwitch;
class JtwRoot;

/// Converts the materials of a component's JT file once, and marks the component so that no later
/// run does it again. What is converted is reported by DmKrUtilsUpdateJtMaterials. One object
/// serves one run.
///
/// A component is a partition's only child when that is a switch marked "KrSwitch", else the first
/// child that is a component of the host by its "KrObjType". The mark, a property without value,
/// lies on the first two children of the switch, or on the component itself.
class JTW_API JtwUpdateJtMaterials {
 public:
  JtwUpdateJtMaterials();
  ~JtwUpdateJtMaterials();
  JtwUpdateJtMaterials(const JtwUpdateJtMaterials&) = delete;
  JtwUpdateJtMaterials& operator=(const JtwUpdateJtMaterials&) = delete;

  /// Opens the document's JT file, converts, marks and saves it in the version that it has. Other
  /// files that it refers to stay as they are. Reports to the host's error stream, with the path:
  ///
  /// | code | result |
  /// |---|---|
  /// | JTUPDATE_OPEN_FILE_FAILED | false; the reason is in jt::lastError() |
  /// | JTUPDATE_FILE_IS_NATIVE_JT: there is no component in it | true; the file is untouched |
  /// | JTUPDATE_FILE_HAS_BEEN_UPDATED, with the number 3 | true; the file is untouched |
  /// | JTUPDATE_SAVE_FILE_FAILED | false; the file is untouched; see saveError() |
  ///
  /// @return false without a report for a document without JT file, and when memory ran out
  bool executeOnComponent(const ApiDocumentRef& doc);
  /// Converts and marks an opened component; writing the root saves it. An earlier update is not
  /// looked for, and nothing is reported.
  /// @return false without root, partition or component node, and when the conversion failed
  bool executeOnUpgradedComponent(JtwRoot* root);

  /// For executeOnComponent: how to save; a version in it is not regarded.
  void setSaveOptions(const jt::SaveOptions& options) { saveOptions_ = options; }
  /// What the conversion did; all 0 when it did not run.
  const DmKrUtilsUpdateJtMaterials::Result& conversion() const { return conversion_; }
  /// What executeOnComponent saved; nothing when it did not.
  const std::optional<jt::SaveReport>& saved() const { return saved_; }
  /// Why saving failed, when that is known.
  const std::optional<JtFormatError>& saveError() const { return saveError_; }

 private:
  /// Finds the component node; true when there is one.
  bool initKrComponentNode(const JtPartition* partition);
  /// True for the switch form. @param switchNode the partition's only child when it is a switch,
  /// marked or not; null otherwise
  bool hasKrSwitch(const JtPartition* partition, JtSwitch*& switchNode);
  bool hasComponentBeenUpdated();
  void addPropToUpdatedComponent();
  bool updateFile(const RWClassicCString& path);
  bool save(JtPartition& partition);

  JtNode* componentNode_ = nullptr;  // in the opened partition; not owned
  JtStringPropAtom* markerKey_;      // one reference
  jt::SaveOptions saveOptions_;
  DmKrUtilsUpdateJtMaterials::Result conversion_;
  std::optional<jt::SaveReport> saved_;
  std::optional<JtFormatError> saveError_;
};
