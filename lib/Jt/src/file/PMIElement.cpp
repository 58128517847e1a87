#include "PMIElement.h"

#include <limits>
#include <numeric>

#include "PMIConversion.h"
#include "PMIFields.h"
#include "PMISplit.h"
#include "PMITags.h"

namespace jt::file {

namespace {

/// The forms that an element may have, the most likely first. Those that leave the rest as bytes
/// come last: it is what is known least about.
std::vector<PMIForm> candidates(const Format& format) {
  const PMIForm usual = usualPMIForm(format);
  const bool isGeneric = format.has(Feature::genericPMI);
  std::vector<PMIForm> forms;
  for (const bool opaqueRest : {false, true})
    for (const bool otherText : {false, true})
      for (const bool otherFlags : {false, true})
        for (const bool otherLength : {false, true}) {
          PMIForm form = usual;
          form.opaqueRest = opaqueRest;
          form.guardedText = usual.guardedText != otherText;
          form.byteFlags = isGeneric && usual.byteFlags != otherFlags;
          form.ownersAlways = !isGeneric && otherFlags;
          form.lengthAtOnce = otherLength;
          const bool lengthCounts = format.has(Feature::localVersions) && !isGeneric && !opaqueRest;
          if (!otherLength || lengthCounts) forms.push_back(form);
        }
  return forms;
}

class IdCheck {
 public:
  explicit IdCheck(const PMIData& data) : data_(data) {}

  void run() const {
    for (const auto& kind : data_.flat)
      for (const PMI2DEntity& entity : kind) texts(entity.texts);
    for (const auto& kind : data_.solid)
      for (const PMI3DEntity& entity : kind) id(entity.stringId);
    for (const PMIDesignGroup& group : data_.designGroups) {
      id(group.nameId);
      for (const auto& value : group.attributes)
        for (const std::int32_t each : {value.stringId, value.labelId, value.descriptionId})
          id(each);
    }
    for (const PMICoordinateSystem& system : data_.coordinateSystems) id(system.nameId);
    for (const PMIAssociation& link : data_.associations)
      for (const std::int32_t owner : {link.sourceOwner, link.destinationOwner}) id(owner);
    for (const auto& pair : data_.userAttributes)
      for (const std::int32_t each : pair) id(each);
    for (const PMIModelView& view : data_.modelViews) id(view.nameId);
    for (const PMIGenericEntity& entity : data_.genericEntities) {
      texts(entity.texts);
      id(entity.typeNameId);
      id(entity.parentTypeNameId);
    }
  }

