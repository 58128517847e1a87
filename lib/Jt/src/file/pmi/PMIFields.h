#pragma once

// Field list of the element "PMI Manager Meta Data" in both layouts.

#include <algorithm>

#include "file/pmi/PMIElement.h"
#include "file/pmi/PMIEntityFields.h"
#include "file/pmi/PMIKinds.h"

namespace jt::file {

struct PMIFields {
  /// @param data its form must be set
  template <class Ar>
  static void run(Ar& ar, PMIData& data) {
    ar.version("versionNumber", data.version, 1, 2);
    if (ar.has(Feature::genericPMI)) {
      ar("emptyField", data.unused);
    } else {
      ar("pmiVersionNumber", data.pmiVersion);
      ar("reserved", data.reserved);
    }
    PMIParts<Ar> parts(ar, data);
    if (!parts.isGeneric()) typedEntities(ar, parts, data);
    if (parts.isGeneric()) designGroups(ar, parts, data);
    ar.repeat("associationCount", data.associations, parts.hasOwners() ? 20 : 12,
              [&](auto& link) { parts.association(link); });
    ar.repeat("userAttributeCount", data.userAttributes, 8, [&](auto& ids) {
      ar("keyStringId", ids[0]);
      ar("valueStringId", ids[1]);
    });
    strings(ar, parts, data);
    if (parts.isFrom(6)) {
      ar.repeat("modelViewCount", data.modelViews, 76, [&](auto& view) { parts.modelView(view); });
      ar.repeat("genericEntityCount", data.genericEntities, 33,
                [&](auto& entity) { parts.genericEntity(entity); });
    }
    if (!data.form.opaqueRest) rest(ar, parts, data);
    ar.raw("surplus", data.trailingBytes, Ar::kReading ? ar.left() : data.trailingBytes.size());
  }

 private:
  template <class Ar>
  static void typedEntities(Ar& ar, PMIParts<Ar>& parts, PMIData& data) {
    const auto flat = [&](const char* name, PMIData::Flat kind) {
      ar.repeat(name, data.flat[kind], 21,
                [&](auto& entity) { parts.flat(entity, kind == PMIData::note); });
    };
    const auto solid = [&](const char* name, PMIData::Solid kind) {
      ar.repeat(name, data.solid[kind], 23,
                [&](auto& entity) { parts.solid(entity, kind != PMIData::referenceGeometry); });
    };
    flat("dimensionCount", PMIData::dimension);
    flat("noteCount", PMIData::note);
    flat("datumFeatureSymbolCount", PMIData::datumFeatureSymbol);
    flat("datumTargetCount", PMIData::datumTarget);
    flat("featureControlFrameCount", PMIData::featureControlFrame);
    flat("lineWeldCount", PMIData::lineWeld);
    solid("spotWeldCount", PMIData::spotWeld);
    flat("surfaceFinishCount", PMIData::surfaceFinish);
    solid("measurementPointCount", PMIData::measurementPoint);
    flat("locatorCount", PMIData::locator);
    solid("referenceGeometryCount", PMIData::referenceGeometry);
    designGroups(ar, parts, data);
    ar.repeat("coordinateSystemCount", data.coordinateSystems, 40,
              [&](auto& system) { parts.coordinateSystem(system); });
  }

  template <class Ar>
  static void designGroups(Ar& ar, PMIParts<Ar>& parts, PMIData& data) {
    ar.repeat("designGroupCount", data.designGroups, 4,
              [&](auto& group) { parts.designGroup(group); });
  }

  template <class Ar>
  static void strings(Ar& ar, PMIParts<Ar>& parts, PMIData& data) {
    if (parts.isGeneric()) {
      ar.repeat("stringCount", data.strings, 4, [&](JtString& text) { ar("pmiString", text); });
      return;
    }
    std::vector<std::string> stored;
    if constexpr (!Ar::kReading) stored = narrowStrings(data);
    ar.repeat("stringCount", stored, 4, [&](std::string& text) { ar.narrow("pmiString", text); });
    if constexpr (Ar::kReading) setNarrowStrings(data, stored);
  }

  /// What follows the generic entities.
  template <class Ar>
  static void rest(Ar& ar, PMIParts<Ar>& parts, PMIData& data) {
    if (parts.isGeneric()) parts.polygons(data.polygons);
    if (parts.isFrom(8)) cadTags(ar, data);
    if (parts.isGeneric()) {
      fonts(ar, parts, data);
    } else if (ar.has(Feature::typedPMITail) && data.version.value > 1) {
      if constexpr (Ar::kReading) data.viewProperties.resize(data.modelViews.size());
      for (PMIProperty& property : data.viewProperties) parts.property(property);
      parts.polygons(data.polygons);
      fonts(ar, parts, data);
    }
  }

  template <class Ar>
  static void fonts(Ar& ar, PMIParts<Ar>& parts, PMIData& data) {
    ar.repeat("fontCount", data.fonts, 18, [&](auto& font) { parts.font(font); });
  }

  template <class Ar>
  static void cadTags(Ar& ar, PMIData& data) {
    PMICadTags& tags = data.cadTags;
    ar("cadTagsFlag", tags.flag);
    if (tags.flag > 1)
      ar.fail("cadTagsFlag", "the flag is 0 or 1, found " + std::to_string(tags.flag));
    if (tags.flag == 0) return;
    ar.list("cadTagIndex", tags.indices);
    if constexpr (Ar::kReading)
      if (const std::size_t total = PMITagPlaces(data).total; tags.indices.size() != total)
        ar.fail("cadTagIndex", "expected " + std::to_string(total) +
                                   " indices, one for each entity, found " +
                                   std::to_string(tags.indices.size()));
    ar.version("cadTagVersion", tags.version, 1, 1);
    const std::size_t own = data.form.lengthAtOnce ? 6 : 4;
    auto length = static_cast<std::int32_t>(own + tags.coded.size());
    ar("cadTagDataLength", length);
    if constexpr (Ar::kReading)
      if (length < static_cast<std::int32_t>(own))
        ar.fail("cadTagDataLength",
                "expected at least " + std::to_string(own) + ", found " + std::to_string(length));
    ar.raw("compressedCadTags", tags.coded, static_cast<std::size_t>(length) - own);
  }
};

}  // namespace jt::file
