#pragma once

// Validation properties: what the geometry of each part measures, stored beside it, so that a
// receiver can tell whether it still has the geometry that was sent.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "JtDiagnostic.h"
#include "JtExport.h"
#include "JtNode.h"
#include "JtPartition.h"

namespace jt {

/// What the triangles of a part measure, at the finest level of detail, in the part's own
/// coordinates and its unit of length. Triangles with coordinates that are not finite only count.
struct PartMeasures {
  std::uint64_t triangles = 0;
  double area = 0;
  /// Between the triangles and the centroid, positive where they face away from it: of a closed
  /// surface what it encloses.
  double volume = 0;
  std::array<double, 3> centroid{};  ///< of the surface: each triangle counts by its area
  double diagonal = 0;               ///< of the box around it

  friend bool operator==(const PartMeasures&, const PartMeasures&) = default;
};

/// The key of the property that holds them: "JTW_VALIDATION". Its value is a text such as
/// "triangles=12 area=6 volume=1 centroid=0.5,0.5,0.5 diagonal=1.7320508075688772".
JT_API const char* validationProperty() noexcept;
/// The text of a value.
JT_API std::string validationText(const PartMeasures& measures);
/// Reads such a text; nothing when it is none.
JT_API std::optional<PartMeasures> parseValidation(std::string_view text);

/// Measures what is below a part's node, without what is hidden there. Geometry that was not
/// decoded before is let go. Nothing for a part without triangles. Throws JtFormatError when
/// geometry cannot be decoded.
JT_API std::optional<PartMeasures> measurePart(const JtNode& part);

/// Measures a part and stores the result with its node. A part without triangles loses what it
/// had. Throws as measurePart. @return whether something is stored
JT_API bool storeValidation(JtNode& part);
/// The same for each part of a file and of the part files that are open with it.
/// @return the number of parts that have it now
JT_API std::size_t storeValidations(JtPartition& top);
/// Removes what is stored with a node: for changes that are meant to change the geometry.
JT_API void removeValidation(JtNode& part);
/// The same for each part of a file and of the part files that are open with it.
JT_API void removeValidations(JtPartition& top);

/// What a comparison found.
struct ValidationReport {
  std::size_t parts = 0;             ///< that were compared
  std::vector<Diagnostic> findings;  ///< errors "validation_differs", warnings "bad_validation"
};

/// Compares what the parts of one file measure with what is stored there. Parts whose geometry
/// cannot be decoded are left out: see verify().
/// @param tolerance by how much points may be moved, as a share of the diagonal of their part: the
///                  centroid by so much, the area by as large a share of itself, the volume by that
///                  of area times diagonal; numbers of triangles are the same
JT_API ValidationReport checkValidation(const JtPartition& file, double tolerance);

}  // namespace jt
