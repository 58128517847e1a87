#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ApiGraColor.h"
#include "JtBounds.h"
#include "JtwExport.h"
#include "JtwObjects.h"
#include "JtwSelection.h"

namespace jtw {

/// What the file states of one part of a component: an entity with all that is below its node.
/// Nothing is decoded.
struct InspectedPart {
  std::size_t index = 0;  ///< in Objects
  std::string path;       ///< its address by names
  /// Of the finest level of detail; nothing when the file does not state it.
  std::optional<std::uint64_t> triangles;
  std::optional<std::uint64_t> vertices;
  std::size_t lods = 0;     ///< levels of detail; 0 without shapes
  std::uint64_t bytes = 0;  ///< stored, of all segments that the part names; 0 before it is saved
  std::optional<jt::Box> bounds;  ///< millimetres, in the component; nothing without extent
  /// Color of its first shape, from above when the part has none; nothing when none is set.
  std::optional<ApiGraColor> material;
  std::string texture;          ///< its first image: a file name, or "WxH" in pixels; empty: none
  const char* unit = "";        ///< name of its unit of length; empty when it has none
  std::uint64_t instances = 0;  ///< in how many places it is shown
  bool exact = false;           ///< it has exact geometry
  std::size_t annotations = 0;  ///< in the product information (PMI) of its node
};

/// The parts of a component, in the order of the list.
/// @param selection only those that it holds for; null: all
/// Throws EditError for an address in the selection that names nothing.
JTW_API std::vector<InspectedPart> inspectParts(const Objects& objects,
                                                const Selection* selection = nullptr);

/// An order of parts by one of their members.
class JTW_API PartOrder {
 public:
  /// @param text name of a member of InspectedPart, or "key", and ",desc" behind it for the
  ///   greatest first. Boxes compare by their diagonals, colors by red, green, blue.
  /// Throws EditError "usage".
  explicit PartOrder(std::string_view text);

  /// Puts parts in order; equal ones stay as they are, and what is unknown comes last either way.
  void sort(std::vector<InspectedPart>& parts, const Objects& objects) const;

 private:
  std::size_t column_ = 0;
  bool isDescending_ = false;
};

/// Sums over parts.
struct InspectionTotals {
  std::size_t parts = 0;
  std::size_t uncounted = 0;  ///< parts without known counts, which add no triangles or vertices
  std::uint64_t triangles = 0;
  std::uint64_t vertices = 0;
  std::uint64_t shownTriangles = 0;  ///< each part as often as it is shown
  std::uint64_t bytes = 0;           ///< a segment of several parts counts for each
  std::uint64_t instances = 0;
  std::size_t annotations = 0;
};

JTW_API InspectionTotals totalsOf(const std::vector<InspectedPart>& parts);

}  // namespace jtw
