#include "codec/vertex/VertexArrays.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

#include "base/Bytes.h"
#include "base/Hash.h"
#include "base/PageMemory.h"
#include "codec/vertex/DeeringEncoder.h"

namespace jt::codec {

namespace {

using Codes = std::vector<std::int32_t>;

std::size_t sizeOf(const CodedArray& array) {
  if (array.count < 0)
    fail("bad_count", "a vertex array of " + std::to_string(array.count) + " entries");
  return static_cast<std::size_t>(array.count);
}

/// Every vector has as many codes as the array has entries.
void checkSizes(const CodedArray& array, std::size_t vectors, const char* what) {
  const std::size_t count = sizeOf(array);
  bool fits = array.codes.size() == vectors;
  for (const Codes& codes : array.codes) fits = fits && codes.size() == count;
  if (!fits)
    fail("bad_count", std::string(what) + ": expected " + std::to_string(vectors) + " vectors of " +
                          std::to_string(count) + " codes");
}

void checkComponents(const CodedArray& array, unsigned least, unsigned most, const char* what) {
  if (array.components < least || array.components > most)
    fail("bad_value",
         std::string(what) + " with " + std::to_string(array.components) + " components");
}

std::uint32_t chainedHash(const std::vector<Codes>& vectors) {
  std::uint32_t hash = 0;
  for (const Codes& codes : vectors) hash = hash32(codes, hash);
  return hash;
}

/// Float bits by component, reassembled from the generation's form.
std::vector<Codes> floatBits(const std::vector<Codes>& codes, Generation generation) {
  if (generation != Generation::v9) return codes;
  std::vector<Codes> bits(codes.size() / 2);
  for (std::size_t c = 0; c < bits.size(); ++c) {
    bits[c].resize(codes[2 * c].size());
    for (std::size_t i = 0; i < bits[c].size(); ++i)
      bits[c][i] = static_cast<std::int32_t>(static_cast<std::uint32_t>(codes[2 * c][i]) << 23 |
                                             static_cast<std::uint32_t>(codes[2 * c + 1][i]));
  }
  return bits;
}

/// The inverse: sign and exponent apart from the mantissa in 9.x.
std::vector<Codes> splitFloats(std::vector<Codes> bits, Generation generation) {
  if (generation != Generation::v9) return bits;
  std::vector<Codes> codes;
  for (const Codes& component : bits) {
    Codes& exponents = codes.emplace_back(component.size());
    for (std::size_t i = 0; i < component.size(); ++i)
      exponents[i] = static_cast<std::int32_t>(static_cast<std::uint32_t>(component[i]) >> 23);
    Codes& mantissae = codes.emplace_back(component.size());
    for (std::size_t i = 0; i < component.size(); ++i) mantissae[i] = component[i] & 0x7fffff;
  }
  return codes;
}

/// Hash of lossless values; 9.x hashes one value at a time.
std::uint32_t losslessHash(const std::vector<Codes>& bits, Generation generation) {
  if (generation != Generation::v9) return chainedHash(bits);
  std::uint32_t hash = 0;
  for (const Codes& component : bits)
    for (const std::int32_t& value : component) hash = hash32({&value, 1}, hash);
  return hash;
}

/// The alternative order of 9.x values.
std::uint32_t vertexByVertexHash(const std::vector<Codes>& bits) {
  std::uint32_t hash = 0;
  for (std::size_t i = 0; !bits.empty() && i < bits[0].size(); ++i)
    for (const Codes& component : bits) hash = hash32({&component[i], 1}, hash);
  return hash;
}

/// Only of 9.x: other lossless arrays are hashed as they are stored.
void checkLosslessHash(const CodedArray& array, const std::vector<Codes>& bits,
                       Generation generation, const char* what, Report& report) {
  if (!report.checkHashes || generation != Generation::v9) return;
  const std::uint32_t hash = losslessHash(bits, generation);
  if (hash != array.hash && vertexByVertexHash(bits) == array.hash) return;
  report.compareHash(what, array.hash, hash);
}

/// Finds out by the hash whether codes are predicted; the expected way when neither matches.
std::vector<Codes> settlePrediction(const CodedArray& array, Generation generation, bool lossless,
                                    const char* what, Report& report) {
  std::vector<Codes> plain = array.codes;
  std::vector<Codes> lagged = array.codes;
  for (Codes& codes : lagged) undoPrediction(Predictor::lag1, codes);
  const auto hashOf = [&](const std::vector<Codes>& codes) {
    return lossless ? losslessHash(floatBits(codes, generation), generation) : chainedHash(codes);
  };
  const bool expectLagged = generation == Generation::v10;
  std::vector<Codes>& expected = expectLagged ? lagged : plain;
  std::vector<Codes>& other = expectLagged ? plain : lagged;
  const std::uint32_t hash = hashOf(expected);
  if (hash == array.hash) return expected;
  if (hashOf(other) == array.hash) return other;
  report.compareHash(what, array.hash, hash);
  return expected;
}

float asFloat(std::int32_t bits) { return std::bit_cast<float>(bits); }
std::int32_t asBits(float value) { return std::bit_cast<std::int32_t>(value); }

/// Float bits of each component of three-component values.
std::vector<Codes> componentBits(std::span<const Vec3f> values) {
  std::vector<Codes> bits(3, Codes(values.size()));
  for (std::size_t i = 0; i < values.size(); ++i)
    for (std::size_t c = 0; c < 3; ++c) bits[c][i] = asBits(values[i][c]);
  return bits;
}

std::vector<Vec3f> vectorsOf(const std::vector<Codes>& bits, std::size_t count) {
  std::vector<Vec3f> values(count);
  for (std::size_t c = 0; c < 3; ++c)
    for (std::size_t i = 0; i < count; ++i) values[i][c] = asFloat(bits[c][i]);
  return values;
}

/// Dequantizes with the loop invariants hoisted.
template <class Put>
void dequantizeAll(const UniformQuantizer& quantizer, const Codes& codes, Put put) {
  const double maxCode =
      quantizer.bits < 32 ? static_cast<double>((1ULL << quantizer.bits) - 1) : 4294967295.0;
  const double min = quantizer.min;
  const double step = maxCode > 0 ? (static_cast<double>(quantizer.max) - min) / maxCode : 0;
  for (std::size_t i = 0; i < codes.size(); ++i)
    put(i,
        static_cast<float>(min + static_cast<double>(static_cast<std::uint32_t>(codes[i])) * step));
}

/// The inverse. @param value of an index
template <class Value>
Codes quantizeAll(const UniformQuantizer& quantizer, std::size_t count, Value value) {
  Codes codes(count);
  const double maxCode =
      quantizer.bits < 32 ? static_cast<double>((1ULL << quantizer.bits) - 1) : 4294967295.0;
  const double min = quantizer.min;
  const double range = static_cast<double>(quantizer.max) - min;
  if (!(range > 0)) return codes;
  const double scale = maxCode / range;
  for (std::size_t i = 0; i < count; ++i) {
    const double code = std::min((static_cast<double>(value(i)) - min) * scale + 0.5, maxCode);
    codes[i] = code >= 1 ? static_cast<std::int32_t>(static_cast<std::int64_t>(code)) : 0;
  }
  return codes;
}

/// A quantizer from the least to the greatest value.
template <class Value>
UniformQuantizer quantizerOver(std::size_t count, unsigned bits, Value value) {
  UniformQuantizer quantizer{0, 0, static_cast<std::uint8_t>(bits)};
  if (count > 0) quantizer.min = quantizer.max = value(0);
  for (std::size_t i = 1; i < count; ++i) {
    quantizer.min = std::min(quantizer.min, value(i));
    quantizer.max = std::max(quantizer.max, value(i));
  }
  return quantizer;
}

void checkQuantizers(const CodedArray& array, std::size_t count, const char* what) {
  bool fits = array.quantizers.size() >= count;
  for (const UniformQuantizer& quantizer : array.quantizers) fits = fits && quantizer.bits <= 32;
  if (!fits) fail("bad_value", std::string(what) + ": a quantizer of more than 32 bits");
}

template <class T>
std::vector<T> gather(std::span<const T> values, std::span<const std::uint32_t> order) {
  std::vector<T> result(order.size());
  for (std::size_t i = 0; i < order.size(); ++i) result[i] = values[order[i]];
  return result;
}

/// Packed codes of normals in an order; where many are used several times, each is encoded once.
Codes packedCodes(std::span<const Vec3f> normals, std::span<const std::uint32_t> order,
                  unsigned bits) {
  const DeeringEncoder encoder(bits, std::min(normals.size(), order.size()));
  const Deering deering(bits);
  Codes codes;
  const auto add = [&](const Vec3f& normal) {
    codes.push_back(static_cast<std::int32_t>(deering.pack(encoder.encode(normal))));
  };
  codes.reserve(std::min(normals.size(), order.size()));
  if (normals.size() > order.size()) {
    for (const std::uint32_t index : order) add(normals[index]);
    return codes;
  }
  for (const Vec3f& normal : normals) add(normal);
  return gather<std::int32_t>(codes, order);
}

std::array<float, 3> rgbOfHsv(float hue, float saturation, float value) {
  hue = hue > 0 ? std::min(hue, 6.0F) : 0;
  const float sector = std::floor(hue);
  const float f = hue - sector;
  const float p = value * (1 - saturation);
  const float q = value * (1 - saturation * f);
  const float t = value * (1 - saturation * (1 - f));
  switch (static_cast<int>(sector) % 6) {
    case 0:
      return {value, t, p};
    case 1:
      return {q, value, p};
    case 2:
      return {p, value, t};
    case 3:
      return {p, q, value};
    case 4:
      return {t, p, value};
    default:
      return {value, p, q};
  }
}

/// Quantizers of the four color components, in either stored form.
std::array<UniformQuantizer, 4> colorQuantizers(const CodedArray& array) {
  std::array<UniformQuantizer, 4> quantizers;
  if (array.isHsv != 0) {
    for (std::size_t c = 0; c < 4; ++c) quantizers[c] = {0, c == 0 ? 6.0F : 1.0F, array.hsvBits[c]};
  } else {
    checkQuantizers(array, 4, "colors");
    std::copy_n(array.quantizers.begin(), 4, quantizers.begin());
  }
  for (const UniformQuantizer& quantizer : quantizers)
    if (quantizer.bits > 32) fail("bad_value", "colors: a quantizer of more than 32 bits");
  return quantizers;
}

/// Packed color codes, first component on top, in one vector a component.
std::vector<Codes> unpackColors(const Codes& packed,
                                const std::array<UniformQuantizer, 4>& quantizers) {
  std::vector<Codes> codes(4, Codes(packed.size()));
  for (std::size_t i = 0; i < packed.size(); ++i) {
    auto rest = std::uint64_t{static_cast<std::uint32_t>(packed[i])};
    for (std::size_t c = 4; c-- > 0;) {
      codes[c][i] = static_cast<std::int32_t>(rest & ((1ULL << quantizers[c].bits) - 1));
      rest >>= quantizers[c].bits;
    }
  }
  return codes;
}

}  // namespace

void Report::add(const char* code, std::string message) {
  constexpr std::size_t kMost = 100;
  if (warnings.size() < kMost) warnings.push_back({code, std::move(message)});
}

void Report::compareHash(const char* what, std::uint32_t stored, std::uint32_t computed) {
  if (checkHashes && stored != computed)
    add("hash_mismatch",
        std::string("the stored hash of the ") + what + " is not that of the decoded values");
}

std::uint32_t UniformQuantizer::quantize(double value) const noexcept {
  return static_cast<std::uint32_t>(
      quantizeAll(*this, 1, [value](std::size_t) { return value; })[0]);
}

float UniformQuantizer::dequantize(std::uint32_t code) const noexcept {
  float value = 0;
  dequantizeAll(*this, {static_cast<std::int32_t>(code)}, [&](std::size_t, float v) { value = v; });
  return value;
}

std::size_t codeVectors(std::size_t components, bool lossless, Generation generation) noexcept {
  return lossless && generation == Generation::v9 ? 2 * components : components;
}

std::vector<Vec3f> decodeCoordinates(const CodedArray& array, Generation generation,
                                     Report& report) {
  checkComponents(array, 3, 3, "coordinates");
  const bool lossless = !array.quantizedCoordinates();
  checkSizes(array, codeVectors(3, lossless, generation), "coordinates");
  if (lossless) {
    const std::vector<Codes> bits = floatBits(array.codes, generation);
    checkLosslessHash(array, bits, generation, "coordinates", report);
    return vectorsOf(bits, sizeOf(array));
  }
  checkQuantizers(array, 3, "coordinates");
  std::vector<Vec3f> values;
  storage::fillLarge(values, sizeOf(array));
  for (std::size_t c = 0; c < 3; ++c)
    dequantizeAll(array.quantizers[c], array.codes[c],
                  [&](std::size_t i, float value) { values[i][c] = value; });
  return values;
}

std::vector<Vec3f> decodeNormals(const CodedArray& array, Generation generation, Report& report) {
  checkComponents(array, 3, 3, "normals");
  const std::size_t count = sizeOf(array);
  if (array.bits == 0) {
    checkSizes(array, codeVectors(3, true, generation), "normals");
    const std::vector<Codes> bits = floatBits(array.codes, generation);
    checkLosslessHash(array, bits, generation, "normals", report);
    return vectorsOf(bits, count);
  }
  if (array.bits > Deering::kMostBits)
    fail("bad_value", "normals of " + std::to_string(array.bits) + " bits an angle");
  const bool packed = generation == Generation::v10;
  checkSizes(array, packed ? 1 : 4, "normals");
  const Deering deering(array.bits, count);
  std::vector<Vec3f> normals(count);
  std::size_t outOfRange = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const auto part = [&](std::size_t k) { return static_cast<std::uint32_t>(array.codes[k][i]); };
    const DeeringCode code =
        packed ? deering.unpack(part(0)) : DeeringCode{part(0), part(1), part(2), part(3)};
    if (!deering.inRange(code)) ++outOfRange;
    normals[i] = deering.decode(code);
  }
  if (outOfRange > 0)
    report.add("code_range", std::to_string(outOfRange) + " normals have codes out of range");
  return normals;
}

