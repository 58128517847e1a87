#include "file/segments/XtBrep.h"

#include <algorithm>
#include <string_view>

#include "JtFormatError.h"
#include "JtSourceFile.h"
#include "file/archive/GuidLiteral.h"

namespace jt::file {

namespace {

struct XtFrame {
  std::int32_t version = 2;
  std::int32_t kernelMajor = 0;
  std::int32_t kernelMinor = 0;
  std::int32_t kernelBuild = 0;
  std::vector<std::byte> data;
};

template <class Ar>
void oldFields(Ar& ar, XtFrame& frame) {
  ar("versionNumber", frame.version);
  ar("kernelMajorVersion", frame.kernelMajor);
  ar("kernelMinorVersion", frame.kernelMinor);
  if (ar.has(Feature::xtBuildNumber)) ar("kernelBuildNumber", frame.kernelBuild);
  ar.counted("xtData", frame.data);
}

/// Text or nothing at all: what real data begins with.
bool looksLikeXt(std::span<const std::byte> bytes) {
  constexpr std::string_view kMark = "TRANSMIT FILE";
  constexpr std::size_t kHead = 256;
  const auto head = bytes.first(std::min(bytes.size(), kHead));
  const std::string_view text(reinterpret_cast<const char*>(head.data()), head.size());
  return bytes.empty() || text.find(kMark) != std::string_view::npos;
}

/// 10.x: the length follows the build number or, in later editions, a byte further on.
bool readTen(Reader& ar, XtFrame& frame) {
  std::uint8_t version = 0;
  std::uint8_t isSubordinate = 0;
  ar("versionNumber", version);
  ar("subordinateFlag", isSubordinate);
  if (isSubordinate != 0) return false;
  ar("kernelMajorVersion", frame.kernelMajor);
  ar("kernelMinorVersion", frame.kernelMinor);
  ar("kernelBuildNumber", frame.kernelBuild);
  const auto rest = ar.rest();
  std::optional<std::span<const std::byte>> found;
  for (const std::size_t at : {std::size_t{0}, std::size_t{1}}) {
    if (rest.size() < at + 4) continue;
    const auto length = loadScalar<std::int32_t>(rest.data() + at, ar.format().bigEndian);
    const std::size_t most = rest.size() - at - 4;
    if (length < 0 || static_cast<std::size_t>(length) > most) continue;
    const auto data = rest.subspan(at + 4, static_cast<std::size_t>(length));
    if (!looksLikeXt(data)) continue;
    const bool endsTheElement = data.size() == most;
    // Attributes may follow, so that not every length ends the element; a length that is read a
    // byte off may fit as well then.
    if (found && !endsTheElement && data.size() != found->size()) return false;
    found = data;
    if (endsTheElement) break;
  }
  if (!found) return false;
  frame.data.assign(found->begin(), found->end());
  return true;
}

constexpr JtGuid kType = "873a70e0-2ac9-11d1-9b6b-0080c7bb5997"_guid;

}  // namespace

const JtGuid& xtBrepTypeId() noexcept { return kType; }

bool namesPooledBodies(const Container& file, const TocEntry& entry) {
  constexpr std::int32_t kXt = 17;
  const auto isPool = [](const TocEntry& other) { return other.type() == kMultiXtSegment; };
  if (entry.type() != kXt || !file.format().has(Feature::xtSubordinates) ||
      std::ranges::none_of(file.toc(), isPool))
    return false;
  try {
    const SegmentContent content = file.load(entry);
    const auto elements = segmentElements(content.bytes, file.format());
    return std::ranges::any_of(elements, [](const SegmentElement& element) {
      constexpr std::size_t kFlag = 1;  // behind the version
      return element.frame.typeId == xtBrepTypeId() && element.body.size() > kFlag &&
             element.body[kFlag] != std::byte{0};
    });
  } catch (const JtFormatError& error) {
    if (isReadFailure(error.code())) throw;
    return false;
  }
}

std::optional<Buffer> convertXtBrep(const SegmentElement& element, const Format& from,
                                    const Format& to) {
  if (to.has(Feature::xtSubordinates)) return {};
  XtFrame frame;
  Reader reader(element.body, from, element.bodyOffset);
  if (from.has(Feature::xtSubordinates)) {
    if (!readTen(reader, frame)) return {};
  } else {
    oldFields(reader, frame);
    if (reader.left() > 0) return {};  // more than is known
  }
  ByteSink body;
  Writer writer(body, to);
  oldFields(writer, frame);
  return std::move(body).take();
}

}  // namespace jt::file
