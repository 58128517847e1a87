// Numbers of vertices: hashes, quantizers, normals, arrays.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>

#include "base/Hash.h"
#include "codec/vertex/DeeringEncoder.h"
#include "codec/vertex/VertexArrays.h"

namespace {

using namespace jt::codec;
using Values = std::vector<std::int32_t>;

std::uint32_t hashOfHalves(const Values& halves) {
  HashChain chain;
  chain.addHalves(halves);
  return chain.hash();
}

TEST(Hashes, PublishedAndStoredValues) {
  EXPECT_EQ(hash32({}, 0), 0xbd49d10dU);
  // Chained, as a point set with one point stores it.
  EXPECT_EQ(hash32(Values{0}, hash32(Values{0, 1}, 0)), 0xe34cace1U);
  EXPECT_EQ(hash32(Values{1, 2, 3, 4, 5}, 0), 0xbcfbbd3eU);
  EXPECT_EQ(hash32(Values{0x3f800000}, 0), 0x6524a7a7U);
  EXPECT_EQ(hashOfHalves({0, 1}), 0x505c2887U);
  EXPECT_EQ(hashOfHalves({0, 1, 0, 1, 0, 1, 1}), 0x9082213dU);
}

RC_GTEST_PROP(Hashes, ChainsTogetherAreTheHashesOfEachAlone,
              (const std::vector<std::vector<Values>>& arrays)) {
  std::vector<HashChain> chains(arrays.size());
  std::vector<std::uint32_t> expected(arrays.size());
  for (std::size_t i = 0; i < arrays.size(); ++i)
    for (const Values& words : arrays[i]) {
      chains[i].add(words);
      expected[i] = hash32(words, expected[i]);
    }
  RC_ASSERT(hashesOf(chains) == expected);
}

TEST(Normals, AxesAndExamplesHaveTheirCodes) {
  struct Case {
    jt::Vec3f normal;
    std::array<std::uint32_t, 4> code;
  };
  const Case cases[] = {{{1, 0, 0}, {5, 7, 255, 0}},      {{0, 1, 0}, {3, 7, 255, 0}},
                        {{0, 0, 1}, {1, 7, 255, 0}},      {{-1, 0, 0}, {5, 3, 255, 0}},
                        {{0, 0.6F, 0.8F}, {2, 7, 31, 0}}, {{-0.48F, 0.6F, -0.64F}, {2, 2, 6, 208}}};
  const DeeringEncoder encoder(8);
  for (const Case& expected : cases) {
    const DeeringCode code = encoder.encode(expected.normal);
    EXPECT_EQ((std::array{code.sextant, code.octant, code.theta, code.psi}), expected.code);
  }
  // Of two sextants that meet beside an axis, the one that reaches it is taken.
  for (const jt::Vec3f& onEdge : std::initializer_list<jt::Vec3f>{{1, 1, 3}, {3, 1, 1}, {1, 3, 1}})
    EXPECT_EQ(encoder.encode(onEdge).sextant % 2, 1U) << onEdge[0] << onEdge[1] << onEdge[2];
  for (unsigned bits = 1; bits <= Deering::kMostBits; ++bits)
    for (int axis = 0; axis < 6; ++axis) {
      jt::Vec3f normal{};
      normal[static_cast<std::size_t>(axis / 2)] = axis % 2 == 0 ? 1.0F : -1.0F;
      const Deering some(bits);
      const jt::Vec3f decoded =
          some.decode(some.unpack(some.pack(DeeringEncoder(bits).encode(normal))));
      for (std::size_t c = 0; c < 3; ++c) EXPECT_NEAR(decoded[c], normal[c], 1e-6) << bits;
    }
}

RC_GTEST_PROP(Normals, ErrorStaysBelowTheStep, ()) {
  const auto bits = *rc::gen::inRange(3U, 14U);
  std::array<double, 3> v;
  for (double& c : v) c = *rc::gen::inRange(-1000, 1001) / 1000.0;
  const double length = std::hypot(v[0], v[1], v[2]);
  RC_PRE(length > 0.01);
  const jt::Vec3f normal{static_cast<float>(v[0] / length), static_cast<float>(v[1] / length),
                         static_cast<float>(v[2] / length)};
  const Deering plain(bits);
  const Deering tabulated(bits, 1U << 20);
  const DeeringCode code = DeeringEncoder(bits).encode(normal);
  const DeeringCode sameCode = DeeringEncoder(bits, 1U << 20).encode(normal);
  const jt::Vec3f decoded = plain.decode(code);
  RC_ASSERT(tabulated.decode(sameCode) == decoded);
  double distance = 0;
  for (std::size_t c = 0; c < 3; ++c)
    distance += std::pow(static_cast<double>(decoded[c]) - static_cast<double>(normal[c]), 2);
  RC_ASSERT(std::sqrt(distance) < 0.75 / (1 << bits) + 1e-6);
}

TEST(Quantizers, RoundToTheNearestStepAndClamp) {
  const UniformQuantizer q{-1, 3, 2};
  EXPECT_EQ(q.quantize(-9), 0U);
  EXPECT_EQ(q.quantize(9), 3U);
  EXPECT_EQ(q.quantize(0.4), 1U);
  EXPECT_FLOAT_EQ(q.dequantize(2), -1 + 2 * 4 / 3.0F);
  EXPECT_EQ((UniformQuantizer{5, 5, 8}).quantize(5), 0U);
  EXPECT_EQ((UniformQuantizer{5, 5, 8}).dequantize(0), 5);
  EXPECT_EQ((UniformQuantizer{0, 1, 32}).quantize(1), 0xffffffffU);
  EXPECT_EQ((UniformQuantizer{0, 1, 8}).quantize(std::nan("")), 0U);
}

/// Hue 0..6, saturation and value to red, green and blue.
jt::Vec3f rgbOf(float hue, float saturation, float value) {
  const auto share = [&](float strength) {
    return value * (1 - saturation + saturation * std::clamp(strength, 0.0F, 1.0F));
  };
  return {share(std::abs(hue - 3) - 1), share(2 - std::abs(hue - 2)), share(2 - std::abs(hue - 4))};
}

TEST(Arrays, ColorsByHueBecomeRedGreenAndBlue) {
  const std::vector<Values> codes{{25, 64, 102, 140, 191, 230},  // one in each sixth
                                  {96, 90, 84, 78, 72, 66},
                                  {45, 50, 55, 60, 40, 35},
                                  {9, 14, 19, 24, 29, 4}};
  const std::array<std::uint8_t, 4> bits{8, 7, 6, 5};
  for (const Generation generation : {Generation::v9, Generation::v10}) {
    CodedArray array;
    array.count = 6;
    array.components = 4;
    array.bits = 8;
    array.isHsv = 1;
    array.hsvBits = bits;
    array.codes = codes;
    if (generation == Generation::v10) {
      Values packed;
      for (std::size_t i = 0; i < codes[0].size(); ++i)
        packed.push_back(codes[0][i] << 18 | codes[1][i] << 11 | codes[2][i] << 5 | codes[3][i]);
      array.codes = {packed};
      array.hash = hash32(packed, 0);
    }
    Report report;
    const auto colors = decodeColors(array, generation, report);
    ASSERT_EQ(colors.size(), 6U);
    for (std::size_t i = 0; i < colors.size(); ++i) {
      const auto share = [&](std::size_t c) {
        return static_cast<float>(codes[c][i]) / static_cast<float>((1 << bits[c]) - 1);
      };
      const jt::Vec3f rgb = rgbOf(6 * share(0), share(1), share(2));
      for (std::size_t c = 0; c < 3; ++c) EXPECT_NEAR(colors[i][c], rgb[c], 1e-5F) << i << c;
      EXPECT_NEAR(colors[i][3], share(3), 1e-6F);
    }
  }
}

TEST(Arrays, LosslessTextureCoordinatesAreInterleaved) {
  const std::vector<float> expected{1.5F, -4, 2.5F, -5, 3.5F, -6};
  CodedArray array;
  array.count = 3;
  array.components = 2;
  array.codes.assign(2, Values(3));
  for (std::size_t i = 0; i < expected.size(); ++i)
    array.codes[i % 2][i / 2] = std::bit_cast<std::int32_t>(expected[i]);
  Report report;
  EXPECT_EQ(decodeTexture(array, Generation::v10, report), expected);
}

/// Every kind of array in both generations and both forms, from values to codes and back.
RC_GTEST_PROP(Arrays, EncodedValuesDecode, (bool isTen, bool lossless)) {
  const Generation generation = isTen ? Generation::v10 : Generation::v9;
  const auto count = *rc::gen::inRange<std::size_t>(0, 40);
  std::vector<jt::Vec3f> points(count);
  std::vector<Vec4> colors(count);
  std::vector<float> texture(2 * count);
  for (std::size_t i = 0; i < count; ++i) {
    for (float& c : points[i]) c = static_cast<float>(*rc::gen::inRange(-5000, 5000)) * 0.01F;
    for (float& c : colors[i]) c = static_cast<float>(*rc::gen::inRange(0, 256)) / 255.0F;
    texture[2 * i] = points[i][0] / 50;
    texture[2 * i + 1] = points[i][1] / 50;
  }
  Report report;
  const auto back = decodeCoordinates(encodeCoordinates(points, generation, lossless ? 0 : 20),
                                      generation, report);
  RC_ASSERT(back.size() == count);
  for (std::size_t i = 0; i < count; ++i)
    for (std::size_t c = 0; c < 3; ++c)
      RC_ASSERT(std::abs(back[i][c] - points[i][c]) <= (lossless ? 0 : 1e-4F));
  std::vector<std::uint32_t> order(count);
  std::iota(order.begin(), order.end(), 0U);
  if (lossless) {
    RC_ASSERT(decodeNormals(encodeNormals(points, order, generation, 0), generation, report) ==
              points);
  }
  const auto uv = decodeTexture(encodeTexture(texture, 2, 20), generation, report);
  for (std::size_t i = 0; i < uv.size(); ++i) RC_ASSERT(std::abs(uv[i] - texture[i]) < 1e-5F);
  CodedArray coded = encodeColors(colors, order, generation, 8);
  if (isTen && *rc::gen::arbitrary<bool>())  // a producer may predict them or not
    undoPrediction(Predictor::lag1, coded.codes[0]);
  const auto rgba = decodeColors(coded, generation, report);
  for (std::size_t i = 0; i < count; ++i)
    for (std::size_t c = 0; c < 4; ++c) RC_ASSERT(std::abs(rgba[i][c] - colors[i][c]) < 1e-4F);
  RC_ASSERT(report.warnings.empty());
  if (count > 0) {
    coded.hash ^= 1;
    decodeColors(coded, generation, report);
    RC_ASSERT(report.warnings.size() == 1U);
  }
}

}  // namespace
