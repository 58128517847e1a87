#pragma once

// Normals by sextant, octant and two angles, after M. Deering, "Geometry Compression" (1995).

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace jt::codec {

/// A direction as a code. theta and psi are below 2^bits.
struct DeeringCode {
  std::uint32_t sextant = 0;  ///< 0..5: order of the absolute components
  std::uint32_t octant = 0;   ///< 0..7: bits 4, 2, 1 are set for x, y, z that are not negative
  std::uint32_t theta = 0;
  std::uint32_t psi = 0;
};

/// Decodes directions with a number of bits an angle.
class Deering {
 public:
  static constexpr unsigned kMostBits = 13;       ///< a packed code takes 6 + 2 * bits of 32
  static constexpr double kPsiMax = 0.615479709;  ///< atan(1 / sqrt(2))
  /// Where the components of a direction of each sextant come from in the first one.
  static constexpr std::array<std::array<std::uint8_t, 3>, 6> kFromBase{
      {{0, 1, 2}, {2, 1, 0}, {1, 2, 0}, {1, 0, 2}, {2, 0, 1}, {0, 2, 1}}};

  /// @param expected codes to come; for many, the angles are tabulated. @pre bits is 1..kMostBits
  explicit Deering(unsigned bits, std::size_t expected = 0);

  /// A unit vector. Parts out of range are taken as their greatest value.
  std::array<float, 3> decode(const DeeringCode& code) const noexcept;

  DeeringCode unpack(std::uint32_t packed) const noexcept;
  std::uint32_t pack(const DeeringCode& code) const noexcept;
  bool inRange(const DeeringCode& code) const noexcept;

  struct Angle {
    double cosine = 0;
    double sine = 0;
  };
  /// The angles of the first sextant. @pre step <= 2^bits
  Angle theta(std::uint32_t step) const noexcept {
    return thetas_.empty() ? exactTheta(step) : thetas_[step];
  }
  Angle psi(std::uint32_t step) const noexcept {
    return psis_.empty() ? exactPsi(step) : psis_[step];
  }

 private:
  Angle exactTheta(std::uint32_t step) const noexcept;
  Angle exactPsi(std::uint32_t step) const noexcept;
  std::array<double, 3> direction(const DeeringCode& code) const noexcept;

  unsigned bits_;
  std::uint32_t steps_;
  std::vector<Angle> thetas_;
  std::vector<Angle> psis_;
};

}  // namespace jt::codec
