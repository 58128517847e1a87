#include "file/pmi/PMISplit.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

#include "file/pmi/PMIElement.h"
#include "file/pmi/PMIKinds.h"
#include "file/pmi/PMITags.h"

namespace jt::file {

namespace {

constexpr std::int32_t kMostPoints = std::numeric_limits<std::int16_t>::max();

/// Property of a continuation: position of the generic entity that it continues.
const JtString& continuesKey() {
  static const JtString key("ContinuedEntity");
  return key;
}
/// Properties that a continuation shares: what the entity is called and how it looks.
constexpr const char* kSharedKeys[] = {"Description",
                                       "name",
                                       "PMIGeometryColor",
                                       "PMIGeometryColour",
                                       "PMIGeometryWidth",
                                       "PMITextForegroundColor",
                                       "PMITextForegroundColour",
                                       "textColour",
                                       "LAYER",
                                       "Layer",
                                       "blanked"};

bool isReached(const std::vector<std::int32_t>& indices) {
  return std::ranges::all_of(indices, [](std::int32_t index) {
    return index >= std::numeric_limits<std::int16_t>::min() && index <= kMostPoints;
  });
}

/// Divides polylines into parts of at most kMostPoints points. A polyline that is longer by itself
/// fills parts of its own, each of which begins with the last point of the one before.
class Divider {
 public:
  /// @param dimension numbers of a point
  Divider(const PMIPolylines& lines, std::size_t dimension)
      : lines_(lines),
        dimension_(dimension),
        points_(static_cast<std::int64_t>(lines.vertices.size() / dimension)) {}

  std::vector<PMIPolylines> run() {
    for (std::size_t i = 0; i + 1 < lines_.indices.size(); ++i) {
      const std::int64_t from = std::clamp<std::int64_t>(lines_.indices[i], 0, points_);
      const std::int64_t to = std::clamp<std::int64_t>(lines_.indices[i + 1], 0, points_);
      if (to > from) polyline(i, from, to);
    }
    return std::move(parts_);
  }

 private:
  void polyline(std::size_t line, std::int64_t from, std::int64_t to) {
    const std::int64_t used = parts_.empty() ? kMostPoints : parts_.back().indices.back();
    if (used + (to - from) > kMostPoints) parts_.emplace_back().indices.push_back(0);
    for (std::int64_t at = from;;) {
      const std::int64_t end = std::min<std::int64_t>(to, at + kMostPoints);
      add(line, at, end);
      if (end == to) return;
      parts_.emplace_back().indices.push_back(0);
      at = end - 1;
    }
  }

  void add(std::size_t line, std::int64_t from, std::int64_t to) {
    PMIPolylines& part = parts_.back();
    part.indices.push_back(part.indices.back() + static_cast<std::int32_t>(to - from));
    const std::size_t count = lines_.indices.size() - 1;
    if (lines_.types.size() == count) part.types.push_back(lines_.types[line]);
    if (lines_.widths.size() == count) part.widths.push_back(lines_.widths[line]);
    const auto place = [&](std::int64_t point) {
      return lines_.vertices.begin() + point * static_cast<std::ptrdiff_t>(dimension_);
    };
    part.vertices.insert(part.vertices.end(), place(from), place(to));
  }

