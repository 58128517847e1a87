#pragma once

#include <utility>

#include "ApiGraColor.h"
#include "ApiGraMaterial.h"
#include "ApiKey.h"
#include "JtwExport.h"
#include "RTTran3D.h"
#include "RWClassic.h"

class JtMaterial;
class JtNode;

/// What the host says of one part that is to be exported.
class JTW_API JtkwEntityCreationData {
 public:
  /// @param addToMap whether the part is found by its key afterwards
  /// @param node     the scene-graph node with the part's geometry. Not owned: it must live until
  ///                 the part is created, which takes a reference
  JtkwEntityCreationData(bool addToMap, const ApiKey& key, JtNode* node)
      : node_(node), key_(key), addToMap_(addToMap) {}

  /// The name to display; empty at first.
  RWClassicWString displayName() const { return displayName_; }
  void setDisplayName(RWClassicWString name) { displayName_ = std::move(name); }
  /// What the constructor was given.
  ApiKey key() const { return key_; }
  bool addToMap() const { return addToMap_; }
  JtNode* node() const { return node_; }
  /// Place in the assembly, millimetres.
  RTTran3D relLoc() const { return relLoc_; }
  void setRelLoc(const RTTran3D& relLoc) { relLoc_ = relLoc; }
  ApiGraMaterial material() const { return material_; }

  /// True: the part gets no material.
  bool defaultColor() const { return defaultColor_; }
  /// Whether the material wins over a final one above the part.
  bool instanceColor() const { return instanceColor_; }
  /// Whether the material wins over those below the part.
  bool finalState() const { return finalState_; }

  /// The color of this occurrence: it replaces what is below it.
  void setInstanceColor(const ApiGraColor& color);
  /// The material of the part wherever it occurs. Null has no effect.
  void setPrototypeMaterial(const JtMaterial* material);

 private:
  RWClassicWString displayName_;
  RTTran3D relLoc_;
  ApiGraMaterial material_;
  bool defaultColor_ = true;
  bool instanceColor_ = false;
  bool finalState_ = false;
  JtNode* node_;
  ApiKey key_;
  bool addToMap_;
};
