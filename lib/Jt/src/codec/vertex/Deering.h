#pragma once

// Normals by sextant, octant and two angles, after M. Deering, "Geometry Compression" (1995).

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
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

  struct Angle {
    double cosine = 0;
    double sine = 0;
  };

  /// @param expected codes to come; few bits or many codes have the angles tabulated.
  /// @pre bits is 1..kMostBits
  explicit Deering(unsigned bits, std::size_t expected = 0);

  /// Decodes to a unit vector. Out-of-range fields are clamped.
  std::array<float, 3> decode(const DeeringCode& code) const noexcept {
    const std::uint32_t sextant = std::min(code.sextant, 5U);
    const Angle t = theta(std::min(code.theta, steps_ - 1) + (sextant & 1));
    const Angle p = psi(std::min(code.psi, steps_ - 1));
    const std::array<double, 3> base{t.cosine * p.cosine, p.sine, t.sine * p.cosine};
    const auto& from = kFromBase[sextant];
    const std::uint32_t octant = std::min(code.octant, 7U);
    std::array<float, 3> result;
    for (unsigned i = 0; i < 3; ++i)  // by a product: a branch would mispredict
      result[i] = static_cast<float>(base[from[i]] * kSigns[(octant >> (2 - i)) & 1]);
    return result;
  }

  DeeringCode unpack(std::uint32_t packed) const noexcept {
    const std::uint32_t mask = steps_ - 1;
    return {packed >> (2 * bits_ + 3), (packed >> (2 * bits_)) & 7, (packed >> bits_) & mask,
            packed & mask};
  }
  std::uint32_t pack(const DeeringCode& code) const noexcept {
    return code.sextant << (2 * bits_ + 3) | code.octant << (2 * bits_) | code.theta << bits_ |
           code.psi;
  }
  bool inRange(const DeeringCode& code) const noexcept {
    return code.sextant < 6 && code.octant < 8 && code.theta < steps_ && code.psi < steps_;
  }

  /// The angles of the first sextant. @pre step <= 2^bits
  Angle theta(std::uint32_t step) const noexcept {
    return angles_ ? angles_->thetas[step] : exactTheta(step, steps_);
  }
  Angle psi(std::uint32_t step) const noexcept {
    return angles_ ? angles_->psis[step] : exactPsi(step, steps_);
  }

 private:
  struct Angles {
    std::vector<Angle> thetas;
    std::vector<Angle> psis;

    explicit Angles(std::uint32_t steps);
  };
  static constexpr std::array<double, 2> kSigns{-1, 1};

  static std::shared_ptr<const Angles> ofFewBits(unsigned bits);
  static Angle exactTheta(std::uint32_t step, std::uint32_t steps) noexcept;
  static Angle exactPsi(std::uint32_t step, std::uint32_t steps) noexcept;

  unsigned bits_;
  std::uint32_t steps_;
  std::shared_ptr<const Angles> angles_;
};

}  // namespace jt::codec