  const PMIPolylines& lines_;
  std::size_t dimension_;
  std::int64_t points_;
  std::vector<PMIPolylines> parts_;
};

/// Undoes Divider.
void append(PMIPolylines& lines, const PMIPolylines& part, std::size_t dimension) {
  if (part.indices.size() < 2 || lines.indices.empty()) return;
  const std::size_t last = lines.indices.size() - 1;
  const std::int32_t length = last > 0 ? lines.indices[last] - lines.indices[last - 1] : 0;
  const bool isFull = length > 1 && (length - 1) % (kMostPoints - 1) == 0 &&
                      lines.vertices.size() >= dimension && part.vertices.size() >= dimension;
  const bool goesOn =
      isFull && std::equal(part.vertices.begin(),
                           part.vertices.begin() + static_cast<std::ptrdiff_t>(dimension),
                           lines.vertices.end() - static_cast<std::ptrdiff_t>(dimension));
  const std::size_t skipped = goesOn ? 1 : 0;
  const std::int32_t base = lines.indices.back() - static_cast<std::int32_t>(skipped);
  if (goesOn) lines.indices.pop_back();
  for (std::size_t i = 1; i < part.indices.size(); ++i)
    lines.indices.push_back(base + part.indices[i]);
  const auto take = [&](auto& to, const auto& from, std::size_t skip) {
    if (skip <= from.size())
      to.insert(to.end(), from.begin() + static_cast<std::ptrdiff_t>(skip), from.end());
  };
  take(lines.types, part.types, skipped);
  take(lines.widths, part.widths, skipped);
  take(lines.vertices, part.vertices, skipped * dimension);
}

/// Coordinates of a stroke's point: producers differ.
std::size_t dimensionOf(const PMIText& text) {
  const std::int64_t points = text.indices.empty() ? 0 : text.indices.back();
  return points > 0 && text.vertices.size() == 3 * static_cast<std::size_t>(points) ? 3 : 2;
}

PMIPolylines strokesOf(const PMIText& text) { return {text.indices, {}, {}, text.vertices}; }

void setStrokes(PMIText& text, PMIPolylines strokes) {
  text.indices = std::move(strokes.indices);
  text.vertices = std::move(strokes.vertices);
}

void splitTexts(std::vector<PMIText>& texts) {
  if (std::ranges::all_of(texts, [](const PMIText& text) { return isReached(text.indices); }))
    return;
  std::vector<PMIText> result;
  for (PMIText& text : texts) {
    if (isReached(text.indices)) {
      result.push_back(std::move(text));
      continue;
    }
    const PMIPolylines strokes = strokesOf(text);
    std::vector<PMIPolylines> parts = Divider(strokes, dimensionOf(text)).run();
    if (parts.empty()) parts.emplace_back();  // none of the strokes has points
    for (PMIPolylines& part : parts) {
      setStrokes(text, std::move(part));
      result.push_back(text);
      text.stringId = -1;  // the string belongs to the first part
    }
  }
  texts = std::move(result);
}

/// True for a text that may be the rest of the one before it.
bool maybeRest(const PMIText& text, const PMIText& before) {
  return text.stringId == -1 && text.font == before.font && text.box == before.box &&
         text.indices.size() > 1 && before.indices.size() > 1 &&
         std::int64_t{before.indices.back()} + text.indices.back() > kMostPoints;
}

std::optional<std::size_t> continuedBy(const PMIGenericEntity& entity) {
  const JtString* value = findProperty(entity.properties, continuesKey());
  if (!value) return {};
  const std::string text = value->stringToMbs();
  std::size_t position = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), position);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return position;
}

PMIGenericEntity continuationOf(const PMIGenericEntity& entity, std::size_t position) {
  PMIGenericEntity rest;
  rest.base = entity.base;
  rest.typeNameId = entity.typeNameId;
  rest.parentTypeNameId = entity.parentTypeNameId;
  rest.type = entity.type;
  rest.parentType = entity.parentType;
  rest.userFlags = entity.userFlags;
  rest.properties.push_back({{continuesKey(), 1}, {JtString(std::to_string(position)), 1}});
  for (const PMIProperty& property : entity.properties) {
    const auto isShared = [&](const char* key) { return property.key.text == JtString(key); };
    if (std::ranges::any_of(kSharedKeys, isShared)) rest.properties.push_back(property);
  }
  return rest;
}

/// Adds continuations with tags and areas; they are shown where their entities are.
class Continuations {
 public:
  explicit Continuations(PMIData& data)
      : data_(data),
        hasTags_(data.cadTags.flag == 1 && (data.cadTags.tags || decodeCadTags(data))) {}

  void add(std::size_t position, PMIPolylines lines) {
    PMIGenericEntity rest = continuationOf(data_.genericEntities[position], position);
    rest.lines = std::move(lines);
    continued_.emplace_back(position, data_.genericEntities.size());
    data_.genericEntities.push_back(std::move(rest));
    if (data_.hasAreaForEachEntity) data_.polygons.vertexCounts.push_back(0);
    if (data_.cadTags.flag != 1) return;
    auto& indices = data_.cadTags.indices;
    if (hasTags_) {
      auto& tags = *data_.cadTags.tags;
      indices.push_back(static_cast<std::int32_t>(tags.size()));
      tags.push_back({newTag(tags, greatestTag_)});
    } else {
      indices.push_back(indices[indices.size() - data_.genericEntities.size() + 1 + position]);
    }
  }

