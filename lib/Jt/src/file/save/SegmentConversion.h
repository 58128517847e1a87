#pragma once

// Segments of one version of the format in the form of another.

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "file/container/Container.h"
#include "file/shapes/ShapeSegment.h"

namespace jt::file {

/// What the node of a shape says of its segment.
struct ShapeStorage {
  codec::VertexBindings bindings;
  codec::QuantizationParameters quantization{};
};

/// What became of a segment.
struct ConvertedSegment {
  bool isSame = false;          ///< both forms hold it in the same bytes
  std::optional<Buffer> bytes;  ///< the new segment; nothing when it is the same, or cannot be
  std::string reason;           ///< why it is not the same
  std::vector<JtGuid> leftOut;  ///< types of elements that are not in `bytes`
  std::vector<Diagnostic> losses;
  std::optional<ShapeStorage> shape;  ///< of geometry that was encoded anew

  bool isDropped() const noexcept { return !isSame && !bytes; }
};

/// Converts each segment once. Shapes are decoded and encoded: lossless ones stay lossless,
/// quantized ones keep their bits. Metadata, PMI and XT precise geometry change their frame, each
/// element of a segment for itself; what is not understood well enough is given up with a reason.
class SegmentConverter {
 public:
  /// @param encoding of shapes, but for the bits that a quantized shape has
  SegmentConverter(const Format& format, const ShapeEncoding& encoding, int level)
      : format_(format), encoding_(encoding), level_(level) {}

  /// An object that takes the place of the element that it was read from. To be called before any
  /// conversion. Throws JtFormatError, "segment_shared" when another object takes the same place.
  void setChanged(const TocEntry& entry, Ref<JtBase> object, const char* reason);
  /// Whether the MultiXT segments of a file are to be in the new file; until it is set, all are.
  void setHasPools(std::function<bool(const Container&)> hasPools) {
    hasPools_ = std::move(hasPools);
  }
  /// Throws for objects that were changed and for a file that the system cannot read, never for the
  /// segment's own content. Safe from several threads.
  const ConvertedSegment& convert(const Container& from, const TocEntry& entry);
  /// Converts the shapes of a file on all cores.
  void convertShapes(const Container& from);

 private:
  struct Changes {
    std::vector<Ref<JtBase>> objects;
    std::string reason;
  };
  ConvertedSegment make(const Container& from, const TocEntry& entry, const Changes* changes);
  ConvertedSegment makeShape(const Container& from, const TocEntry& entry);
  ConvertedSegment makeOther(const Container& from, const TocEntry& entry,
                             const Changes* changes) const;
  codec::VariantChoice& variantsOf(const Container& from);
  bool lacksPool(const Container& from, const TocEntry& entry) const;

  const Format format_;
  const ShapeEncoding encoding_;
  const int level_;
  std::function<bool(const Container&)> hasPools_;
  std::unordered_map<const TocEntry*, Changes> changes_;
  std::mutex mutex_;
  std::unordered_map<const TocEntry*, std::unique_ptr<ConvertedSegment>> done_;
  std::unordered_map<const Container*, std::unique_ptr<codec::VariantChoice>> variants_;
};

}  // namespace jt::file
