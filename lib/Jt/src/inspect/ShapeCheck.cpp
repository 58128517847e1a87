#include "inspect/ShapeCheck.h"

#include <string_view>

#include "JtFormatError.h"
#include "file/segments/SegmentObjects.h"

namespace jt {

namespace {

using namespace file;

class ShapeChecker {
 public:
  ShapeChecker(const Container& container, const TocEntry& entry, codec::VariantChoice& variants)
      : container_(container), entry_(entry), variants_(variants) {}

  std::vector<Diagnostic> run() {
    try {
      check(container_.load(entry_));
    } catch (const JtFormatError& error) {
      // Primitives in a form that is not certain are carried.
      add(error.code() != "no_geometry", error.code(), error.where().offset, error.message());
    }
    return std::move(notes_);
  }

 private:
  void add(bool isError, const std::string& code, std::optional<std::uint64_t> offset,
           std::string message) {
    notes_.push_back(
        {code, std::move(message), segmentText(entry_.type(), entry_.id), offset, isError});
  }

  void check(const SegmentContent& content) {
    bool hasMesh = false;
    for (const SegmentElement& element : segmentElements(content.bytes, container_.format())) {
      const ShapeKind* kind = findShapeKind(element.frame.typeId);
      hasMesh = hasMesh || (kind && kind->hasMesh);
      if (!kind)
        add(false, "unknown_element", element.offset,
            "element of unknown type " + element.frame.typeId.text() + ", carried as it is");
    }
    if (!hasMesh) return;
    MemoryShare memory = container_.share();
    const DecodedShape decoded = readShape(content.bytes, container_.format(), variants_,
                                           {.limits = container_.limits(), .memory = &memory});
    for (const Diagnostic& warning : decoded.warnings) {
      const bool isDamage = warning.code == "hash_mismatch";
      add(isDamage, isDamage ? warning.code : "unusual_shape", {}, warning.message);
    }
  }

  const Container& container_;
  const TocEntry& entry_;
  codec::VariantChoice& variants_;
  std::vector<Diagnostic> notes_;
};

}  // namespace

std::vector<Diagnostic> checkShape(const Container& container, const TocEntry& entry,
                                   codec::VariantChoice& variants) {
  return ShapeChecker(container, entry, variants).run();
}

}  // namespace jt
