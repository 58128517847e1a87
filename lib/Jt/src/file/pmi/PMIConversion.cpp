#include "file/pmi/PMIConversion.h"

#include <algorithm>
#include <map>

#include "file/pmi/PMIGeneric.h"
#include "file/pmi/PMISplit.h"
#include "file/pmi/PMITags.h"

namespace jt::file {

namespace {

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
    if (data_.layout != target || data_.bigEndian != format_.bigEndian) convert(target);
    splitLongEntities(data_, format_);
  }

 private:
  void convert(PMILayout target) {
    const bool isNew = data_.layout == PMILayout::none;
    if (!isNew) keptBytes(target);
    if (data_.layout != target) {
      if (!isGeneric(target)) {
        toTyped();
      } else if (!isGeneric(data_.layout)) {
        toGeneric();
      }
      const bool opaqueRest = data_.form.opaqueRest;
      data_.form = usualPMIForm(format_);
      data_.form.opaqueRest = opaqueRest;
      if (!opaqueRest) data_.trailingBytes = usualEnd(format_);
      forget(data_.version);
      forget(data_.cadTags.version);
      forget(data_.polygons.version);
      for (PMIFont& font : data_.fonts) forget(font.polygons.version);
    }
    data_.layout = target;
    data_.bigEndian = format_.bigEndian;
  }

  static void forget(LocalVersion& version) { version = {}; }

  void lose(const std::string& what) {
    losses_.add("not_convertible", what + " were left out: this version cannot hold them");
  }

  /// What was kept as bytes does not mean the same in another form.
  void keptBytes(PMILayout target) {
    const bool isLayoutKept = isGeneric(data_.layout) && isGeneric(target);
    if (data_.form.opaqueRest && isLayoutKept && data_.bigEndian == format_.bigEndian) return;
    if (data_.form.opaqueRest) {
      losses_.add("not_convertible",
                  "areas, CAD tags and fonts of PMI were left out: they are not understood");
      data_.form.opaqueRest = false;
      data_.trailingBytes.clear();
      dropLinks([](PMIKind) { return true; });
    } else if (data_.cadTags.flag == 1 && !data_.cadTags.tags && !decodeCadTags(data_)) {
      losses_.add("not_convertible", "CAD tags of PMI got new numbers: they cannot be decoded");
      renewTags();
    }
    if (isZero(data_.trailingBytes)) return;
    lose("bytes at the end of the PMI, whose meaning is not known,");
    data_.trailingBytes = usualEnd(format_);
  }

  /// Removes associations with an end that is a CAD tag.
  template <class Predicate>
  void dropLinks(const Predicate& isDropped) {
    const auto hasEnd = [&](std::uint32_t end, std::int32_t owner) {
      return owner == -1 && (end & PMITypedID::kIndirect) != 0 && isDropped(PMITypedID{end}.kind());
    };
    const auto count = std::erase_if(data_.associations, [&](const PMIAssociation& link) {
      return hasEnd(link.source, link.sourceOwner) ||
             hasEnd(link.destination, link.destinationOwner);
    });
    if (count > 0) lose("associations of PMI whose ends are CAD tags");
  }

  /// New tags for the entities. Those of faces and edges are numbers of the producer: lost.
  void renewTags() {
    dropLinks([](PMIKind kind) { return kind <= PMIKind::brepFace; });
    std::map<std::int32_t, std::int32_t> newIndices;
    for (std::int32_t& index : data_.cadTags.indices)
      index =
          newIndices.try_emplace(index, static_cast<std::int32_t>(newIndices.size())).first->second;
    const auto renew = [&](std::uint32_t& end, std::int32_t owner) {
      if (owner != -1 || (end & PMITypedID::kIndirect) == 0) return;
      const auto found = newIndices.find(PMITypedID{end}.index());
      const auto index = static_cast<std::uint32_t>(
          found == newIndices.end() ? static_cast<std::int32_t>(PMITypedID::kMaxIndex)
                                    : found->second);
      end = (end & ~PMITypedID::kMaxIndex) | index;
    };
    for (PMIAssociation& link : data_.associations) {
      renew(link.source, link.sourceOwner);
      renew(link.destination, link.destinationOwner);
    }
    auto& tags = data_.cadTags.tags.emplace();
    for (std::size_t i = 1; i <= newIndices.size(); ++i)
      tags.push_back({static_cast<std::int64_t>(i)});
  }

  void toGeneric() {
    makeGeneric(data_);
    for (std::size_t i = 0; i < data_.viewProperties.size(); ++i)
      data_.modelViews[i].properties.push_back(std::move(data_.viewProperties[i]));
    data_.viewProperties.clear();
    const auto hasWideCharacter = [](const PMIFont& font) {
      return std::ranges::any_of(font.characters,
                                 [](std::int32_t unit) { return unit < 0 || unit > 0xffff; });
    };
    if (std::erase_if(data_.fonts, hasWideCharacter) > 0)
      lose("fonts of PMI with characters beyond 16 bits");
  }

  void toTyped() {
    data_.pmiVersion = std::max<std::int16_t>(data_.pmiVersion, 8);
    data_.latin1 = data_.latin1 && !isGeneric(data_.layout);
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
    data_.viewProperties.clear();
    if (hasWidths) lose("the widths of PMI lines");
    if (hasProperties) lose("the properties of PMI model views");
    if (!data_.polygons.filled.empty()) lose("the filled areas of PMI");
    if (!data_.fonts.empty()) lose("the fonts of PMI");
    data_.polygons = {};
    data_.hasAreaForEachEntity = false;
    data_.fonts.clear();
  }

  PMIData& data_;
  const Format& format_;
  codec::Report& losses_;
};

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
  if (format.has(Feature::shortPMIFlags)) return PMILayout::generic105;
  if (format.has(Feature::genericPMI)) return PMILayout::generic10;
  return format.has(Feature::typedPMITail) ? PMILayout::typed9 : PMILayout::typed8;
}

void convertPMI(PMIData& data, const Format& format, codec::Report& losses) {
  Conversion(data, format, losses).run();
}

}  // namespace jt::file
