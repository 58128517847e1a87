#pragma once

#include <unordered_map>
#include <vector>

#include "ApiGraColor.h"
#include "JtkBrep.h"
#include "JtwExport.h"
#include "RWClassic.h"

class JtwEntity;
class JtwRoot;
class VisPartNode;

/// Colors and names of the wires of an entity, by their ids. Copies look at the same wires.
class JTW_API JtkwWireframePropReader {
 public:
  JtkwWireframePropReader();
  JtkwWireframePropReader(const JtkwWireframePropReader&);
  JtkwWireframePropReader& operator=(const JtkwWireframePropReader&);
  ~JtkwWireframePropReader();

  /// Reads the wires of a part in the place of those of the one before, and cleans its PMI.
  /// @param entity whose color wires have that carry none of their own; null, and one without a
  ///   color: gray (0.8, 0.8, 0.8, 1)
  /// @return false for null and a part without wires that can be read
  bool execute(JtwEntity* entity, VisPartNode* part);
  /// Takes the wires of a B-rep in the place of those that are known. Of wires with one id the last
  /// one counts. Null: none.
  void fillJtkWireMap(JtkBrep* brep);
  /// The diffuse color of the wire's material; the default color without one, and for an unknown
  /// id.
  ApiGraColor getColor(int id);
  /// Empty for a wire without name and an unknown id.
  RWClassicWString getName(int id);
  /// Removes the PMI that other programs keep copies of geometry in, those named "Multicad
  /// Geometry". Other PMI, and PMI that cannot be changed, stay as they are. Annotations that were
  /// made of them leave their collection when execute() does this; others follow their entities.
  void removeMulticadPMI(VisPartNode* part);

 private:
  void followRemoval(VisPartNode& part, const std::vector<int>& removed) const;

  JtwRoot* root_ = nullptr;  // of the entity of execute()
  jt::Ref<JtkBrep> brep_;
  std::unordered_map<int, const JtkWire*> wires_;  // of brep_
  ApiGraColor defaultColor_;
};
