#pragma once

// Finding the nearest code of a normal.

#include "codec/vertex/Deering.h"

namespace jt::codec {

class DeeringEncoder {
 public:
  /// @param expected normals to come; for many, angles are tabulated. @pre bits is 1..kMostBits
  explicit DeeringEncoder(unsigned bits, std::size_t expected = 0);

  /// The code that decodes nearest to a vector. A zero or non-finite vector counts as +Z.
  DeeringCode encode(const std::array<float, 3>& normal) const noexcept;

 private:
  struct Nearest {
    DeeringCode code;
    double closeness = -2;
  };
  int thetaBefore(double sine) const noexcept;
  int psiBefore(double sine) const noexcept;
  bool tryAround(std::uint32_t sextant, const std::array<double, 3>& towards,
                 Nearest& nearest) const noexcept;

  Deering deering_;
  int steps_;
  // If tabulated: where the search starts, by the sine. Most slices contain no step, so it ends
  // there.
  static constexpr int kParts = 4;  // a step
  std::vector<std::int16_t> thetaAt_;
  std::vector<std::int16_t> psiAt_;
};

}  // namespace jt::codec
