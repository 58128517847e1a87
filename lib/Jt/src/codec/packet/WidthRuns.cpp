#include "codec/packet/WidthRuns.h"

#include <algorithm>

namespace jt::codec {

namespace {

constexpr std::size_t kLongest = (1U << WidthRuns::kLengthWidth) - 1;
// A change by one of these is followed by another.
constexpr int kMostChange = (1 << (WidthRuns::kChangeWidth - 1)) - 1;
constexpr int kLeastChange = -kMostChange - 1;

std::size_t changeBits(unsigned from, unsigned to) {
  const int change = static_cast<int>(to) - static_cast<int>(from);
  if (kLeastChange < change && change < kMostChange) return WidthRuns::kChangeWidth;
  const int further = change < 0 ? change / kLeastChange : change / kMostChange;
  return WidthRuns::kChangeWidth * (1 + static_cast<std::size_t>(further));
}

void putChange(unsigned from, unsigned to, WordBitWriter& bits) {
  for (int left = static_cast<int>(to) - static_cast<int>(from);;) {
    const int change = std::clamp(left, kLeastChange, kMostChange);
    bits.put(static_cast<std::uint32_t>(change), WidthRuns::kChangeWidth);
    if (change != kLeastChange && change != kMostChange) return;
    left -= change;
  }
}

std::int32_t minus(std::int32_t value, std::int32_t mean) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(value) -
                                   static_cast<std::uint32_t>(mean));
}

}  // namespace

WidthRuns::WidthRuns(std::span<const std::int32_t> values, std::int32_t mean) : mean_(mean) {
  // The cheapest way to the end of each value, and the run that it ends with.
  struct End {
    std::size_t bits = SIZE_MAX;
    Run run;
  };
  std::vector<End> ends(values.size() + 1);
  std::vector<std::uint8_t> needed(values.size());
  std::ranges::transform(values, needed.begin(), [mean](std::int32_t value) {
    return static_cast<std::uint8_t>(signedWidth(minus(value, mean)));
  });
  ends[0].bits = 0;
  for (std::size_t from = 0; from < values.size(); ++from) {
    const End start = ends[from];
    const std::size_t most = std::min(kLongest, values.size() - from);
    std::uint8_t width = 0;
    for (std::size_t length = 1; length <= most; ++length) {
      width = std::max(width, needed[from + length - 1]);
      const std::size_t bits =
          start.bits + changeBits(start.run.width, width) + kLengthWidth + length * width;
      End& end = ends[from + length];
      if (bits < end.bits) end = {bits, {static_cast<std::uint8_t>(length), width}};
    }
  }
  bits_ = ends.back().bits;
  for (std::size_t at = values.size(); at > 0; at -= runs_.back().length)
    runs_.push_back(ends[at].run);
  std::ranges::reverse(runs_);
}

void WidthRuns::put(std::span<const std::int32_t> values, WordBitWriter& bits) const {
  unsigned width = 0;
  for (const Run& run : runs_) {
    putChange(width, run.width, bits);
    width = run.width;
    bits.put(run.length, kLengthWidth);
    for (const std::int32_t value : values.first(run.length))
      bits.put(static_cast<std::uint32_t>(minus(value, mean_)), width);
    values = values.subspan(run.length);
  }
}

}  // namespace jt::codec
