// What a verification finds in a file that opens.

#include <gtest/gtest.h>

#include <set>

#include "JtInspect.h"
#include "support/FileBuilder.h"
#include "support/MemoryStorage.h"

namespace {

using jt::file::Format;
using B = SceneBuilder;

TEST(Verify, FindsWhatDoesNotFitInTheTablesOfAFile) {
  constexpr int kOther = 77;
  for (const Format& format : allFormats()) {
    SCOPED_TRACE(formatText(format));
    // A segment that names itself, its type and its length.
    const auto segment = [&](std::uint32_t number, int type, std::int32_t length) {
      Fields out(format);
      out.put(FileBuilder::id(number)).i32(type).i32(length).raw(Bytes(16, std::byte{1}));
      return out.bytes();
    };
    const auto scene = [&](const std::vector<std::vector<std::int32_t>>& rows) {
      SceneBuilder built(format);
      built.partition(1, {2}).group(2, {}).marker().text(3, "key");
      Fields late = built.fields().version(2).put(std::uint32_t{0}).version(2);
      built.element(B::kLate, 8, 4, late.put(FileBuilder::id(2)).i32(kOther).i32(0));
      return FileBuilder(format).scene(built.marker().table(rows));
    };
    const std::set<std::string> ofContent{"no_compression_header", "bad_element_length"};
    const std::int32_t whole = 24 + 16;
    const Bytes sound = segment(2, kOther, whole);
    const struct {
      FileBuilder file;
      const char* findings;
    } cases[] = {
        {scene({{2, 3, 4}}).segment(2, kOther, sound), ""},
        {scene({{2, 3, 4}}), "dangling_segment "},
        {scene({{2, 3, 4}}).segment(2, kOther, sound).segment(2, kOther, sound),
         "duplicate_segment "},
        {scene({{2, 3, 4}}).segment(2, kOther, segment(2, kOther, whole - 1)),
         "segment_header_mismatch "},
        {scene({{2, 3, 4}}).segment(2, kOther, segment(2, kOther, whole + 1)),
         "segment_header_mismatch "},
        {scene({{2, 3, 4}}).segment(2, kOther, segment(2, kOther + 1, whole)),
         "segment_header_mismatch "},
        {scene({{2, 3, 4}}).segment(2, kOther, segment(3, kOther, whole)),
         "segment_header_mismatch "},
        // A node and an atom that does not exist.
        {scene({{2, 3, 1, 9, 4}}).segment(2, kOther, sound),
         "dangling_property dangling_property "},
        {scene({{7, 3, 4}}).segment(2, kOther, sound), "dangling_owner "},
    };
    for (const auto& [file, findings] : cases) {
      MemoryStorage storage;
      storage["file"] = file.build();
      std::string codes;
      for (const jt::Diagnostic& finding : jt::verify(MemoryLocation("file")))
        if (!ofContent.contains(finding.code)) codes += finding.code + " ";
      EXPECT_EQ(codes, findings);
    }
  }
}

}  // namespace
