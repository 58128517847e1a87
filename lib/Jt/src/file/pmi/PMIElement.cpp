#include "file/pmi/PMIElement.h"

#include <limits>
#include <numeric>

#include "file/pmi/PMIConversion.h"
#include "file/pmi/PMIFields.h"
#include "file/pmi/PMIGeneric.h"
#include "file/pmi/PMISplit.h"
#include "file/pmi/PMITags.h"
#include "file/pmi/PMITexts.h"

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
          const bool lengthCounts = format.has(Feature::typedPMITail) && !isGeneric && !opaqueRest;
          if (!otherLength || lengthCounts) forms.push_back(form);
        }
  return forms;
}

void checkTextIds(const PMIData& data) {
  const auto count = static_cast<std::int64_t>(data.strings.size());
  eachTextId(data, [count](std::int32_t id) {
    if (id >= -1 && id < count) return;
    throw JtFormatError("bad_value", "PMI names text " + std::to_string(id) + ", but there are " +
                                         std::to_string(count));
  });
}

/// Leaves the texts that something names, in the order in which they are named.
void sortTexts(PMIData& data) {
  std::vector<std::int32_t> newIds(data.strings.size(), -1);
  std::vector<JtString> strings;
  eachTextId(data, [&](std::int32_t& id) {
    if (id < 0) return;
    std::int32_t& newId = newIds.at(static_cast<std::size_t>(id));
    if (newId < 0) {
      newId = static_cast<std::int32_t>(strings.size());
      strings.push_back(data.strings[static_cast<std::size_t>(id)]);
    }
    id = newId;
  });
  data.strings = std::move(strings);
}

PMIData readAs(const PMIForm& form, Reader& reader) {
  PMIData data;
  data.form = form;
  PMIFields::run(reader, data);
  checkTextIds(data);
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

PMIData readPMI(std::span<const std::byte> body, const Format& format, std::size_t base,
                MemoryShare* memory) {
  std::optional<PMIData> withTrailingBytes;
  std::optional<JtFormatError> failure;
  std::size_t farthest = 0;
  for (const PMIForm& form : candidates(format)) {
    if (form.opaqueRest && withTrailingBytes) break;
    Reader reader(body, format, base);
    const std::uint64_t before = memory ? memory->used() : 0;
    if (memory) reader.countIn(*memory);
    const auto forget = [&] {
      if (memory) memory->give(memory->used() - before);
    };
    try {
      PMIData data = readAs(form, reader);
      data.layout = layoutOf(format);
      data.bigEndian = format.bigEndian;
      data.hasAreaForEachEntity = !data.polygons.vertexCounts.empty() &&
                                  data.polygons.vertexCounts.size() == data.genericEntities.size();
      // Only the generic layout has an end that nobody knows.
      const bool fits =
          data.trailingBytes.empty() || format.has(Feature::genericPMI) || form.opaqueRest;
      if (fits) return wholeEntities(std::move(data), body, format);
      if (withTrailingBytes) {
        forget();
      } else {
        withTrailingBytes = std::move(data);
      }
    } catch (const DocumentLimitError&) {
      throw;
    } catch (const JtFormatError& error) {
      forget();
      if (failure && reader.offset() <= farthest) continue;
      farthest = reader.offset();
      failure = error;
    }
  }
  if (withTrailingBytes) return std::move(*withTrailingBytes);
  throw JtFormatError(
      "bad_pmi", "the PMI cannot be read: " + failure->message(),
      {.element = failure->where().element, .offset = failure->where().offset.value_or(base)});
}

void tracePMI(std::span<const std::byte> body, const Format& format, std::size_t base,
              FieldListener& listener, MemoryShare* memory) {
  PMIData data;
  std::optional<JtFormatError> damage;
  try {
    data.form = readPMI(body, format, base, memory).form;
  } catch (const JtFormatError& error) {
    damage = error;
    data.form = usualPMIForm(format);
  }
  TracingReader reader(body, format, base, &listener);
  if (memory) reader.countIn(*memory);
  PMIFields::run(reader, data);
  if (damage) throw JtFormatError(damage->code(), damage->message(), {.offset = reader.offset()});
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
  makeGeneric(data);
  // Bytes that are not understood may name texts, but hardly when all are 0.
  if (std::ranges::all_of(data.trailingBytes,
                          [](std::byte byte) { return byte == std::byte{0}; })) {
    data.trailingBytes.clear();
    sortTexts(data);
  }
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
