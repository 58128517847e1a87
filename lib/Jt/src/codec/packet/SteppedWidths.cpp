#include "codec/packet/SteppedWidths.h"

#include <algorithm>
#include <array>
#include <utility>

namespace jt::codec {

namespace {

constexpr std::size_t kSteps = 17;      // widths of 0, 2, ... 32 bits
constexpr std::size_t kStretch = 4096;  // values planned together

/// Cost of the cheapest way to be at each width, in bits.
using Costs = std::array<std::uint32_t, kSteps>;
/// The width before, by the width of a value; in steps, as all widths here.
using Origins = std::array<std::uint8_t, kSteps>;

constexpr std::uint32_t kImpossible = 1U << 30;

/// Steps of the narrowest field that holds the value.
std::size_t stepsFor(std::int32_t value) { return (signedWidth(value) + 1) / 2; }

/// Keeping the width costs 1 bit; changing it by n steps costs n + 2. One sweep in each direction
/// finds the cheapest predecessor of every width.
/// @param steps widest width considered
Origins advance(Costs& costs, std::size_t needed, std::size_t steps) {
  Costs changed;
  Origins origins;
  for (std::size_t w = 0; w <= steps; ++w) {
    changed[w] = costs[w] + 2;
    origins[w] = static_cast<std::uint8_t>(w);
    if (w == 0 || changed[w - 1] + 1 >= changed[w]) continue;
    changed[w] = changed[w - 1] + 1;
    origins[w] = origins[w - 1];
  }
  for (std::size_t w = steps; w-- > 0;) {
    if (changed[w + 1] + 1 >= changed[w]) continue;
    changed[w] = changed[w + 1] + 1;
    origins[w] = origins[w + 1];
  }
  for (std::size_t w = 0; w <= steps; ++w) {
    if (w < needed) {
      costs[w] = kImpossible;
      continue;
    }
    if (costs[w] + 1 <= changed[w]) {
      changed[w] = costs[w] + 1;
      origins[w] = static_cast<std::uint8_t>(w);
    }
    costs[w] = changed[w] + static_cast<std::uint32_t>(2 * w);
  }
  return origins;
}

/// Widths of the values of a stretch on the cheapest path from a given width.
void planWidths(std::span<const std::int32_t> values, std::size_t from,
                std::span<std::uint8_t> widths) {
  std::size_t steps = from;
  for (const std::int32_t value : values) steps = std::max(steps, stepsFor(value));
  Costs costs;
  costs.fill(kImpossible);
  costs[from] = 0;
  std::array<Origins, kStretch> origins;
  for (std::size_t i = 0; i < values.size(); ++i)
    origins[i] = advance(costs, stepsFor(values[i]), steps);
  auto width = static_cast<std::uint8_t>(std::ranges::min_element(costs) - costs.begin());
  for (std::size_t i = values.size(); i-- > 0;) {
    widths[i] = width;
    width = origins[i][width];
  }
}

void putWidth(std::size_t from, std::size_t to, WordBitWriter& bits) {
  if (from == to) return bits.put(0, 1);
  const std::uint32_t up = to > from ? 1 : 0;
  bits.put(1, 1);
  for (std::size_t step = up ? to - from : from - to; step > 0; --step) bits.put(up, 1);
  bits.put(up ^ 1, 1);
}

}  // namespace

CodeText steppedWidths(std::span<const std::int32_t> values) {
  WordBitWriter bits;
  std::array<std::uint8_t, kStretch> widths;
  std::size_t width = 0;
  for (std::size_t at = 0; at < values.size(); at += kStretch) {
    const auto stretch = values.subspan(at, std::min(kStretch, values.size() - at));
    planWidths(stretch, width, widths);
    for (std::size_t i = 0; i < stretch.size(); ++i) {
      putWidth(width, widths[i], bits);
      width = widths[i];
      bits.put(static_cast<std::uint32_t>(stretch[i]), static_cast<unsigned>(2 * width));
    }
  }
  return std::move(bits).finish();
}

}  // namespace jt::codec
