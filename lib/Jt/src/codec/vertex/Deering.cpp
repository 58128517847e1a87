#include "codec/vertex/Deering.h"

#include <cmath>

namespace jt::codec {

namespace {

constexpr unsigned kFewBits = 8;

}  // namespace

Deering::Deering(unsigned bits, std::size_t expected) : bits_(bits), steps_(1U << bits) {
  if (bits <= kFewBits) {
    angles_ = ofFewBits(bits);
  } else if (expected >= steps_) {
    angles_ = std::make_shared<const Angles>(steps_);
  }
}

Deering::Angles::Angles(std::uint32_t steps) {
  for (std::uint32_t i = 0; i <= steps; ++i) {
    thetas.push_back(exactTheta(i, steps));
    psis.push_back(exactPsi(i, steps));
  }
}

/// Shared tables: small parts would spend more time building than using them.
std::shared_ptr<const Deering::Angles> Deering::ofFewBits(unsigned bits) {
  static const std::vector<std::shared_ptr<const Angles>> tables = [] {
    std::vector<std::shared_ptr<const Angles>> made;
    for (unsigned i = 0; i <= kFewBits; ++i)
      made.push_back(std::make_shared<const Angles>(1U << i));
    return made;
  }();
  return tables[bits];
}

Deering::Angle Deering::exactTheta(std::uint32_t step, std::uint32_t steps) noexcept {
  const double sine = std::min(1.0, std::tan(kPsiMax * (steps - step) / steps));
  return {std::sqrt(1 - sine * sine), sine};
}

Deering::Angle Deering::exactPsi(std::uint32_t step, std::uint32_t steps) noexcept {
  const double angle = kPsiMax * step / steps;
  return {std::cos(angle), std::sin(angle)};
}

}  // namespace jt::codec
