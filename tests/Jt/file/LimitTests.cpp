// What a document may take in memory: counted as it is taken, and bounded by the limits.

#include <gtest/gtest.h>
#include <malloc.h>

#include "support/HostileFiles.h"
#include "support/Survival.h"

namespace {

using jt::file::Format;

/// Opens a file and loads everything in it; what is held then, what is counted, and the bytes of
/// its segments as they are unpacked.
struct Held {
  std::uint64_t counted = 0;
  std::uint64_t taken = 0;
  std::uint64_t unpacked = 0;

  explicit Held(const Bytes& file) {
    MemoryStorage storage;
    storage["opened"] = file;
    const std::uint64_t before = allocated() + file.size();  // the image is no part of it
    const auto root = MemoryStorage::open("opened");
    loadEverything(*root);
    taken = allocated() - before;
    const jt::MemoryBudget& memory = root->container()->memory();
    counted = memory.limit() - memory.left();
    for (const jt::file::TocEntry& entry : root->container()->toc())
      unpacked += root->container()->load(entry).bytes.size();
  }
  static std::uint64_t allocated() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
  }
};

TEST(Limits, WhatADocumentHoldsIsCounted) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizer's own memory cannot be separated";
#endif
  for (const Format& format : hostile::kForms)
    for (const hostile::Kind& kind : hostile::kKinds) {
      if (kind.large == hostile::Large::shape || kind.large == hostile::Large::paths) continue;
      const Held held(kind.make(format, 8'300));
      EXPECT_LE(held.taken, held.counted * 5 / 4) << kind.name << " " << formatText(format);
      EXPECT_LE(held.counted, held.taken * 3) << kind.name << " " << formatText(format);
      // What SECURITY.md states.
      EXPECT_LE(held.taken, held.unpacked * 24) << kind.name << " " << formatText(format);
    }
}

TEST(Limits, ADocumentThatNeedsMoreIsRefused) {
  MemoryStorage storage;
  for (const Format& format : hostile::kForms)
    for (const hostile::Kind& kind : hostile::kKinds) {
      if (kind.large == hostile::Large::paths) continue;
      SCOPED_TRACE(std::string(kind.name) + " " + formatText(format));
      storage["opened"] = kind.make(format, kind.large == hostile::Large::shape ? 20 : 2'000);
      jt::ReadLimits limits;
      limits.maxDocumentBytes = 30'000;
      const auto findings = jt::verify(MemoryLocation("opened"), limits);
      ASSERT_FALSE(findings.empty());
      for (const jt::Diagnostic& finding : findings) {
        EXPECT_TRUE(finding.isError);
        EXPECT_EQ(finding.code, "too_large");
        EXPECT_NE(finding.message.find("maxDocumentBytes"), std::string::npos) << finding.message;
      }
      // Where the limit is enough for the scene graph, it opens; the rest fails when it is wanted.
      const std::string code = errorCode([&] {
        const auto root = MemoryStorage::open("opened", limits);
        JtPropAtom* key = nullptr;
        JtPropAtom* value = nullptr;
        ASSERT_TRUE(root->child(0)->getProperty(0, key, value));
        jt::as<JtLateLoadedPropAtom>(value)->load(root.get());
      });
      EXPECT_EQ(code, kind.large == hostile::Large::shape ? "" : "too_large");
      limits.maxDocumentBytes = 64U << 20;
      EXPECT_EQ(survive(storage, storage["opened"], false, limits), "");
    }
}

TEST(Limits, ASegmentMayUnpackToSoManyTimesItsBytes) {
  MemoryStorage storage;
  for (const Format& format : hostile::kForms)
    for (const auto& [times, code] : {std::pair{3U, "too_large"}, {1000U, ""}}) {
      jt::ReadLimits limits;
      limits.maxZlibRatio = limits.maxLzmaRatio = times;
      const Bytes file = hostile::nodes(format, 2'000);
      EXPECT_EQ(errorCode([&] { storage.open(file, limits); }), code) << formatText(format);
    }
}

TEST(Limits, SegmentsMayNotShareTheirBytesWithoutEnd) {
  MemoryStorage storage;
  for (const Format& format : allFormats())
    for (const auto& [rows, code] : {std::pair{5U, ""}, {10U, "segments_overlap"}}) {
      SceneBuilder scene(format);
      scene.partition(1, {}).marker().marker().table({});
      FileBuilder builder(format);
      builder.scene(scene).packed(2, 4, 0, 1, Bytes(20'000));
      for (std::uint32_t row = 0; row < rows; ++row) builder.packed(3 + row, 4, 0, 1, Bytes(1));
      Bytes file = builder.build();
      // The rows behind the second get its place and length.
      const std::size_t size = jt::file::TocEntry::size(format);
      const auto toc =
          file.begin() + static_cast<std::ptrdiff_t>(jt::file::FileHeader::size(format) + 4 + size);
      for (std::size_t row = 1; row <= rows; ++row)
        std::copy(toc + 16, toc + static_cast<std::ptrdiff_t>(size),
                  toc + static_cast<std::ptrdiff_t>(row * size + 16));
      EXPECT_EQ(errorCode([&] { storage.open(file); }), code) << formatText(format) << rows;
    }
}

TEST(Limits, WithoutALimitTheSizeOfTheFileCounts) {
  const jt::ReadLimits limits;
  EXPECT_EQ(limits.documentBytes(0), 128U << 20);
  EXPECT_EQ(limits.documentBytes(1000), (128U << 20) + 256'000);
  EXPECT_EQ(limits.documentBytes(std::uint64_t{1} << 62), std::uint64_t{4} << 30);
}

}  // namespace
