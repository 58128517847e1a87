// Every truncation, every changed bit and extreme values of every field of small sound files: an
// error or a scene, never a crash, and what can be opened can be saved. JTW_LONG_TESTS in the
// environment tries everything instead of samples.

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/FieldValues.h"
#include "support/GoldenFiles.h"
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

TEST(Sweeps, EveryFieldMayBeExtreme) {
  Sweep sweep(11);
  Sample isTried(7 * kSlow);
  std::ptrdiff_t counts = 0;
  for (const GoldenFile& golden : goldenFiles()) {
    const FieldValues values(golden.bytes);
    counts += std::ranges::count(values.fields(), true, &ValueField::isCount);
    for (const ValueField& field : values.fields())
      for (const std::uint64_t value : values.extremes(field))
        if (isTried()) {
          ASSERT_TRUE(sweep.bears(values.with(field, value)))
              << golden.name << " " << field.path << " = " << value;
        }
  }
  EXPECT_GT(counts, 200);
}

}  // namespace
