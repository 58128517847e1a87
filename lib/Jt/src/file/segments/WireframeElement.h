#pragma once

// The element "Wireframe Rep": as it is stored, and its content in the form of another version.

#include <array>
#include <span>
#include <vector>

#include "JtWireframe.h"
#include "codec/packet/Packets.h"
#include "file/archive/Archive.h"
#include "file/archive/FieldAccess.h"

namespace jt::file {

/// One element as it is stored.
struct WireframeElement {
  explicit WireframeElement(const codec::Budget& budget) : budget(budget) {}

  LocalVersion version;
  std::int32_t edgeCount = 0;
  std::int32_t curveCount = 0;
  std::vector<std::int32_t> curveIndices;  ///< of each edge
  std::vector<std::int32_t> edgeTags;

  // Curves; see WireframeFields for what the kinds of knots store.
  static constexpr std::size_t kKnotKinds = 4;
  std::vector<std::int32_t> hasKnotKind;
  std::array<std::vector<std::int32_t>, kKnotKinds> curvesOfKind;
  std::vector<std::int32_t> baseTypes;
  std::vector<std::int32_t> degrees;
  std::vector<std::int32_t> pointCounts;
  std::vector<std::int32_t> dimensions;  ///< 4: rational
  std::vector<std::int32_t> reserved;
  std::int32_t weightCount = 0;             ///< of the points of rational curves
  std::vector<std::int32_t> weightIndices;  ///< of those that are not 1, ascending
  std::vector<double> weights;
  std::vector<double> points;  ///< x, y, z of each, not multiplied by the weight
  std::vector<double> knots;

  std::int32_t nextTag = 0;
  PMICadTags cadTags;
  std::vector<std::byte> trailingBytes;

  codec::Budget budget;
  /// How packets store values that their code has no symbol for; producers agree on neither.
  codec::OutOfBandForm outOfBand = codec::OutOfBandForm::plain;
};

/// Reads an element's body. Throws JtFormatError, "unknown_form" for 8.x.
/// @param base offset of the body, for messages @param memory counts the result; may be null
WireframeData readWireframe(std::span<const std::byte> body, const Format& format, std::size_t base,
                            MemoryShare* memory = nullptr);
/// Reports the fields of a body to a listener. Throws JtFormatError after those that can be read.
void traceWireframe(std::span<const std::byte> body, const Format& format, std::size_t base,
                    FieldListener& listener, MemoryShare* memory = nullptr);
/// False for 8.x, and for content with bytes that are not understood and would need another form.
bool canWriteWireframe(const WireframeData& data, const Format& format) noexcept;
/// Appends the body of an element. Throws JtFormatError "not_convertible" when it cannot be.
void writeWireframe(ByteSink& out, const WireframeData& data, const Format& format);

/// Makes representations of what was read.
struct FieldAccess::Wireframe {
  static Ref<JtWireframeRep> make(WireframeData data);
};

}  // namespace jt::file