std::vector<float> decodeTexture(const CodedArray& array, Generation generation, Report& report) {
  checkComponents(array, 1, 4, "texture coordinates");
  const std::size_t components = array.components;
  const bool lossless = array.bits == 0;
  checkSizes(array, codeVectors(components, lossless, generation), "texture coordinates");
  std::vector<float> values(sizeOf(array) * components);
  if (lossless) {
    const auto bits = floatBits(
        settlePrediction(array, generation, true, "texture coordinates", report), generation);
    for (std::size_t c = 0; c < components; ++c)
      for (std::size_t i = 0; i < bits[c].size(); ++i)
        values[i * components + c] = asFloat(bits[c][i]);
    return values;
  }
  checkQuantizers(array, components, "texture coordinates");
  if (report.checkHashes && generation != Generation::v8)
    report.compareHash("texture coordinates", array.hash, chainedHash(array.codes));
  for (std::size_t c = 0; c < components; ++c)
    dequantizeAll(array.quantizers[c], array.codes[c],
                  [&](std::size_t i, float value) { values[i * components + c] = value; });
  return values;
}

std::vector<Vec4> decodeColors(const CodedArray& array, Generation generation, Report& report) {
  checkComponents(array, 3, 4, "colors");
  std::vector<Vec4> colors(sizeOf(array), Vec4{0, 0, 0, 1});
  if (array.bits == 0) {
    checkSizes(array, codeVectors(array.components, true, generation), "colors");
    const auto bits =
        floatBits(settlePrediction(array, generation, true, "colors", report), generation);
    for (std::size_t c = 0; c < bits.size(); ++c)
      for (std::size_t i = 0; i < bits[c].size(); ++i) colors[i][c] = asFloat(bits[c][i]);
    return colors;
  }
  const bool packed = generation == Generation::v10;
  checkSizes(array, packed ? 1 : 4, "colors");
  const std::array<UniformQuantizer, 4> quantizers = colorQuantizers(array);
  std::vector<Codes> codes = array.codes;
  if (packed) {
    codes =
        unpackColors(settlePrediction(array, generation, false, "colors", report)[0], quantizers);
  } else if (report.checkHashes && generation != Generation::v8) {
    report.compareHash("colors", array.hash, chainedHash(array.codes));
  }
  for (std::size_t c = 0; c < array.components; ++c)
    dequantizeAll(quantizers[c], codes[c],
                  [&](std::size_t i, float value) { colors[i][c] = value; });
  if (array.isHsv != 0)
    for (Vec4& color : colors) {
      const auto rgb = rgbOfHsv(color[0], color[1], color[2]);
      std::ranges::copy(rgb, color.begin());
    }
  return colors;
}

