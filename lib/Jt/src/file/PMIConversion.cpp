#include "PMIConversion.h"

#include <algorithm>
#include <numeric>

#include "codec/Packets.h"

namespace jt::file {

namespace {

[[noreturn]] void notConvertible(const std::string& reason) {
  throw JtFormatError("not_convertible",
                      "the PMI cannot be converted to another version: " + reason);
}

bool isZero(const std::vector<std::byte>& bytes) {
  return std::ranges::all_of(bytes, [](std::byte byte) { return byte == std::byte{0}; });
}

/// An empty property list and what else producers write behind the fonts.
std::vector<std::byte> usualEnd(const Format& format) {
  if (!format.has(Feature::genericPMI)) return {};
  return std::vector<std::byte>(format.has(Feature::shortPMIFlags) ? 16 : 8);
}

class Conversion {
 public:
  Conversion(PMIData& data, const Format& format, codec::Report& losses)
      : data_(data), format_(format), losses_(losses) {}

  void run() {
    const PMILayout target = layoutOf(format_);
    if (data_.layout == PMILayout::none) {
      if (target != PMILayout::generic) {
        toTyped(target);
      } else if (hasTypedPMI(data_)) {
        refuseTyped();
      }
    } else if (data_.layout == target) {
      if (data_.bigEndian == format_.bigEndian) return;
      keptBytes();
      return;
    } else {
      keptBytes();
      if (target == PMILayout::generic) {
        toGeneric();
      } else {
        toTyped(target);
      }
    }
    data_.form = usualPMIForm(format_);
    data_.surplus = usualEnd(format_);
    forget(data_.version);
    forget(data_.cadTags.version);
    forget(data_.polygons.version);
    for (PMIFont& font : data_.fonts) forget(font.polygons.version);
    data_.viewProperties.clear();
  }

 private:
  static void forget(LocalVersion& version) { version = {}; }

  void lose(const std::string& what) {
    losses_.add("not_convertible", what + " were left out: this version cannot hold them");
  }

  /// What was kept as bytes does not mean the same in another form.
  void keptBytes() {
    if (data_.form.opaqueRest) notConvertible("what follows its entities is not understood");
    if (data_.cadTags.flag == 1 && !data_.cadTags.tags && !decodeCadTags(data_))
      notConvertible("its CAD tags cannot be decoded");
    if (!isZero(data_.surplus)) {
      lose("bytes at the end of the PMI, whose meaning is not known");
      data_.surplus = usualEnd(format_);
    }
  }

  [[noreturn]] static void refuseTyped() {
    notConvertible("version 10 has no entities of fixed kinds, and these would change their look");
  }

  void toGeneric() {
    if (hasTypedPMI(data_)) refuseTyped();
    for (std::size_t i = 0; i < data_.viewProperties.size(); ++i)
      data_.modelViews[i].properties.push_back(std::move(data_.viewProperties[i]));
  }

  void toTyped(PMILayout target) {
    if (target == PMILayout::typed8 && data_.cadTags.flag == 1)
      notConvertible("it has CAD tags, and how 8.x codes them is not known");
    data_.pmiVersion = std::max<std::int16_t>(data_.pmiVersion, 8);
    data_.latin1 = data_.latin1 && data_.layout != PMILayout::generic;
    bool hasWidths = false;
    for (PMIGenericEntity& entity : data_.genericEntities) {
      hasWidths = hasWidths || !entity.lines.widths.empty();
      entity.lines.widths.clear();
    }
    bool hasProperties = !data_.viewProperties.empty();
    for (PMIModelView& view : data_.modelViews) {
      hasProperties = hasProperties || !view.properties.empty();
      view.properties.clear();
    }
    if (hasWidths) lose("the widths of PMI lines");
    if (hasProperties) lose("the properties of PMI model views");
    if (!data_.polygons.filled.empty()) lose("the filled areas of PMI");
    if (!data_.fonts.empty()) lose("the fonts of PMI");
    data_.polygons = {};
    data_.fonts.clear();
  }

