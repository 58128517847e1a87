// Every truncation, every changed bit and extreme values of every field of small sound files: an
// error or a scene, never a crash, and what can be opened can be saved. JTW_LONG_TESTS in the
// environment tries everything instead of samples.

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/GoldenFiles.h"
#include "support/Repacked.h"
#include "support/Survival.h"

namespace {

bool isLong() { return std::getenv("JTW_LONG_TESTS") != nullptr; }

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kSlow = 8;  // times fewer samples
#else
constexpr std::size_t kSlow = 1;
#endif

/// True for every `of`-th call, for all in the long form.
class Sample {
 public:
  explicit Sample(std::size_t of) : of_(isLong() ? 1 : of) {}
  bool operator()() { return count_++ % of_ == 0; }

 private:
  std::size_t of_;
  std::size_t count_ = 0;
};

/// Tries changed files and counts those whose change is noticed: by an error, or by verify.
class Sweep {
 public:
  /// @param savedOf one in how many is saved and opened again
  explicit Sweep(std::size_t savedOf) : isSaved_(savedOf) {}
  ~Sweep() {
    std::printf("%zu tried, %.1f %% detected\n", tried_,
                100.0 * static_cast<double>(detected_) / static_cast<double>(tried_));
  }
  Sweep(const Sweep&) = delete;
  Sweep& operator=(const Sweep&) = delete;

  /// Whether a changed file comes through as it should.
  testing::AssertionResult bears(const Bytes& file) {
    bool isSound = false;
    const std::string code = survive(storage_, file, isSaved_(), {}, &isSound);
    ++tried_;
    detected_ += !code.empty() || !isSound;
    if (code != "differs") return testing::AssertionSuccess();
    return testing::AssertionFailure() << "the saved file means something else";
  }

 private:
  MemoryStorage storage_;
  Sample isSaved_;
  std::size_t tried_ = 0;
  std::size_t detected_ = 0;
};

TEST(Sweeps, EveryTruncationIsAnError) {
  MemoryStorage storage;
  Sample isTried(kSlow);
  for (const GoldenFile& golden : goldenFiles()) {
    ASSERT_EQ(survive(storage, golden.bytes), "") << golden.name;
    for (std::size_t size = 0; size < golden.bytes.size(); ++size) {
      if (!isTried()) continue;
      const Bytes part(golden.bytes.begin(),
                       golden.bytes.begin() + static_cast<std::ptrdiff_t>(size));
      ASSERT_NE(survive(storage, part, false), "") << golden.name << " of " << size << " bytes";
    }
  }
}

/// Flips each bit of `bytes` and tries what `wrap` makes of them.
template <class Wrap>
void flipEveryBit(Sweep& sweep, Sample& isTried, const std::string& name, Bytes bytes, Wrap wrap) {
  for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
    if (!isTried()) continue;
    const std::byte flip{static_cast<unsigned char>(1U << bit % 8)};
    bytes[bit / 8] ^= flip;
    ASSERT_TRUE(sweep.bears(wrap(bytes))) << name << ", byte " << bit / 8 << ", bit " << bit % 8;
    bytes[bit / 8] ^= flip;
  }
}

TEST(Sweeps, EveryBitOfAFileMayBeWrong) {
  Sweep sweep(23);
  Sample isTried(13 * kSlow);
  for (const GoldenFile& golden : goldenFiles())
    flipEveryBit(sweep, isTried, golden.name, golden.bytes,
                 [](const Bytes& bytes) { return bytes; });
}

TEST(Sweeps, EveryBitOfAnUnpackedSegmentMayBeWrong) {
  Sweep sweep(11);
  Sample isTried(29 * kSlow);
  for (const GoldenFile& golden : goldenFiles()) {
    const Repacked file(golden.bytes);
    for (std::size_t row = 0; row < file.count(); ++row)
      flipEveryBit(sweep, isTried, golden.name + ", segment " + std::to_string(row),
                   file.content(row), [&](const Bytes& bytes) { return file.with(row, bytes); });
  }
}

/// Every field that explain lists, with the row of the segment where its offset counts in unpacked
/// bytes.
struct FieldSink : jt::ExplainSink {
  struct Place {
    jt::ExplainedField field;
    std::optional<std::size_t> row;
  };
  void beginSegment(const jt::ExplainedSegment& segment) override {
    if (segment.inflatedOffsets) {
      row = segment.index;
    } else {
      row.reset();
    }
  }
  void field(const jt::ExplainedField& field) override {
    const bool isHead = field.path.starts_with("segment.");
    places.push_back({field, isHead ? std::nullopt : row});
  }
  std::optional<std::size_t> row;
  std::vector<Place> places;
};

std::vector<FieldSink::Place> fieldsOf(const Bytes& file) {
  MemoryStorage storage;
  storage["file"] = file;
  FieldSink sink;
  jt::explain(MemoryLocation("file"), {}, sink);
  return std::move(sink.places);
}

/// Ten extreme values for a field of `width` bytes that holds `n`, a number or the bits of one.
std::array<std::uint64_t, 10> extremes(std::size_t width, std::uint64_t n, bool isReal) {
  const std::uint64_t all = ~std::uint64_t{0} >> (64 - 8 * width);
  const std::uint64_t sign = all / 2 + 1;
  if (!isReal) return {0, 1, n - 1, n + 1, n * 2, sign - 1, sign, sign + 1, all - 1, all};
  const std::uint64_t infinity = width == 4 ? 0x7f800000 : 0x7ff0000000000000;
  return {
      0,  1, n ^ sign, infinity, sign | infinity, infinity - 1, sign, infinity + 1, infinity / 2,
      all};
}

TEST(Sweeps, EveryFieldMayBeExtreme) {
  Sweep sweep(11);
  Sample isTried(7 * kSlow);
  std::size_t counts = 0;
  for (const GoldenFile& golden : goldenFiles()) {
    const Repacked file(golden.bytes);
    for (const auto& [field, row] : fieldsOf(golden.bytes)) {
      const std::string type = field.type;
      counts += type == "I32 count";
      if (field.size == 0) continue;
      // Of texts and lists the first bytes, a count perhaps.
      const std::size_t width = field.size >= 8 && field.size % 8 == 0 && type.ends_with("64") ? 8
                                : field.size >= 4                                              ? 4
                                : field.size >= 2                                              ? 2
                                                                                               : 1;
      const Bytes bytes = row ? file.content(*row) : golden.bytes;
      const auto at = static_cast<std::size_t>(field.offset);
      ASSERT_LE(at + width, bytes.size()) << golden.name << " " << field.path;
      const bool isBig = file.format().bigEndian;
      const auto place = [&](std::size_t i) { return at + (isBig ? width - 1 - i : i); };
      std::uint64_t n = 0;
      for (std::size_t i = 0; i < width; ++i)
        n |= std::to_integer<std::uint64_t>(bytes[place(i)]) << 8 * i;
      for (const std::uint64_t value : extremes(width, n, width >= 4 && type.starts_with("F"))) {
        if (!isTried()) continue;
        Bytes changed = bytes;
        for (std::size_t i = 0; i < width; ++i)
          changed[place(i)] = static_cast<std::byte>(value >> 8 * i);
        ASSERT_TRUE(sweep.bears(row ? file.with(*row, changed) : changed))
            << golden.name << " " << field.path << " = " << value;
      }
    }
  }
  EXPECT_GT(counts, 200U);
}

}  // namespace
