// Files that are damaged on purpose: an error or a scene, never a crash, in bounded time and
// memory. JTW_LONG_TESTS in the environment tries larger ones.

#include <gtest/gtest.h>
#include <lzma.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string_view>

#include "support/FileBuilder.h"
#include "support/Survival.h"

namespace {

using namespace jt::file;
using B = SceneBuilder;

bool isLong() { return std::getenv("JTW_LONG_TESTS") != nullptr; }

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

TEST(Hostile, OffsetsAndSizesOfSegmentsAreChecked) {
  MemoryStorage storage;
  for (const char* name : {"tiny95.jt", "tiny95be.jt", "tiny100.jt"}) {
    const Bytes file = testData(name);
    const auto container = Container::open(jt::make<MemoryImage>(file, name), {});
    const Format format = container->format();
    const bool wide = format.has(Feature::wideToc);
    const std::size_t toc = container->header().tocOffset;
    const std::uint64_t end = file.size();
    const auto put = [&](std::size_t at, std::uint64_t value, bool isWide) {
      Bytes bytes = file;
      Fields out(format);
      isWide ? out.put(value) : out.put(static_cast<std::uint32_t>(value));
      std::copy(out.bytes().begin(), out.bytes().end(),
                bytes.begin() + static_cast<std::ptrdiff_t>(at));
      return survive(storage, bytes);
    };
    const auto expect = [&](std::size_t at, bool isWide,
                            std::initializer_list<std::pair<std::uint64_t, const char*>> cases) {
      for (const auto& [value, code] : cases)
        EXPECT_EQ(put(at, value, isWide), code) << name << " at " << at << " = " << value;
    };
    const std::uint64_t header = FileHeader::size(format);
    expect(85, wide,
           {{0, "bad_toc_offset"},
            {header - 1, "bad_toc_offset"},
            {end - 3, "truncated"},
            {end, "truncated"},
            {end + 1, "truncated"},
            {0x80000000, "truncated"},
            {~std::uint64_t{0}, "truncated"}});
    expect(toc, false,
           {{0, "bad_toc_count"},
            {1000, "bad_toc_count"},
            {0x7fffffff, "bad_toc_count"},
            {0x80000000, "bad_toc_count"},
            {0xffffffff, "bad_toc_count"}});
    const std::size_t offset = toc + 4 + 16;
    const std::uint64_t second = container->toc()[1].offset;
    expect(offset, wide,
           {{0, "bad_toc_entry"},
            {header - 1, "bad_toc_entry"},
            {end, "truncated"},
            {end + 1, "truncated"},
            {0x80000000, "truncated"},
            {~std::uint64_t{0} - 8, "truncated"}});
    expect(offset + (wide ? 8 : 4), false,
           {{0, "bad_toc_entry"}, {23, "bad_toc_entry"}, {0xffffffff, "truncated"}});
    // Row 2 on the scene graph: both can be read, so nothing keeps the file from being opened.
    EXPECT_NE(put(offset + TocEntry::size(format), container->toc()[0].offset, wide), "truncated");
    EXPECT_LT(second, end);
  }
}

TEST(Hostile, RowsAreCheckedAgainWhenTheyAreKept) {
  for (const char* name : {"tiny95be.jt", "tiny100.jt"}) {
    const auto image = jt::make<MemoryImage>(testData(name), name);
    const auto container = Container::open(image, {});
    const JtGuid scene = container->sceneEntry().id;
    std::size_t row = 0;
    for (const auto other = Container::open(image, {}); other->toc()[row].id != scene;) ++row;
    EXPECT_EQ(container->sceneEntry().id, scene) << name;
    // Another program writes into the second row: the high byte of its length.
    const Format format = container->format();
    auto* const place = const_cast<std::byte*>(image->bytes().data()) +
                        container->header().tocOffset + 4 + 2 * TocEntry::size(format) -
                        (format.bigEndian ? 8 : 5);
    const std::byte before = std::exchange(*place, std::byte{0x7e});
    EXPECT_EQ(errorCode([&] { static_cast<void>(container->toc()); }), "truncated") << name;
    *place = before;
    EXPECT_EQ(container->toc()[container->sceneRow()].id, scene) << name;
    EXPECT_EQ(container->sceneRow(), row) << name;
  }
}

TEST(Hostile, WhatIsNoJtFileIsNamed) {
  MemoryStorage storage;
  const auto bytes = [](std::string_view text) {
    const auto raw = std::as_bytes(std::span(text));
    return Bytes(raw.begin(), raw.end());
  };
  Bytes damaged = testData("tiny95.jt");  // a transfer in text mode drops carriage returns
  std::erase(damaged, std::byte{'\r'});
  Bytes order = testData("tiny95.jt");
  order[80] = std::byte{2};
  const auto version = [&](std::string_view text) {
    Bytes file = testData("tiny95.jt");
    std::copy_n(bytes(text).begin(), text.size(), file.begin());
    return file;
  };
  const std::pair<Bytes, const char*> cases[] = {{{}, "empty"},
                                                 {bytes("Dear reader,\nthis is a text."), "not_jt"},
                                                 {bytes("Version 9.5 JT"), "truncated"},
                                                 {damaged, "text_mode"},
                                                 {order, "bad_byte_order"},
                                                 {version("Version 7.9"), "unsupported_version"},
                                                 {version("Version 11.0"), "unsupported_version"},
                                                 {version("Version x.5"), "not_jt"},
                                                 {version("Version 9 5"), "not_jt"},
                                                 {version("version 9.5"), "not_jt"},
                                                 {Bytes(200, std::byte{0xff}), "not_jt"}};
  for (const auto& [file, code] : cases) EXPECT_EQ(survive(storage, file), code);
  jt::installStorageManager(nullptr);
  const JtFSStorageLocation folder("", JtString(std::filesystem::temp_directory_path().string()));
  EXPECT_EQ(jt::verify(folder).at(0).code, "not_a_file");
}

/// Opens a scene graph of its own; the codes of the notes, or of the error.
std::string codesOf(const Format& format, const SceneBuilder& scene) {
  MemoryStorage storage;
  const Bytes file = FileBuilder(format).scene(scene).build();
  const std::string code = survive(storage, file);
  if (!code.empty()) return code;
  std::set<std::string> codes;
  const auto root = storage.open(file);
  for (const jt::Diagnostic& note : root->notes()) codes.insert(note.code);
  std::string text;
  for (const std::string& each : codes) text += (text.empty() ? "" : " ") + each;
  return text;
}

TEST(Hostile, FlawsOfASceneGraphAreReportedAndTolerated) {
  for (const Format& format : allFormats()) {
    SCOPED_TRACE(formatText(format));
    const auto scene = [&] { return SceneBuilder(format); };
    const auto end = [](SceneBuilder& builder) -> SceneBuilder& {
      return builder.marker().marker().table({});
    };
    struct Case {
      const char* what;
      SceneBuilder built;
      const char* codes;
    };
    SceneBuilder ring = scene().partition(1, {2});
    for (int id = 2; id < 5000; ++id) ring.group(id, {id + 1});
    ring.group(5000, {2});
    SceneBuilder deep = scene().partition(1, {2});
    const int levels = format == Format{9, 5, false} || isLong() ? 100'000 : 3'000;
    for (int id = 2; id < levels; ++id) deep.group(id, {id + 1});
    deep.group(levels, {});
    const Fields tooMany = scene().fields().node().version().i32(0x7fffffff);
    Case cases[] = {
        {"sound", end(scene().partition(1, {2}).group(2, {})), ""},
        {"deep", end(deep), ""},
        {"own child", end(scene().partition(1, {2}).group(2, {2})), "cycle"},
        {"root its own child", end(scene().partition(1, {1})), "cycle"},
        {"two in a ring", end(scene().partition(1, {2}).group(2, {3}).group(3, {2})), "cycle"},
        {"all in a ring", end(scene().partition(1, {2}).group(2, {1})), "cycle"},
        {"long ring", end(ring), "cycle"},
        {"missing child", end(scene().partition(1, {2, 7}).group(2, {})), "dangling_child"},
        {"missing attribute", end(scene().partition(1, {2}).group(2, {}, {9})),
         "dangling_attribute"},
        {"a node as attribute", end(scene().partition(1, {2}).group(2, {}, {1})),
         "dangling_attribute"},
        {"same id", end(scene().partition(1, {2}).group(2, {}).group(2, {})),
         "duplicate_object_id unreachable_nodes"},
        {"same id as the root", end(scene().partition(1, {2}).group(2, {}).group(1, {})),
         "duplicate_object_id unreachable_nodes"},
        {"id 0", end(scene().partition(1, {0}).group(0, {})), "bad_object_id unreachable_nodes"},
        {"negative id", end(scene().partition(1, {-5}).group(-5, {})),
         "bad_object_id dangling_child unreachable_nodes"},
        {"root with id 0", end(scene().partition(0, {2}).group(2, {})), "bad_object_id"},
        {"great id", end(scene().partition(1, {2147480000}).group(2147480000, {})), ""},
        {"greatest id", end(scene().partition(1, {2147483647}).group(2147483647, {})),
         "too_many_ids"},
        {"too many children", end(scene().partition(1, {2}).element(B::kGroup, 1, 2, tooMany)),
         "damaged_element"},
        {"empty body", end(scene().partition(1, {2}).element(B::kGroup, 1, 2, {})),
         "damaged_element"},
        {"no partition", end(scene().group(1, {2}).group(2, {})), "no_root_partition"},
        {"two tops", end(scene().partition(1, {}).partition(2, {})), "unreachable_nodes"},
        {"no nodes", end(scene().element(B::kMaterial, 3, 1, {})), "no_nodes"},
        {"nothing", scene(), "no_nodes"},
        {"no second list", scene().partition(1, {}).marker(), "no_atoms no_property_table"},
        {"no end", scene().partition(1, {}), "no_atoms no_end_marker no_property_table"},
        {"an atom among nodes", end(scene().partition(1, {2}).text(2, "a")), "dangling_child"},
        {"a node among atoms", scene().partition(1, {2}).marker().group(2, {}).marker().table({}),
         "dangling_child"},
        {"owner twice",
         scene().partition(1, {}).marker().text(2, "a").text(3, "b").marker().table(
             {{1, 2, 2}, {1, 3, 3}}),
         "owner_listed_twice"},
        {"missing owner and atoms",
         scene().partition(1, {}).marker().text(2, "a").marker().table({{7, 2, 2}, {1, 8, 9}}), ""},
        {"attribute as value",
         scene().partition(1, {2}).group(2, {}).marker().text(3, "a").marker().table({{1, 3, 2}}),
         ""}};
    for (const Case& c : cases) EXPECT_EQ(codesOf(format, c.built), c.codes) << c.what;

    // Lengths of elements, patched into the stream.
    MemoryStorage storage;
    Bytes sound = end(scene().partition(1, {2}).group(2, {})).bytes();
    const auto container = Container::open(
        jt::make<MemoryImage>(FileBuilder(format).packed(1, 1, sound).build(), "file"), {});
    const auto source = SceneSource::open(container);
    const std::size_t group = source->offset(1);
    const std::size_t marker = group + source->elementBytes(1).size();
    for (const auto& [at, length] : {std::pair<std::size_t, std::int32_t>{group, 15},
                                     {group, 16},
                                     {group, 20},
                                     {group, -1},
                                     {group, 0x7fffffff},
                                     {marker, 17},
                                     {marker, 15}}) {
      Bytes bytes = sound;
      const Fields out = Fields(format).i32(length);
      std::copy(out.bytes().begin(), out.bytes().end(),
                bytes.begin() + static_cast<std::ptrdiff_t>(at));
      EXPECT_EQ(survive(storage, FileBuilder(format).packed(1, 1, bytes).build()),
                "bad_element_length")
          << at << " " << length;
    }
  }
}

TEST(Hostile, TheSceneGraphIsFoundOrMissed) {
  MemoryStorage storage;
  for (const Format& format : allFormats()) {
    const SceneBuilder scene =
        SceneBuilder(format).partition(1, {}, "first").marker().marker().table({});
    const SceneBuilder other =
        SceneBuilder(format).partition(1, {}, "other").marker().marker().table({});
    EXPECT_EQ(survive(storage, FileBuilder(format).packed(2, 4, scene.bytes()).build()),
              "no_scene_graph");
    // The header names segment 1, whatever its place; without it the only one of type 1 counts.
    const Bytes two =
        FileBuilder(format).packed(2, 1, other.bytes()).packed(1, 1, scene.bytes()).build();
    EXPECT_EQ(survive(storage, two), "");
    EXPECT_EQ(storage.open(two)->fileName(), JtString("first"));
    const Bytes odd = FileBuilder(format).packed(2, 1, other.bytes()).build();
    EXPECT_EQ(survive(storage, odd), "");
    EXPECT_EQ(storage.open(odd)->fileName(), JtString("other"));
    // Two rows with one id: the first counts, and nothing of it is saved twice.
    const Bytes same =
        FileBuilder(format).packed(1, 1, scene.bytes()).packed(1, 1, other.bytes()).build();
    EXPECT_EQ(storage.open(same)->fileName(), JtString("first"));
    EXPECT_NE(survive(storage, same), "differs");
  }
}

// --- Bombs

/// A zlib stream of zeros: one block whose code has 1 bit for a copy of 258 bytes and 1 bit for the
/// distance, so that the stream is zeros as well.
Bytes zlibBomb(std::uint64_t size) {
  Bytes out{std::byte{0x78}, std::byte{0xda}};
  std::uint64_t bits = 0;
  int held = 0;
  const auto put = [&](unsigned value, int count) {  // lowest bit first
    bits |= std::uint64_t{value} << held;
    for (held += count; held >= 8; held -= 8, bits >>= 8)
      out.push_back(static_cast<std::byte>(bits));
  };
  // Last block, dynamic codes; 286 literals and lengths, 1 distance, 18 lengths of length codes.
  put(1, 1), put(2, 2), put(29, 5), put(0, 5), put(14, 4);
  // Order 16 17 18 0 8 7 9 6 10 5 11 4 12 3 13 2 14 1: symbols 18, 1 and 2 get 2, 2 and 1 bits.
  for (const char length : std::string_view("002000000000000102"))
    put(static_cast<unsigned>(length - '0'), 3);
  const auto two = [&] { put(0, 1); };
  const auto one = [&] { put(1, 2); };  // code 10, first bit first
  const auto zeros = [&](unsigned count) { put(3, 2), put(count - 11, 7); };
  two();                   // literal 0: 2 bits
  zeros(138), zeros(117);  // 1 .. 255
  two();                   // end of block: 2 bits
  zeros(28);               // 257 .. 284
  one();                   // 285, a copy of 258: 1 bit
  one();                   // distance 1: 1 bit
  put(1, 2);               // literal 0, code 10
  const std::uint64_t copies = size / 258;
  while (held != 0) put(0, 2);
  out.insert(out.end(), static_cast<std::size_t>(copies / 4), std::byte{0});
  put(3, 2);
  put(0, 8);
  out.insert(out.end(), 4, std::byte{0});  // a checksum; nobody gets that far
  return out;
}

/// An xz stream of zeros: one encoded piece of 1 MiB again and again, each starting anew.
Bytes xzBomb(std::uint64_t size) {
  constexpr std::size_t kPiece = 1U << 20;
  const std::vector<std::uint8_t> zeros(kPiece);
  std::vector<std::uint8_t> packed(lzma_stream_buffer_bound(kPiece));
  lzma_stream coder = LZMA_STREAM_INIT;  // a block header without sizes, which would end the bomb
  EXPECT_EQ(lzma_easy_encoder(&coder, 1, LZMA_CHECK_CRC64), LZMA_OK);
  coder.next_in = zeros.data();
  coder.avail_in = zeros.size();
  coder.next_out = packed.data();
  coder.avail_out = packed.size();
  EXPECT_EQ(lzma_code(&coder, LZMA_FINISH), LZMA_STREAM_END);
  lzma_end(&coder);
  const std::size_t head = 12 + 4 * (std::size_t{packed[12]} + 1);
  const std::size_t chunk = 7 + (std::size_t{packed[head + 3]} << 8) + packed[head + 4];
  EXPECT_EQ(packed[head] & 0xe0, 0xe0);
  EXPECT_EQ(packed[head + chunk], 0) << "one chunk holds all";
  Bytes out;
  const auto append = [&](std::size_t from, std::size_t count) {
    const auto bytes = std::as_bytes(std::span(packed)).subspan(from, count);
    out.insert(out.end(), bytes.begin(), bytes.end());
  };
  append(0, head + chunk);
  packed[head] = static_cast<std::uint8_t>((packed[head] & 0x1f) | 0xc0);  // keeps the dictionary
  for (std::uint64_t done = kPiece; done < size; done += kPiece) append(head, chunk);
  return out;
}

TEST(Hostile, BombsOfTenGigabytesAreRefusedInBoundedTimeAndMemory) {
  constexpr std::uint64_t kSize = 10'000'000'000;
  const auto start = std::chrono::steady_clock::now();
  MemoryStorage storage;
  for (const bool xz : {false, true}) {
    const Format format{xz ? 10 : 9, xz ? 0 : 5, false};
    const Bytes stream = xz ? xzBomb(kSize) : zlibBomb(kSize);
    EXPECT_LT(stream.size(), 11'000'000U);
    FileBuilder builder(format);
    builder.packed(1, 1, xz ? 3 : 2, xz ? 3 : 2, stream);
    const Bytes file = builder.build();
    // A small bomb of the same make unpacks: the streams are sound as far as they are read.
    jt::ReadLimits limits;
    limits.maxSegmentBytes = 64U << 20;
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_SELF, &before);
    EXPECT_EQ(survive(storage, file, true, limits), "too_large") << xz;
    getrusage(RUSAGE_SELF, &after);
    if (!kIsSanitized) {
      EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 256 << 10);
    }
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

}  // namespace
