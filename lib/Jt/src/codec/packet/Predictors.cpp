#include "codec/packet/Predictors.h"

#include <cstddef>

namespace jt::codec {

namespace {

constexpr std::size_t kPlain = 4;  // leading values, never predicted

/// Calls `step(value, i)` with a predicting function of the values before `i`. Unsigned numbers,
/// since they must wrap.
template <class Steps>
void dispatch(Predictor predictor, const std::uint32_t* v, Steps steps) {
  switch (predictor) {
    case Predictor::none:
      return;
    case Predictor::lag1:
      return steps([v](std::size_t i) { return v[i - 1]; });
    case Predictor::lag2:
      return steps([v](std::size_t i) { return v[i - 2]; });
    case Predictor::stride1:
      return steps([v](std::size_t i) { return 2 * v[i - 1] - v[i - 2]; });
    case Predictor::stride2:
      return steps([v](std::size_t i) { return 2 * v[i - 2] - v[i - 4]; });
    case Predictor::stripIndex:
      return steps([v](std::size_t i) {
        const auto step = static_cast<std::int32_t>(v[i - 2] - v[i - 4]);
        return v[i - 2] + (-8 < step && step < 8 ? static_cast<std::uint32_t>(step) : 2U);
      });
    case Predictor::ramp:
      return steps([](std::size_t i) { return static_cast<std::uint32_t>(i); });
    case Predictor::xor1:
    case Predictor::xor2:
      return;  // not sums; see below
  }
}

std::size_t xorDistance(Predictor predictor) {
  return predictor == Predictor::xor1 ? 1 : predictor == Predictor::xor2 ? 2 : 0;
}

std::uint32_t* asUnsigned(std::span<std::int32_t> values) {
  return reinterpret_cast<std::uint32_t*>(values.data());
}

}  // namespace

void undoPrediction(Predictor predictor, std::span<std::int32_t> values) {
  std::uint32_t* const v = asUnsigned(values);
  const std::size_t count = values.size();
  if (const std::size_t distance = xorDistance(predictor))
    for (std::size_t i = kPlain; i < count; ++i) v[i] ^= v[i - distance];
  dispatch(predictor, v, [&](auto predicted) {
    for (std::size_t i = kPlain; i < count; ++i) v[i] += predicted(i);
  });
}

void predict(Predictor predictor, std::span<std::int32_t> values) {
  std::uint32_t* const v = asUnsigned(values);
  if (const std::size_t distance = xorDistance(predictor))
    for (std::size_t i = values.size(); i-- > kPlain;) v[i] ^= v[i - distance];
  dispatch(predictor, v, [&](auto predicted) {
    // From the end, so that predictions use values, not residuals.
    for (std::size_t i = values.size(); i-- > kPlain;) v[i] -= predicted(i);
  });
}

}  // namespace jt::codec