 private:
  void texts(const std::vector<PMIText>& texts) const {
    for (const PMIText& text : texts) id(text.stringId);
  }
  void id(std::int32_t id) const {
    if (id >= -1 && (id < 0 || static_cast<std::size_t>(id) < data_.strings.size())) return;
    throw JtFormatError("bad_value", "PMI names text " + std::to_string(id) + ", but there are " +
                                         std::to_string(data_.strings.size()));
  }
  const PMIData& data_;
};

PMIData readAs(const PMIForm& form, Reader& reader) {
  PMIData data;
  data.form = form;
  PMIFields::run(reader, data);
  IdCheck(data).run();
  return data;
}

/// Content with the entities that a save divided, if it is certain that it would divide them again.
PMIData wholeEntities(PMIData data, std::span<const std::byte> body, const Format& format) {
  if (!hasSplitEntities(data)) return data;
  PMIData whole(data);
  joinSplitEntities(whole);
  ByteSink written;
  codec::Report losses;
  try {
    writePMI(written, whole, format, losses);
  } catch (const JtFormatError&) {
    return data;
  }
  return std::ranges::equal(written.bytes(), body) ? whole : data;
}

}  // namespace

PMIData readPMI(std::span<const std::byte> body, const Format& format, std::size_t base) {
  std::optional<PMIData> withSurplus;
  std::optional<JtFormatError> failure;
  std::size_t farthest = 0;
  for (const PMIForm& form : candidates(format)) {
    if (form.opaqueRest && withSurplus) break;
    Reader reader(body, format, base);
    try {
      PMIData data = readAs(form, reader);
      data.layout = layoutOf(format);
      data.bigEndian = format.bigEndian;
      data.hasAreaForEachEntity = !data.polygons.vertexCounts.empty() &&
                                  data.polygons.vertexCounts.size() == data.genericEntities.size();
      // Only the generic layout has an end that nobody knows.
      const bool fits = data.surplus.empty() || format.has(Feature::genericPMI) || form.opaqueRest;
      if (fits) return wholeEntities(std::move(data), body, format);
      if (!withSurplus) withSurplus = std::move(data);
    } catch (const JtFormatError& error) {
      if (failure && reader.offset() <= farthest) continue;
      farthest = reader.offset();
      failure = error;
    }
  }
  if (withSurplus) return std::move(*withSurplus);
  throw JtFormatError("bad_pmi", "the PMI cannot be read: " + failure->message(),
                      {{}, {}, failure->where().element, failure->where().offset.value_or(base)});
}

void tracePMI(std::span<const std::byte> body, const Format& format, std::size_t base,
              FieldListener& listener) {
  PMIData data;
  std::optional<JtFormatError> damage;
  try {
    data.form = readPMI(body, format, base).form;
  } catch (const JtFormatError& error) {
    damage = error;
    data.form = usualPMIForm(format);
  }
  TracingReader reader(body, format, base, &listener);
  PMIFields::run(reader, data);
  if (damage) throw JtFormatError(damage->code(), damage->message(), {{}, {}, {}, reader.offset()});
}

void writePMI(ByteSink& out, const PMIData& data, const Format& format, codec::Report& losses) {
  PMIData stored(data);
  convertPMI(stored, format, losses);
  if (stored.cadTags.tags) encodeCadTags(stored, format);
  Writer writer(out, format);
  PMIFields::run(writer, stored);
}

void writeComparablePMI(ByteSink& out, PMIData data) {
  requireEditable(data);
  for (std::size_t i = 0; i < data.viewProperties.size(); ++i)
    data.modelViews[i].properties.push_back(std::move(data.viewProperties[i]));
  data.viewProperties.clear();
  data.pmiVersion = 8;
  data.layout = PMILayout::none;  // what is new gets the usual form
  data.bigEndian = false;
  codec::Report losses;
  writePMI(out, data, {10, 5, false}, losses);
}

const JtString* findProperty(const std::vector<PMIProperty>& properties, const JtString& key) {
  for (const PMIProperty& property : properties)
    if (property.key.text == key) return &property.value.text;
  return nullptr;
}

std::vector<std::string> narrowStrings(const PMIData& data) {
  const auto isLatin1 = [](const JtString& text) {
    return std::ranges::all_of(text.units(), [](char16_t unit) { return unit < 256; });
  };
  const bool latin1 = data.latin1 && std::ranges::all_of(data.strings, isLatin1);
  std::vector<std::string> stored;
  stored.reserve(data.strings.size());
  for (const JtString& text : data.strings) {
    std::string& bytes = stored.emplace_back();
    if (!latin1) {
      bytes = text.stringToMbs();
      continue;
    }
    for (const char16_t unit : text.units())
      bytes += static_cast<char>(static_cast<unsigned char>(unit));
  }
  return stored;
}

void setNarrowStrings(PMIData& data, const std::vector<std::string>& stored) {
  data.strings.clear();
  data.strings.reserve(stored.size());
  for (const std::string& bytes : stored) data.strings.emplace_back(bytes);
  data.latin1 = narrowStrings(data) != stored;
  if (!data.latin1) return;
  for (std::size_t i = 0; i < stored.size(); ++i) {
    std::u16string units;
    for (const char byte : stored[i]) units += static_cast<unsigned char>(byte);
    data.strings[i] = JtString(std::move(units));
  }
}

}  // namespace jt::file
