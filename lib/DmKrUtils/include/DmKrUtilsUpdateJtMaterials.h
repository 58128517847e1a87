#pragma once

#include <cstddef>

#include "DmKrUtilsExport.h"
#include "JtPartition.h"

/// Converts the materials of a JT file to what the host writes today. What older hosts and other
/// producers left open or put elsewhere is made explicit:
///
/// - color components outside 0..1 are cut to that range; what is not a number becomes 0, as an
///   alpha 1
/// - a material that states its ambient color and leaves the diffuse one to what it inherits, or
///   the other way round, states both, with the same red, green and blue
/// - opacity that only the ambient color has (an alpha between 0 and 1) moves to the diffuse
///   color, where readers look for it
/// - a material over a shape with vertex colors says itself whether it hides them; what is seen
///   stays the same along the first path to the shape. Where no material says it, they show
/// - of equal materials one is left, which all their nodes list
///
/// Opaque nodes and attributes, and the content of other files that are opened below, stay as they
/// are. Each node is looked at once, and the work grows with the graph. A second run changes
/// nothing.
class DMKR_API DmKrUtilsUpdateJtMaterials {
 public:
  /// What a run found and changed; each material object counts once, however many nodes list it.
  struct Result {
    std::size_t materials = 0;        ///< looked at
    std::size_t clamped = 0;          ///< had color components outside 0..1
    std::size_t completed = 0;        ///< stated only the ambient or only the diffuse color
    std::size_t alphaMoved = 0;       ///< had their opacity in the ambient color
    std::size_t overridesStated = 0;  ///< left open whether they hide vertex colors
    std::size_t shared = 0;           ///< gave way to an equal one

    /// True when the partition was changed.
    bool hasChanges() const {
      return clamped + completed + alphaMoved + overridesStated + shared > 0;
    }
  };

  /// @param isInUse true for a component that is opened and worked with: a material that somebody
  /// beside its nodes holds a reference on is converted, but does not give way to an equal one, so
  /// that the holder goes on seeing the material that is shown. False for a file that was opened
  /// for this alone.
  explicit DmKrUtilsUpdateJtMaterials(bool isInUse) : isInUse_(isInUse) {}

  /// Converts what lies below `partition`, and the partition's own materials.
  /// @param result overwritten
  /// @return false for null, and when memory ran out: then some materials are converted, and
  /// jt::lastError() gives
  bool execute(JtPartition* partition, Result& result) const;

 private:
  bool isInUse_;
};
