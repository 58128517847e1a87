// The compressed list of CAD tags, in the form of each generation.

#include <algorithm>
#include <limits>

#include "codec/packet/Packets64.h"
#include "file/pmi/PMIConversion.h"
#include "file/pmi/PMITags.h"

namespace jt::file {

namespace {

using codec::OutOfBandForm;
using codec::PacketKind;
using codec::Predictor;

constexpr std::int32_t kInnerVersion = 1;
constexpr std::int32_t kShortTag = 1;  // 32 bits
constexpr std::int32_t kWideTag = 2;   // 64 bits

struct Coding {
  PacketKind kind;
  Predictor predictor;
  OutOfBandForm form = OutOfBandForm::nested;
};

/// Codings that a generation may have, the most likely first; new tags get that one. For 8.x
/// neither kind nor predictor is certain, but only the right ones give types that exist.
std::vector<Coding> codingsOf(PMILayout layout) {
  switch (layout) {
    case PMILayout::typed8:
      return {{PacketKind::mk1, Predictor::lag1},
              {PacketKind::mk1, Predictor::none},
              {PacketKind::mk2, Predictor::lag1}};
    case PMILayout::typed9:
      return {{PacketKind::mk2, Predictor::lag1}};
    default:  // PMI segments are compressed as a whole
      return {{PacketKind::mk3, Predictor::none, OutOfBandForm::plain},
              {PacketKind::mk3, Predictor::none, OutOfBandForm::nested}};
  }
}

std::int64_t joined(std::int32_t low, std::int32_t high) {
  return static_cast<std::int64_t>(std::uint64_t{static_cast<std::uint32_t>(low)} |
                                   std::uint64_t{static_cast<std::uint32_t>(high)} << 32);
}

/// Throws JtFormatError when the bytes are not in that coding.
class Decoder {
 public:
  Decoder(const PMIData& data, const Coding& coding)
      : isGeneric_(isGeneric(data.layout)),
        coding_(coding),
        cursor_(data.cadTags.coded, data.bigEndian),
        budget_(codec::Budget::forInput(data.cadTags.coded.size())) {}

  std::vector<PMICadTag> run() {
    expect(cursor_.i32("inner version") == kInnerVersion);
    const std::size_t count = isGeneric_ ? 0 : cursor_.count("tag count");
    const Values types = isGeneric_ || count > 0 ? packet() : Values();
    expect(isGeneric_ || types.size() == count);
    const auto has = [&](std::int32_t type) {
      return std::ranges::find(types, type) != types.end();
    };
    const Values narrow = isGeneric_ || has(kShortTag) ? packet() : Values();
    std::vector<std::int64_t> wide;
    if (isGeneric_) {
      wide = codec::decodePacket64(cursor_, budget_, coding_.form);
    } else if (has(kWideTag)) {
      const Values low = packet();
      const Values high = packet();
      expect(low.size() == high.size());
      for (std::size_t i = 0; i < low.size(); ++i) wide.push_back(joined(low[i], high[i]));
    }
    expect(cursor_.left() == 0);
    return merged(types, narrow, wide);
  }

 private:
  using Values = std::vector<std::int32_t>;

  Values packet() {
    return codec::decodePacket(coding_.kind, cursor_, budget_, coding_.predictor, coding_.form);
  }

  static void expect(bool isSo) {
    if (!isSo) throw JtFormatError("bad_tags", "the CAD tags are not in a known form");
  }

  static std::vector<PMICadTag> merged(const Values& types, const Values& narrow,
                                       const std::vector<std::int64_t>& wide) {
    std::vector<PMICadTag> tags;
    tags.reserve(types.size());
    std::size_t narrowAt = 0;
    std::size_t wideAt = 0;
    for (const std::int32_t type : types) {
      const bool isWide = type == kWideTag;
      expect(isWide ? wideAt < wide.size() : type == kShortTag && narrowAt < narrow.size());
      tags.push_back({isWide ? wide[wideAt++] : narrow[narrowAt++], isWide});
    }
    expect(narrowAt == narrow.size() && wideAt == wide.size());
    return tags;
  }

  bool isGeneric_;
  Coding coding_;
  codec::ByteCursor cursor_;
  codec::Budget budget_;
};

}  // namespace

bool decodeCadTags(PMIData& data) {
  for (const Coding& coding : codingsOf(data.layout)) {
    try {
      data.cadTags.tags = Decoder(data, coding).run();
      return true;
    } catch (const JtFormatError&) {
      // Not in this coding.
    }
  }
  return false;
}

void encodeCadTags(PMIData& data, const Format& format) {
  const PMILayout layout = layoutOf(format);
  const Coding coding = codingsOf(layout).front();
  std::vector<std::int32_t> types;
  std::vector<std::int32_t> narrow;
  std::vector<std::int64_t> wide;
  for (const PMICadTag& tag : *data.cadTags.tags) {
    types.push_back(tag.isWide ? kWideTag : kShortTag);
    if (tag.isWide) {
      wide.push_back(tag.number);
    } else {
      narrow.push_back(static_cast<std::int32_t>(tag.number));
    }
  }
  codec::Bytes out;
  const auto packet = [&](const std::vector<std::int32_t>& values) {
    codec::encodePacket(coding.kind, out, format.bigEndian, values, coding.predictor);
  };
  codec::append(out, kInnerVersion, format.bigEndian);
  if (isGeneric(layout)) {
    packet(types);
    packet(narrow);
    codec::encodePacket64(out, format.bigEndian, wide);
  } else {
    codec::append(out, static_cast<std::int32_t>(types.size()), format.bigEndian);
    if (!types.empty()) packet(types);
    if (!narrow.empty()) packet(narrow);
    if (!wide.empty()) {
      for (const unsigned shift : {0U, 32U}) {
        std::vector<std::int32_t> words;
        words.reserve(wide.size());
        for (const std::int64_t tag : wide)
          words.push_back(static_cast<std::int32_t>(tag >> shift));
        packet(words);
      }
    }
  }
  data.cadTags.coded = std::move(out);
}

}  // namespace jt::file
