#include "Deering.h"

#include <algorithm>
#include <cmath>

namespace jt::codec {

namespace {

constexpr double kPsiMax = 0.615479709;  // atan(1 / sqrt(2))

/// Where the components of a direction of each sextant come from in the first one.
constexpr std::array<std::array<std::uint8_t, 3>, 6> kFromBase{
    {{0, 1, 2}, {2, 1, 0}, {1, 2, 0}, {1, 0, 2}, {2, 0, 1}, {0, 2, 1}}};

using Vector = std::array<double, 3>;

double dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

/// The sextant by the order of the absolute components; the odd one of two on a tie, since only odd
/// ones reach the axes.
std::uint32_t sextantOf(const Vector& a) {
  const auto [x, y, z] = a;
  if (z >= x && x >= y) return 1;
  if (y >= z && z >= x) return 3;
  if (x >= y && y >= z) return 5;
  if (x >= z && z >= y) return 0;
  if (z >= y && y >= x) return 2;
  return 4;
}

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

Deering::Angle Deering::theta(std::uint32_t step) const noexcept {
  if (!thetas_.empty()) return thetas_[step];
  const double sine = std::min(1.0, std::tan(kPsiMax * (steps_ - step) / steps_));
  return {std::cos(std::asin(sine)), sine};
}

Deering::Angle Deering::psi(std::uint32_t step) const noexcept {
  if (!psis_.empty()) return psis_[step];
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

DeeringCode Deering::encode(const std::array<float, 3>& normal) const noexcept {
  Vector v{normal[0], normal[1], normal[2]};
  const double length = std::sqrt(dot(v, v));
  if (!(length > 0) || !std::isfinite(length)) return encode({0, 0, 1});
  DeeringCode best;
  Vector absolute;
  for (unsigned i = 0; i < 3; ++i) {
    v[i] /= length;
    absolute[i] = std::abs(v[i]);
    if (v[i] >= 0) best.octant |= 4U >> i;
  }
  const std::uint32_t middle = sextantOf(absolute);
  double nearest = -2;
  // A rounded code may lie beyond the edge of its sextant, hence the neighbours.
  if (tryAround(middle, absolute, best, nearest)) return best;
  for (const std::uint32_t sextant : {(middle + 1) % 6, (middle + 5) % 6})
    tryAround(sextant, absolute, best, nearest);
  return best;
}

/// Tries the four codes round a direction without signs. True when they lie inside the sextant, so
/// that none of another can be nearer.
bool Deering::tryAround(std::uint32_t sextant, const Vector& towards, DeeringCode& best,
                        double& nearest) const noexcept {
  Vector base;
  for (unsigned i = 0; i < 3; ++i) base[kFromBase[sextant][i]] = towards[i];
  const auto n = static_cast<double>(steps_);
  const double slope = base[2] / std::sqrt(base[0] * base[0] + base[2] * base[2]);
  const auto psi0 = static_cast<int>(std::asin(std::min(1.0, base[1])) / kPsiMax * n);
  const auto theta0 = static_cast<int>(std::floor(n - std::atan(slope) / kPsiMax * n));
  const int last = static_cast<int>(steps_) - 1;
  for (int k = 0; k < 4; ++k) {
    const int theta = std::clamp(theta0 + (k & 1) - static_cast<int>(sextant & 1), 0, last);
    const int psi = std::clamp(psi0 + (k >> 1), 0, last);
    const Angle t = this->theta(static_cast<std::uint32_t>(theta) + (sextant & 1));
    const Angle p = this->psi(static_cast<std::uint32_t>(psi));
    const double closeness = dot({t.cosine * p.cosine, p.sine, t.sine * p.cosine}, base);
    if (closeness > nearest) {
      nearest = closeness;
      best.sextant = sextant;
      best.theta = static_cast<std::uint32_t>(theta);
      best.psi = static_cast<std::uint32_t>(psi);
    }
  }
  const bool isOdd = (sextant & 1) != 0;
  return psi0 + 1 <= last && theta0 >= (isOdd ? 1 : 0) && theta0 + 1 <= (isOdd ? last + 1 : last) &&
         theta0 + psi0 + 2 <= static_cast<int>(steps_);
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
