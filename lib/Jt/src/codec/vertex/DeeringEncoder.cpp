#include "codec/vertex/DeeringEncoder.h"

#include <algorithm>
#include <cmath>

namespace jt::codec {

namespace {

using Vector = std::array<double, 3>;

double dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

/// Sextant by the order of the absolute components; ties go to the odd one, since only odd sextants
/// reach the axes. A table, because branches would mispredict.
std::uint32_t sextantOf(const Vector& a) {
  constexpr std::array<std::uint8_t, 8> kByOrder{4, 2, 4, 3, 0, 1, 5, 1};
  const auto [x, y, z] = a;
  return kByOrder[(x >= y ? 4U : 0U) | (y >= z ? 2U : 0U) | (z >= x ? 1U : 0U)];
}

}  // namespace

DeeringEncoder::DeeringEncoder(unsigned bits, std::size_t expected)
    : deering_(bits, expected), steps_(1 << bits) {
  if (expected < static_cast<std::size_t>(steps_)) return;
  // The sines of theta fall, those of psi rise.
  int theta = steps_;
  int psi = 0;
  for (int part = 0; part <= kParts * steps_; ++part) {
    const double sine = static_cast<double>(part) / (kParts * steps_);
    while (theta >= 0 && deering_.theta(static_cast<std::uint32_t>(theta)).sine < sine) --theta;
    while (psi < steps_ && deering_.psi(static_cast<std::uint32_t>(psi) + 1).sine <= sine) ++psi;
    thetaAt_.push_back(static_cast<std::int16_t>(theta));
    psiAt_.push_back(static_cast<std::int16_t>(psi));
  }
}

DeeringCode DeeringEncoder::encode(const std::array<float, 3>& normal) const noexcept {
  Vector v{normal[0], normal[1], normal[2]};
  const double length = std::sqrt(dot(v, v));
  if (!(length > 0) || !std::isfinite(length)) return encode({0, 0, 1});
  Nearest nearest;
  Vector absolute;
  for (unsigned i = 0; i < 3; ++i) {
    v[i] /= length;
    absolute[i] = std::abs(v[i]);
    if (v[i] >= 0) nearest.code.octant |= 4U >> i;
  }
  const std::uint32_t middle = sextantOf(absolute);
  // A rounded code may lie beyond the edge of its sextant, so the neighbours are tried too.
  if (tryAround(middle, absolute, nearest)) return nearest.code;
  for (const std::uint32_t sextant : {(middle + 1) % 6, (middle + 5) % 6})
    tryAround(sextant, absolute, nearest);
  return nearest.code;
}

/// The last step of theta whose sine is not less; -1 or less when there is none.
int DeeringEncoder::thetaBefore(double sine) const noexcept {
  if (thetaAt_.empty())
    return static_cast<int>(std::floor(steps_ - std::atan(sine) / Deering::kPsiMax * steps_));
  int step = thetaAt_[static_cast<std::size_t>(std::min(1.0, sine) * kParts * steps_)];
  while (step >= 0 && deering_.theta(static_cast<std::uint32_t>(step)).sine < sine) --step;
  return step;
}

/// The last step of psi whose sine is not more.
int DeeringEncoder::psiBefore(double sine) const noexcept {
  sine = std::min(1.0, sine);
  if (psiAt_.empty()) return static_cast<int>(std::asin(sine) / Deering::kPsiMax * steps_);
  int step = psiAt_[static_cast<std::size_t>(sine * kParts * steps_)];
  while (step < steps_ && deering_.psi(static_cast<std::uint32_t>(step) + 1).sine <= sine) ++step;
  return step;
}

/// Tries the four codes around an unsigned direction. True if all lie inside the sextant, so that
/// no code of another sextant can be nearer.
bool DeeringEncoder::tryAround(std::uint32_t sextant, const Vector& towards,
                               Nearest& nearest) const noexcept {
  Vector base;
  for (unsigned i = 0; i < 3; ++i) base[Deering::kFromBase[sextant][i]] = towards[i];
  const int isOdd = static_cast<int>(sextant & 1);
  const int theta = thetaBefore(base[2] / std::sqrt(base[0] * base[0] + base[2] * base[2]));
  const int psi = psiBefore(base[1]);
  const int last = steps_ - 1;
  std::array<int, 2> thetas;
  std::array<int, 2> psis;
  std::array<double, 4> closeness;
  for (std::size_t k = 0; k < 2; ++k) {
    thetas[k] = std::clamp(theta + static_cast<int>(k) - isOdd, 0, last);
    psis[k] = std::clamp(psi + static_cast<int>(k), 0, last);
  }
  for (unsigned k = 0; k < 4; ++k) {
    const Deering::Angle t = deering_.theta(static_cast<std::uint32_t>(thetas[k & 1] + isOdd));
    const Deering::Angle p = deering_.psi(static_cast<std::uint32_t>(psis[k >> 1]));
    closeness[k] = dot({t.cosine * p.cosine, p.sine, t.sine * p.cosine}, base);
  }
  unsigned best = 0;
  for (unsigned k = 1; k < 4; ++k) best = closeness[k] > closeness[best] ? k : best;
  if (closeness[best] > nearest.closeness) {
    nearest.closeness = closeness[best];
    nearest.code.sextant = sextant;
    nearest.code.theta = static_cast<std::uint32_t>(thetas[best & 1]);
    nearest.code.psi = static_cast<std::uint32_t>(psis[best >> 1]);
  }
  return psi < last && theta >= isOdd && theta < last + isOdd && theta + psi + 2 <= steps_;
}

}  // namespace jt::codec
