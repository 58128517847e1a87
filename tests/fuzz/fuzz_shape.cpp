// The content of a shape segment, in the form that the first byte chooses: told field by field,
// read, and the mesh written and read again. A mesh with a flaw, or that comes back as another, is
// a finding.

#include <cstdio>
#include <cstdlib>

#include "file/segments/SegmentObjects.h"
#include "file/shapes/ShapeSegment.h"

namespace {

using namespace jt;
using namespace jt::file;

constexpr Format kForms[] = {{8, 1, false}, {9, 5, false}, {10, 0, false}, {10, 5, false},
                             {8, 1, true},  {9, 5, true},  {10, 0, true},  {10, 5, true}};
constexpr std::uint64_t kMostBytes = 64 << 20;

class Counter : public FieldListener {
 public:
  void field(std::size_t, std::size_t, const char*, const char*,
             const std::string& value) override {
    characters += value.size();
  }
  std::size_t characters = 0;
};

void explainAll(std::span<const std::byte> content, const Format& format) {
  Counter counter;
  for (const SegmentElement& stored : segmentElements(content, format)) {
    const ShapeKind* kind = findShapeKind(stored.frame.typeId);
    if (!kind) continue;
    ShapeElement element(codec::Budget::forInput(stored.body.size(), kMostBytes));
    element.kind = kind->kind;
    TracingReader reader(stored.body, format, stored.bodyOffset, &counter);
    kind->trace(reader, element);
  }
}

[[noreturn]] void finding(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

void rewrite(const Mesh& mesh, const codec::EncodeOptions& options) {
  constexpr std::size_t kLargest = 3000;  // corners; the rest of the time is for other inputs
  if (mesh.corners.size() > kLargest || mesh.positions.size() > kLargest) return;
  for (const Format& format : kForms) {
    codec::Report losses;
    const Buffer segment = writeShapeSegment(mesh, {}, 7, format, options, losses);
    codec::VariantChoice variants;
    const DecodedShape again =
        readShape(segment.bytes().subspan(kSegmentHeaderSize), format, variants);
    if (again.mesh.primitiveCount() != mesh.primitiveCount() ||
        again.mesh.corners.size() != mesh.corners.size())
      finding("the written mesh is another one");
    for (const Diagnostic& warning : again.warnings)
      if (std::string_view(warning.code) == "hash_mismatch") finding("a wrong hash was written");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const Format& format = kForms[data[0] % std::size(kForms)];
  const auto content = std::as_bytes(std::span(data, size).subspan(1));
  try {
    explainAll(content, format);
    codec::VariantChoice variants;
    ReadLimits limits;
    limits.maxSegmentBytes = kMostBytes;
    const DecodedShape shape = readShape(content, format, variants, {.limits = limits});
    if (!shape.mesh.flaw().empty()) finding("a mesh with a flaw was read");
    rewrite(shape.mesh, {});
    rewrite(shape.mesh, {.profile = codec::Profile::compact});
    rewrite(shape.mesh, {.coordinateBits = 12, .normalBits = 6});
  } catch (const JtFormatError&) {
    // Refused, as it should be.
  }
  return 0;
}
