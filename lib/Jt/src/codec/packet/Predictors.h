#pragma once

// Predictors between a packet's values and the residuals that it stores.

#include <cstdint>
#include <span>

namespace jt::codec {

/// How a vector's values are predicted; the field decides, the packet does not say.
enum class Predictor : std::uint8_t {
  none,
  lag1,
  lag2,
  stride1,
  stride2,
  stripIndex,
  ramp,
  xor1,
  xor2,
};

/// Turns residuals into values in place. The first four are plain, arithmetic wraps at 32 bits.
void undoPrediction(Predictor predictor, std::span<std::int32_t> values);
/// The inverse: values to residuals in place.
void predict(Predictor predictor, std::span<std::int32_t> values);

}  // namespace jt::codec
