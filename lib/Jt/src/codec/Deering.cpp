#include "Deering.h"

#include <algorithm>
#include <cmath>

namespace jt::codec {

namespace {

using Vector = std::array<double, 3>;

}  // namespace

Deering::Deering(unsigned bits, std::size_t expected) : bits_(bits), steps_(1U << bits) {
  if (expected < steps_) return;
  std::vector<Angle> thetas(steps_ + 1);
  std::vector<Angle> psis(steps_ + 1);
  for (std::uint32_t i = 0; i <= steps_; ++i) {
    thetas[i] = theta(i);
    psis[i] = psi(i);
  }
  thetas_ = std::move(thetas);
  psis_ = std::move(psis);
}

Deering::Angle Deering::exactTheta(std::uint32_t step) const noexcept {
  const double sine = std::min(1.0, std::tan(kPsiMax * (steps_ - step) / steps_));
  return {std::sqrt(1 - sine * sine), sine};
}

Deering::Angle Deering::exactPsi(std::uint32_t step) const noexcept {
  const double angle = kPsiMax * step / steps_;
  return {std::cos(angle), std::sin(angle)};
}

std::array<double, 3> Deering::direction(const DeeringCode& code) const noexcept {
  const std::uint32_t sextant = std::min(code.sextant, 5U);
  const Angle t = theta(std::min(code.theta, steps_ - 1) + (sextant & 1));
  const Angle p = psi(std::min(code.psi, steps_ - 1));
  const Vector base{t.cosine * p.cosine, p.sine, t.sine * p.cosine};
  const auto& from = kFromBase[sextant];
  Vector result{base[from[0]], base[from[1]], base[from[2]]};
  for (unsigned i = 0; i < 3; ++i)
    if ((std::min(code.octant, 7U) & (4U >> i)) == 0) result[i] = -result[i];
  return result;
}

std::array<float, 3> Deering::decode(const DeeringCode& code) const noexcept {
  const Vector v = direction(code);
  return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

DeeringCode Deering::unpack(std::uint32_t packed) const noexcept {
  const std::uint32_t mask = steps_ - 1;
  return {packed >> (2 * bits_ + 3), (packed >> (2 * bits_)) & 7, (packed >> bits_) & mask,
          packed & mask};
}

std::uint32_t Deering::pack(const DeeringCode& code) const noexcept {
  return code.sextant << (2 * bits_ + 3) | code.octant << (2 * bits_) | code.theta << bits_ |
         code.psi;
}

bool Deering::inRange(const DeeringCode& code) const noexcept {
  return code.sextant < 6 && code.octant < 8 && code.theta < steps_ && code.psi < steps_;
}

}  // namespace jt::codec