  void link() {
    if (continued_.empty()) return;
    const PMIEnds ends(data_);
    std::vector<PMIAssociation> links;
    for (const PMIAssociation& link : data_.associations) {
      const auto source = ends.resolve(link.source, link.sourceOwner);
      const auto view = ends.resolve(link.destination, link.destinationOwner);
      if (!source || source->kind() != PMIKind::genericEntity) continue;
      if (!view || view->kind() != PMIKind::modelView) continue;
      const auto index = static_cast<std::size_t>(source->index());
      for (auto rest = std::ranges::lower_bound(continued_, std::pair{index, std::size_t{0}});
           rest != continued_.end() && rest->first == index; ++rest) {
        links.push_back(link);
        links.back().source = storedEnd(data_, typedID(PMIKind::genericEntity, rest->second));
      }
    }
    data_.associations.insert(data_.associations.end(), links.begin(), links.end());
  }

 private:
  PMIData& data_;
  bool hasTags_;
  std::int32_t greatestTag_ = -1;
  std::vector<std::pair<std::size_t, std::size_t>> continued_;  // position, its continuation's
};

}  // namespace

void splitLongEntities(PMIData& data, const Format& format) {
  for (PMIGenericEntity& entity : data.genericEntities) splitTexts(entity.texts);
  if (format.has(Feature::genericPMI)) return;  // lines have 32-bit indices
  // Tags are decoded only for new entities: as they were read they are written byte for byte.
  if (std::ranges::all_of(data.genericEntities,
                          [](const auto& entity) { return isReached(entity.lines.indices); }))
    return;
  Continuations continuations(data);
  const std::size_t count = data.genericEntities.size();
  for (std::size_t i = 0; i < count; ++i) {
    if (isReached(data.genericEntities[i].lines.indices)) continue;
    const PMIPolylines lines = std::move(data.genericEntities[i].lines);
    data.genericEntities[i].lines = {};
    std::vector<PMIPolylines> parts = Divider(lines, 3).run();
    if (parts.empty()) continue;
    data.genericEntities[i].lines = std::move(parts[0]);
    for (std::size_t part = 1; part < parts.size(); ++part)
      continuations.add(i, std::move(parts[part]));
  }
  continuations.link();
}

bool hasSplitEntities(const PMIData& data) {
  const auto hasRest = [](const std::vector<PMIText>& texts) {
    for (std::size_t i = 1; i < texts.size(); ++i)
      if (maybeRest(texts[i], texts[i - 1])) return true;
    return false;
  };
  return std::ranges::any_of(data.genericEntities, [&](const PMIGenericEntity& entity) {
    return hasRest(entity.texts) || continuedBy(entity);
  });
}

void joinSplitEntities(PMIData& data) {
  for (PMIGenericEntity& entity : data.genericEntities) {
    std::vector<PMIText> texts;
    for (PMIText& text : entity.texts) {
      if (texts.empty() || !maybeRest(text, texts.back())) {
        texts.push_back(std::move(text));
        continue;
      }
      PMIPolylines strokes = strokesOf(texts.back());
      append(strokes, strokesOf(text), dimensionOf(text));
      setStrokes(texts.back(), std::move(strokes));
    }
    entity.texts = std::move(texts);
  }
  const std::size_t count = data.genericEntities.size();
  std::vector<bool> isRest(count);
  std::size_t rests = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const auto position = continuedBy(data.genericEntities[i]);
    if (!position || *position >= i || isRest[*position]) continue;
    append(data.genericEntities[*position].lines, data.genericEntities[i].lines, 3);
    isRest[i] = true;
    ++rests;
  }
  if (rests == 0) return;
  removeGeneric(data, isRest);
  // The tags of continuations are the last ones.
  if (data.cadTags.flag == 1 && (data.cadTags.tags || decodeCadTags(data)) &&
      data.cadTags.tags->size() >= rests)
    data.cadTags.tags->resize(data.cadTags.tags->size() - rests);
}

}  // namespace jt::file
