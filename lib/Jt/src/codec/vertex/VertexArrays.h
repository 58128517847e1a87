#pragma once

// Arrays of vertex data as elements store them, and the numbers that they represent.

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "JtDiagnostic.h"
#include "JtMesh.h"
#include "codec/packet/Contexts.h"
#include "codec/packet/Predictors.h"

namespace jt::codec {

/// The generations of shape data.
enum class Generation : std::uint8_t { v8, v9, v10 };

constexpr PacketKind packetKind(Generation generation) noexcept {
  return generation == Generation::v8   ? PacketKind::mk1
         : generation == Generation::v9 ? PacketKind::mk2
                                        : PacketKind::mk3;
}

/// Checks to make while decoding, and the diagnostics.
struct Report {
  bool checkHashes = true;
  std::vector<Diagnostic> warnings;

  void add(const char* code, std::string message);
  /// Adds a diagnostic if the stored hash differs from the computed one.
  void compareHash(const char* what, std::uint32_t stored, std::uint32_t computed);
};

/// Evenly spaced values between two ends.
struct UniformQuantizer {
  float min = 0;
  float max = 0;
  std::uint8_t bits = 0;  ///< at most 32

  std::uint32_t quantize(double value) const noexcept;
  float dequantize(std::uint32_t code) const noexcept;
};

/// An array of coordinates, normals, colors or texture coordinates with its codes. How many
/// vectors of codes there are, and what they mean, depends on the kind of array, the generation and
/// whether it is quantized. The bit patterns of codes are kept in signed integers.
struct CodedArray {
  std::int32_t count = 0;
  std::uint8_t components = 3;
  std::uint8_t bits = 0;  ///< not stored for coordinates; 0 is lossless
  std::vector<UniformQuantizer> quantizers;
  std::uint8_t isHsv = 0;                 ///< colors
  std::array<std::uint8_t, 4> hsvBits{};  ///< colors, when isHsv
  std::vector<std::vector<std::int32_t>> codes;
  std::uint32_t hash = 0;

  /// True for coordinates that are quantized.
  bool quantizedCoordinates() const noexcept {
    return !quantizers.empty() && quantizers[0].bits > 0;
  }
};

using Vec4 = std::array<float, 4>;

/// The numbers of an array. Throw JtFormatError when codes and count do not fit each other; a hash
/// that does not match is only a warning. Hashes of the codes of coordinates and normals as they
/// are stored are left to the caller, who can work out several at a time. Codes of lossless texture
/// coordinates and colors, and of 10.x packed colors, are expected with prediction in place:
/// whether they are predicted is found out by the hash.
std::vector<Vec3f> decodeCoordinates(const CodedArray& array, Generation generation,
                                     Report& report);
std::vector<Vec3f> decodeNormals(const CodedArray& array, Generation generation, Report& report);
/// array.components values a record.
std::vector<float> decodeTexture(const CodedArray& array, Generation generation, Report& report);
std::vector<Vec4> decodeColors(const CodedArray& array, Generation generation, Report& report);

/// The inverse, with hash. @param bits of a coordinate 1..32, or of an angle 1..13; 0 is lossless
/// @param order index of the value of each record
CodedArray encodeCoordinates(std::span<const Vec3f> values, Generation generation, unsigned bits);
CodedArray encodeNormals(std::span<const Vec3f> values, std::span<const std::uint32_t> order,
                         Generation generation, unsigned bits);
/// @pre bits is 1..24: the lossless forms are not certain enough to be written
CodedArray encodeTexture(std::span<const float> values, unsigned components, unsigned bits);
CodedArray encodeColors(std::span<const Vec4> values, std::span<const std::uint32_t> order,
                        Generation generation, unsigned bits);

/// How many vectors of codes an array has.
std::size_t codeVectors(std::size_t components, bool lossless, Generation generation) noexcept;

}  // namespace jt::codec
