#include "codec/packet/BitFields.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

namespace jt::codec {

namespace {

constexpr std::size_t kWindow = 16;
// Bits that a symbol of arithmetic code must save to be worth its decoding time.
constexpr double kSymbolPrice = 0.4;

/// Window of the latest distinct values.
class Window {
 public:
  /// Index of a value, kWindow if absent. Moves it to the front.
  std::size_t take(std::int32_t value) {
    std::int32_t moved = value;
    for (std::size_t place = 0; place < used_; ++place) {
      std::swap(values_[place], moved);
      if (moved == value) return place;
    }
    if (used_ < kWindow) values_[used_++] = moved;
    return kWindow;
  }

 private:
  std::array<std::int32_t, kWindow> values_;
  std::size_t used_ = 0;
};

constexpr std::size_t kRun = 128;  // values of a sample that follow each other

/// A sample of runs of values. @param most runs
std::vector<std::uint32_t> sampleOf(std::span<const std::int32_t> values, std::size_t most) {
  const std::size_t runs = std::clamp(values.size() / (2 * kRun), std::size_t{1}, most);
  std::vector<std::uint32_t> sample;
  for (std::size_t run = 0; run < runs; ++run) {
    const std::size_t length = std::min(kRun, values.size());
    const std::size_t from = (2 * run + 1) * (values.size() - length) / (2 * runs);
    const auto part = values.subspan(from, length);
    sample.insert(sample.end(), part.begin(), part.end());
  }
  return sample;
}

std::uint32_t bitsOf(std::uint32_t value, unsigned low, unsigned width) {
  return value >> low & (width < 32 ? (1U << width) - 1 : ~0U);
}

/// Cost of fields in bits a value.
class Costs {
 public:
  Costs(std::span<const std::int32_t> values, std::int32_t base, std::size_t runs)
      : sample_(sampleOf(values, runs)), count_(static_cast<double>(values.size())) {
    for (std::uint32_t& value : sample_) value -= static_cast<std::uint32_t>(base);
  }

  /// The cheapest form of a field.
  double best(unsigned low, unsigned width, BitField::Form& form) const {
    // Heads of packets and tables, in bits.
    constexpr double kPlain = 100;
    constexpr double kSmall = 350;
    constexpr double kMoved = 600;
    const double costs[] = {width + kPlain / count_, small(low, width) + kSmall / count_,
                            moved(low, width) + kMoved / count_};
    const auto* const least = std::ranges::min_element(costs);
    form = static_cast<BitField::Form>(least - costs);
    return *least;
  }

 private:
  static constexpr unsigned kNarrow = 6;

  /// Only for few distinct values: a sample underestimates how many there are.
  double small(unsigned low, unsigned width) const {
    if (width > kNarrow) return std::numeric_limits<double>::infinity();
    std::array<std::uint32_t, 1U << kNarrow> counts{};
    for (const std::uint32_t value : sample_) ++counts[bitsOf(value, low, width)];
    const auto distinct = std::ranges::count_if(counts, [](std::uint32_t n) { return n > 0; });
    // A sample underestimates the entropy by some bits for each distinct value.
    return (entropy(counts, size()) + 0.7 * static_cast<double>(distinct)) / size() + kSymbolPrice;
  }
  double moved(unsigned low, unsigned width) const {
    // The window of a run begins with what the run before it has left. A small sample cannot spare
    // the values until that is gone.
    constexpr std::size_t kSettling = 3 * kWindow;
    const std::size_t skipped = sample_.size() > 8 * kRun ? kSettling : 0;
    std::array<std::uint32_t, kWindow + 1> counts{};
    Window window;
    std::vector<std::uint32_t> newValues;
    for (std::size_t i = 0; i < sample_.size(); ++i) {
      const std::uint32_t field = bitsOf(sample_[i], low, width);
      const std::size_t place = window.take(static_cast<std::int32_t>(field));
      if (i % kRun < skipped) continue;
      ++counts[place];
      if (place == kWindow) newValues.push_back(field);
    }
    const double total = static_cast<double>(std::reduce(counts.begin(), counts.end()));
    return (entropy(counts, total) + bitsOfNew(std::move(newValues), width)) / total + kSymbolPrice;
  }
  /// Arithmetic code of values that come back, all bits of the others: the part of a sample that
  /// comes once is about what is not in it.
  static double bitsOfNew(std::vector<std::uint32_t> values, unsigned width) {
    std::ranges::sort(values);
    double bits = 0;
    for (std::size_t i = 0, count = 1; i < values.size(); i += count, count = 1) {
      while (i + count < values.size() && values[i + count] == values[i]) ++count;
      const double every = static_cast<double>(values.size()) / static_cast<double>(count);
      bits += count == 1 ? width
                         : static_cast<double>(count) * std::min<double>(width, std::log2(every));
    }
    return bits;
  }

  static double entropy(std::span<const std::uint32_t> counts, double total) {
    double bits = 0;
    for (const std::uint32_t count : counts)
      if (count > 0) bits += count * std::log2(total / count);
    return bits;
  }
  double size() const { return static_cast<double>(sample_.size()); }

  std::vector<std::uint32_t> sample_;
  double count_;
};

}  // namespace

MoveToFront::MoveToFront(std::span<const std::int32_t> values) {
  Window window;
  places.reserve(values.size());
  for (const std::int32_t value : values) {
    const std::size_t place = window.take(value);
    places.push_back(place == kWindow ? -1 : static_cast<std::int32_t>(place));
    if (place == kWindow) newValues.push_back(value);
  }
}

BitFields bestFields(std::span<const std::int32_t> values, std::int32_t base, unsigned width,
                     unsigned mostFields) {
  constexpr unsigned kMostCuts = 10;
  struct Best {
    double cost = std::numeric_limits<double>::infinity();
    BitField top;
  };
  const Costs costs(values, base, mostFields > 1 ? 4 : 16);
  std::vector<unsigned> cuts{0};
  const unsigned step = mostFields > 1 ? (width + kMostCuts - 1) / kMostCuts : width;
  while (cuts.back() < width) cuts.push_back(std::min(width, cuts.back() + step));
  // Cost of the bits below each cut, by number of fields.
  std::array<std::vector<Best>, kMostBitFields + 1> best;
  best.fill(std::vector<Best>(cuts.size()));
  best[0][0].cost = 0;
  for (std::size_t high = 1; high < cuts.size(); ++high)
    for (std::size_t low = 0; low < high; ++low) {
      BitField field{cuts[low], cuts[high] - cuts[low]};
      const double cost = costs.best(field.low, field.width, field.form);
      for (std::size_t count = 0; count < mostFields; ++count)
        if (best[count][low].cost + cost < best[count + 1][high].cost)
          best[count + 1][high] = {best[count][low].cost + cost, field};
    }
  std::size_t count = 1;
  for (std::size_t more = 2; more <= mostFields; ++more)
    if (best[more].back().cost < best[count].back().cost) count = more;
  BitFields result{{}, best[count].back().cost};
  for (unsigned high = width; high > 0; --count) {
    const std::size_t cut = (high + step - 1) / step;
    result.fields.push_back(best[count][cut].top);
    high = result.fields.back().low;
  }
  return result;
}

}  // namespace jt::codec
