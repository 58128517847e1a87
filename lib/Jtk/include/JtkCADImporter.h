#pragma once

#include "JtkBrep.h"
#include "JtkHierarchy.h"
#include "VisPartNode.h"

/// Makes toolkit hierarchies of scene graphs. Assemblies, parts and instances become nodes; groups
/// without attributes and names, and partitions, give their place to what is below them; of a
/// switch the selected child counts. Lengths are converted to millimetres: a node's unit is the one
/// that it names, else that of the nearest node above it, else millimetres.
///
/// The scene graph is not changed, except by callbacks. Shapes of the hierarchy are copies that
/// share geometry, attributes and properties with those of the scene graph.
class JTK_API JtkCADImporter {
 public:
  /// What an import takes of parts, for setLoadOption().
  enum LoadOption : int {
    TESSELLATION = 0,  ///< shapes
    EXACT = 2,         ///< shapes and precise geometry
    STRUCTURE = 4      ///< neither: parts stay empty
  };
  /// Further options. They are kept and have no effect.
  enum Option : int { FIRST_RESERVED = 1, SECOND_RESERVED = 2 };
  /// What callbacks return.
  enum Result : int {
    SKIP = 0,  ///< the node, and what is below it, is left out; the property is dropped
    KEEP = 1,  ///< the property is kept
    GO_ON = 2
  };

  /// Called for each property that is not dropped anyway, with the node that would get it.
  using PropertyCallback = int (*)(JtkProperty*, JtkHierarchy*);
  /// Called for each node of the scene graph before it becomes one of the hierarchy. It may change
  /// the node, or put another in its place.
  using PreActionCallback = int (*)(JtNode*&);
  /// Called for each node after that, with what was made of it; the last argument is the same
  /// object as the second.
  using PostActionCallback = int (*)(JtNode*, JtkHierarchy*, JtkRefCounted*&);

  JtkCADImporter();
  virtual ~JtkCADImporter();
  JtkCADImporter(const JtkCADImporter&) = delete;
  JtkCADImporter& operator=(const JtkCADImporter&) = delete;

  /// @return 1; 0 for a number that is none, without effect
  int setLoadOption(int option);
  int setOption(Option option, int value);
  void setPropertyCallback(PropertyCallback callback) { onProperty_ = callback; }
  void setPreActionCallback(PreActionCallback callback) { before_ = callback; }
  void setPostActionCallback(PostActionCallback callback) { after_ = callback; }

  /// The hierarchy of a node and what is below it; empty for null and for a node that is skipped.
  /// What cannot be read of it is left out, the reason is in jt::lastError().
  jt::Ref<JtkHierarchy> importHierarchy(JtNode* node) const;
  /// The wireframe of a part with a wire for each edge, in stored order. Files have neither names
  /// nor materials of wires.
  /// @return 1; 0 for null and for a part without a wireframe that can be read: the reason is in
  ///         jt::lastError(), and `brep` is as before
  int importWFRep(VisPartNode* part, jt::Ref<JtkBrep>& brep) const;

 private:
  friend class JtkSceneImport;

  int load_ = TESSELLATION;
  int reserved_[2] = {0, 0};
  PropertyCallback onProperty_ = nullptr;
  PreActionCallback before_ = nullptr;
  PostActionCallback after_ = nullptr;
};
