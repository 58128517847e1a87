// The hand-made shape elements of tests/data/shapes: they decode to what is written beside them.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "file/segments/SegmentObjects.h"
#include "file/shapes/ShapeSegment.h"
#include "support/ShapeFiles.h"

namespace {

using jt::file::DecodedShape;
using nlohmann::json;

jt::file::Format formatOf(const json& expected) {
  return {expected["generation"].get<int>(), expected["generation"] == 8 ? 1 : 0, false};
}

DecodedShape decode(std::span<const std::byte> bytes, const jt::file::Format& format) {
  const std::unique_ptr<std::byte[]> exact(new std::byte[bytes.size()]);  // for sanitizers
  std::ranges::copy(bytes, exact.get());
  jt::codec::VariantChoice variants;
  return readShape({exact.get(), bytes.size()}, format, variants);
}

void expectNear(const std::vector<jt::Vec3f>& values, const json& expected) {
  ASSERT_EQ(values.size(), expected.size());
  for (std::size_t i = 0; i < values.size(); ++i)
    for (std::size_t c = 0; c < 3; ++c)
      EXPECT_NEAR(values[i][c], expected[i][c].get<double>(), 6e-5) << i;
}

json triples(const std::vector<std::uint32_t>& indices) {
  json all = json::array();
  for (std::size_t i = 0; i + 2 < indices.size(); i += 3)
    all.push_back({indices[i], indices[i + 1], indices[i + 2]});
  return all;
}

json primitives(const jt::Mesh& mesh) {
  json all = json::array();
  for (std::size_t p = 0; p < mesh.primitiveCount(); ++p)
    all.push_back(std::vector<std::uint32_t>(mesh.corners.begin() + mesh.starts[p],
                                             mesh.corners.begin() + mesh.starts[p + 1]));
  return all;
}

TEST(ShapeVectors, DecodeToTheExpectedMeshes) {
  int count = 0;
  for (const ShapeVector& vector : shapeVectors()) {
    SCOPED_TRACE(vector.name);
    const json expected = json::parse(vector.expected);
    const DecodedShape shape = decode(vector.bytes, formatOf(expected));
    const jt::Mesh& mesh = shape.mesh;
    EXPECT_TRUE(shape.warnings.empty()) << shape.warnings[0].message;  // among them, wrong hashes
    expectNear(mesh.positions, expected["coords"]);
    if (expected.contains("normals")) expectNear(mesh.normals, expected["normals"]);
    if (expected.contains("corner_records")) {
      EXPECT_EQ(triples(mesh.records), expected["corner_records"]);
    }
    if (expected.contains("triangles")) {
      EXPECT_EQ(triples(mesh.corners), expected["triangles"]);
    } else {
      EXPECT_EQ(primitives(mesh), expected["primitives"]);
    }
    if (expected.contains("groups")) {
      EXPECT_EQ(json(mesh.groups), expected["groups"]);
    }
    ++count;
  }
  EXPECT_EQ(count, 18);
}

TEST(ShapeVectors, AreWrittenBackByTheSameFieldLists) {
  for (const ShapeVector& vector : shapeVectors()) {
    SCOPED_TRACE(vector.name);
    const auto format = formatOf(json::parse(vector.expected));
    const auto stored = jt::file::segmentElements(vector.bytes, format).at(0);
    const jt::file::ShapeKind* kind = jt::file::findShapeKind(stored.frame.typeId);
    ASSERT_NE(kind, nullptr);
    jt::file::ShapeElement element(jt::codec::Budget(1 << 24));
    element.kind = kind->kind;
    jt::file::Reader reader(stored.body, format);
    kind->read(reader, element);
    EXPECT_TRUE(element.trailingBytes.empty());
    jt::file::ByteSink sink;
    jt::file::Writer writer(sink, format);
    kind->write(writer, element);
    if (vector.hasPlainPackets) {
      EXPECT_TRUE(std::ranges::equal(sink.bytes(), stored.body));
    }
    // Other packets are written in plainer codecs; what they hold is the same.
    jt::file::ShapeElement again(jt::codec::Budget(1 << 24));
    again.kind = kind->kind;
    jt::file::Reader second(sink.bytes(), format);
    kind->read(second, again);
    EXPECT_EQ(second.left(), 0U);
    EXPECT_EQ(again.topology.streams.hashChain(generationOf(format)).hash(),
              element.topology.streams.hashChain(generationOf(format)).hash());
    EXPECT_EQ(again.strips.indices, element.strips.indices);
    EXPECT_EQ(again.lists.computedListHash(), element.lists.computedListHash());
  }
}

TEST(ShapeVectors, TheWriterMakesTheTrianglesThatEveryReaderKnows) {
  for (const ShapeVector& vector : shapeVectors()) {
    if (!vector.name.starts_with("tri")) continue;
    SCOPED_TRACE(vector.name);
    const auto format = formatOf(json::parse(vector.expected));
    jt::codec::Report losses;
    const auto segment =
        jt::file::writeShapeSegment(decode(vector.bytes, format).mesh, {}, 7, format, {}, losses);
    EXPECT_TRUE(
        std::ranges::equal(segment.bytes().subspan(jt::file::kSegmentHeaderSize), vector.bytes));
  }
}

/// Checks that the fields follow each other without gap.
class Coverage : public jt::file::FieldListener {
 public:
  void field(std::size_t offset, std::size_t size, const char* name, const char*,
             const std::string& value) override {
    EXPECT_EQ(offset, end) << name;
    end = offset + size;
    text += std::string(name) + "=" + value + "\n";
  }
  std::size_t end = 0;
  std::string text;
};

TEST(ShapeVectors, EveryByteIsExplained) {
  for (const ShapeVector& vector : shapeVectors()) {
    SCOPED_TRACE(vector.name);
    const auto format = formatOf(json::parse(vector.expected));
    const auto stored = jt::file::segmentElements(vector.bytes, format).at(0);
    const jt::file::ShapeKind* kind = jt::file::findShapeKind(stored.frame.typeId);
    Coverage coverage;
    jt::file::TracingReader reader(stored.body, format, 0, &coverage);
    jt::file::ShapeElement element(jt::codec::Budget(1 << 24));
    element.kind = kind->kind;
    kind->trace(reader, element);
    EXPECT_EQ(coverage.end, stored.body.size());
    if (vector.name == "torus10") {
      EXPECT_NE(coverage.text.find("vertexValences=60 values, "), std::string::npos)
          << coverage.text;
    }
  }
}

TEST(ShapeVectors, EveryTruncationIsAnErrorAndEveryChangedBitIsHarmless) {
  for (const ShapeVector& vector : shapeVectors()) {
    SCOPED_TRACE(vector.name);
    const auto format = formatOf(json::parse(vector.expected));
    const std::size_t length = jt::file::segmentElements(vector.bytes, format).at(0).body.size();
    for (std::size_t n = 0; n < length; ++n)
      EXPECT_THROW(decode(std::span(vector.bytes).first(n), format), JtFormatError) << n;
    for (std::size_t bit = 0; bit < vector.bytes.size() * 8; ++bit) {
      auto changed = vector.bytes;
      changed[bit / 8] ^= std::byte{1} << (bit % 8);
      try {
        EXPECT_EQ(decode(changed, format).mesh.flaw(), "");
      } catch (const JtFormatError&) {
      }
    }
  }
}

}  // namespace