  PMIData& data_;
  const Format& format_;
  codec::Report& losses_;
};

codec::PacketKind packetsOf(PMILayout layout) {
  return layout == PMILayout::generic ? codec::PacketKind::mk3 : codec::PacketKind::mk2;
}
codec::Predictor predictorOf(PMILayout layout) {
  return layout == PMILayout::generic ? codec::Predictor::none : codec::Predictor::lag1;
}

constexpr std::int32_t kShortTag = 1;  // 32 bits

}  // namespace

PMIForm usualPMIForm(const Format& format) {
  PMIForm form;
  form.byteFlags = format.has(Feature::shortPMIFlags);
  form.guardedText = !format.has(Feature::shortPMIFlags);
  return form;
}

bool hasTypedPMI(const PMIData& data) {
  const auto isFilled = [](const auto& kind) { return !kind.empty(); };
  return std::ranges::any_of(data.flat, isFilled) || std::ranges::any_of(data.solid, isFilled) ||
         !data.coordinateSystems.empty();
}

PMILayout layoutOf(const Format& format) noexcept {
  if (format.has(Feature::genericPMI)) return PMILayout::generic;
  return format.has(Feature::localVersions) ? PMILayout::typed9 : PMILayout::typed8;
}

void convertPMI(PMIData& data, const Format& format, codec::Report& losses) {
  Conversion(data, format, losses).run();
}

std::vector<std::size_t> taggedByKind(const PMIData& data) {
  const auto flat = [&](PMIData::Flat kind) { return data.flat[kind].size(); };
  const auto solid = [&](PMIData::Solid kind) { return data.solid[kind].size(); };
  return {flat(PMIData::lineWeld),
          solid(PMIData::spotWeld),
          flat(PMIData::surfaceFinish),
          solid(PMIData::measurementPoint),
          solid(PMIData::referenceGeometry),
          flat(PMIData::datumTarget),
          flat(PMIData::featureControlFrame),
          flat(PMIData::locator),
          flat(PMIData::dimension),
          flat(PMIData::datumFeatureSymbol),
          flat(PMIData::note),
          data.modelViews.size(),
          data.designGroups.size(),
          data.coordinateSystems.size(),
          data.genericEntities.size()};
}

std::size_t taggedEntities(const PMIData& data) {
  const std::vector<std::size_t> counts = taggedByKind(data);
  return std::accumulate(counts.begin(), counts.end(), std::size_t{0});
}

bool decodeCadTags(PMIData& data) {
  if (data.layout != PMILayout::typed9 && data.layout != PMILayout::generic) return false;
  const bool isGeneric = data.layout == PMILayout::generic;
  PMICadTags& stored = data.cadTags;
  try {
    codec::ByteCursor cursor(stored.coded, data.bigEndian);
    codec::Budget budget = codec::Budget::forInput(stored.coded.size());
    const auto packet = [&] {
      return codec::decodePacket(packetsOf(data.layout), cursor, budget, predictorOf(data.layout));
    };
    if (cursor.i32("inner version") != 1) return false;
    const std::size_t count = isGeneric ? 0 : cursor.count("tag count");
    const std::vector<std::int32_t> types =
        isGeneric || count > 0 ? packet() : std::vector<std::int32_t>();
    const bool areShort = std::ranges::all_of(types, [](auto type) { return type == kShortTag; });
    if (!areShort || (!isGeneric && types.size() != count)) return false;
    std::vector<std::int32_t> tags = isGeneric || count > 0 ? packet() : types;
    if (isGeneric && cursor.count("64-bit tags") != 0) return false;
    if (tags.size() != types.size() || cursor.left() != 0) return false;
    stored.tags = std::move(tags);
    return true;
  } catch (const JtFormatError&) {
    return false;
  }
}

void encodeCadTags(PMIData& data, const Format& format) {
  const PMILayout layout = layoutOf(format);
  if (layout == PMILayout::typed8) notConvertible("how 8.x codes CAD tags is not known");
  const std::vector<std::int32_t>& tags = *data.cadTags.tags;
  const std::vector<std::int32_t> types(tags.size(), kShortTag);
  codec::Bytes out;
  const auto packet = [&](const std::vector<std::int32_t>& values) {
    codec::encodePacket(packetsOf(layout), out, format.bigEndian, values, predictorOf(layout));
  };
  codec::append(out, std::int32_t{1}, format.bigEndian);
  if (layout == PMILayout::generic) {
    packet(types);
    packet(tags);
    codec::append(out, std::int32_t{0}, format.bigEndian);  // no tags of 64 bits
  } else {
    codec::append(out, static_cast<std::int32_t>(tags.size()), format.bigEndian);
    if (!tags.empty()) {
      packet(types);
      packet(tags);
    }
  }
  data.cadTags.coded = std::move(out);
}

}  // namespace jt::file
