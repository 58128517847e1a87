#pragma once

#include "JtString.h"
#include "JtkEntity.h"

class JtkAssembly;
class JtkCADExporter;
class JtkHierarchy;
class JtkInstance;
class JtkMaterial;
class JtkPMIEntity;
class JtkPart;
class JtkProperty;
class JtkTransform;
class JtkUnitHierarchy;

/// Starts and stops the toolkit, and makes its objects. Starts are counted: every successful start
/// needs one stop. Safe from any thread.
class JTK_API JtkEntityFactory {
 public:
  /// Starts the toolkit.
  /// @param brepKernel   a kernel for precise geometry; the toolkit has none but 0: none
  /// @param environment  0: the options of the toolkit itself
  /// @param path         folder of a kernel; null: none
  /// @return 1 on success; 0 for options that this toolkit does not have
  static int init(int brepKernel = 0, int environment = 0, const char* path = nullptr);
  /// Takes one start back. @return 1 on success; 0 when the toolkit is not running
  static int fini();

  // What is made has no reference: the caller takes one.

  /// @param name to display; the numbers are reserved and have no effect
  static JtkAssembly* createAssembly(const JtString& name, int reserved, int hint);
  /// @param name UTF-8; the numbers are reserved and have no effect
  static JtkPart* createPart(const char* name, int reserved, int hint);
  /// @param child see JtkInstance::setChild()
  static JtkInstance* createInstance(const JtString& name, JtkHierarchy* child);
  /// @param kind of JtkProperty::Kind
  static JtkProperty* createProperty(const JtString& key, const JtString& value, int kind = 0);
  static JtkProperty* createProperty(const JtString& key, int value);
  /// @param matrix row after row, for row vectors: the translation is in the last row
  static JtkTransform* createTransform(const float (&matrix)[4][4]);
  static JtkMaterial* createMaterial();
  static JtkCADExporter* createCADExporter();
  /// A new entity without frame, lines or text, appended to the entities of a node.
  /// @return the entity, owned by the node; null for a null node and for a type that is no kind of
  ///         PMI
  static JtkPMIEntity* createPMI(JtkEntity::TypeID type, JtkUnitHierarchy* unit);
};