CodedArray encodeCoordinates(std::span<const Vec3f> values, Generation generation, unsigned bits) {
  CodedArray array;
  array.count = static_cast<std::int32_t>(values.size());
  for (std::size_t c = 0; c < 3; ++c)
    array.quantizers.push_back(
        quantizerOver(values.size(), bits, [&values, c](std::size_t i) { return values[i][c]; }));
  if (bits == 0) {
    std::vector<Codes> floats = componentBits(values);
    array.hash = losslessHash(floats, generation);
    array.codes = splitFloats(std::move(floats), generation);
    return array;
  }
  for (std::size_t c = 0; c < 3; ++c)
    array.codes.push_back(quantizeAll(array.quantizers[c], values.size(),
                                      [&values, c](std::size_t i) { return values[i][c]; }));
  array.hash = chainedHash(array.codes);
  return array;
}

CodedArray encodeNormals(std::span<const Vec3f> values, std::span<const std::uint32_t> order,
                         Generation generation, unsigned bits) {
  CodedArray array;
  array.count = static_cast<std::int32_t>(order.size());
  array.bits = static_cast<std::uint8_t>(bits);
  if (bits == 0) {
    std::vector<Codes> floats = componentBits(gather(values, order));
    array.hash = losslessHash(floats, generation);
    array.codes = splitFloats(std::move(floats), generation);
    return array;
  }
  array.codes.push_back(packedCodes(values, order, bits));
  if (generation != Generation::v10) {
    const Codes packed = std::exchange(array.codes, std::vector<Codes>(4, Codes(order.size())))[0];
    const Deering deering(bits);
    for (std::size_t i = 0; i < packed.size(); ++i) {
      const DeeringCode code = deering.unpack(static_cast<std::uint32_t>(packed[i]));
      const std::uint32_t parts[] = {code.sextant, code.octant, code.theta, code.psi};
      for (std::size_t k = 0; k < 4; ++k) array.codes[k][i] = static_cast<std::int32_t>(parts[k]);
    }
  }
  array.hash = chainedHash(array.codes);
  return array;
}

CodedArray encodeTexture(std::span<const float> values, unsigned components, unsigned bits) {
  CodedArray array;
  const std::size_t count = values.size() / components;
  array.count = static_cast<std::int32_t>(count);
  array.components = static_cast<std::uint8_t>(components);
  array.bits = static_cast<std::uint8_t>(bits);
  for (std::size_t c = 0; c < components; ++c) {
    const auto value = [&](std::size_t i) { return values[i * components + c]; };
    array.quantizers.push_back(quantizerOver(count, bits, value));
    array.codes.push_back(quantizeAll(array.quantizers[c], count, value));
  }
  array.hash = chainedHash(array.codes);
  return array;
}

CodedArray encodeColors(std::span<const Vec4> values, std::span<const std::uint32_t> order,
                        Generation generation, unsigned bits) {
  CodedArray array;
  array.count = static_cast<std::int32_t>(order.size());
  array.components = 4;
  array.bits = static_cast<std::uint8_t>(bits);
  array.quantizers.assign(4, UniformQuantizer{0, 1, array.bits});
  std::vector<Codes> codes;
  for (std::size_t c = 0; c < 4; ++c)
    codes.push_back(quantizeAll(array.quantizers[c], order.size(),
                                [&](std::size_t i) { return values[order[i]][c]; }));
  if (generation != Generation::v10) {
    array.codes = std::move(codes);
  } else {
    Codes& packed = array.codes.emplace_back(order.size());
    for (std::size_t i = 0; i < order.size(); ++i)
      for (std::size_t c = 0; c < 4; ++c)
        packed[i] = static_cast<std::int32_t>(static_cast<std::uint32_t>(packed[i]) << bits |
                                              static_cast<std::uint32_t>(codes[c][i]));
  }
  array.hash = chainedHash(array.codes);
  if (generation == Generation::v10) predict(Predictor::lag1, array.codes[0]);
  return array;
}

}  // namespace jt::codec
