#pragma once

// Field lists of the parts of the element "PMI Manager Meta Data": entities, views, properties.

#include <limits>

#include "JtPMIData.h"
#include "file/archive/Archive.h"

namespace jt::file {

/// The parts, in the form that one element has. Names of fields are those of ISO 14306.
template <class Ar>
class PMIParts {
 public:
  PMIParts(Ar& ar, const PMIData& data)
      : ar_(ar),
        form_(data.form),
        isGeneric_(ar.has(Feature::genericPMI)),
        pmiVersion_(isGeneric_ ? std::numeric_limits<int>::max() : data.pmiVersion) {}

  bool isGeneric() const noexcept { return isGeneric_; }
  /// True when the content has what version `version` of PMI added; the generic layout always has.
  bool isFrom(int version) const noexcept { return pmiVersion_ >= version; }
  bool hasOwners() const noexcept { return isFrom(6) || form_.ownersAlways; }

  void flat(PMI2DEntity& entity, bool isNote) {
    drawing(entity.base, entity.texts, entity.lines);
    if (isNote && isFrom(6)) ar_("urlFlag", entity.urlFlag);
  }

  void solid(PMI3DEntity& entity, bool hasVectors) {
    base(entity.base);
    ar_("stringId", entity.stringId);
    ar_("polylineDimensionality", entity.dimensionality);
    narrowList<std::int16_t>("polylineSegmentIndex", entity.indices);
    ar_.list("polylineVertexCoords", entity.vertices);
    if (hasVectors && isFrom(4)) ar_("vectors", entity.vectors);
  }

  void coordinateSystem(PMICoordinateSystem& system) {
    ar_("nameStringId", system.nameId);
    ar_("originAndAxisPoints", system.frame);
  }

  void designGroup(PMIDesignGroup& group) {
    ar_("groupNameStringId", group.nameId);
    if (isFrom(3))
      ar_.repeat("attributeCount", group.attributes, 16, [&](auto& value) { attribute(value); });
  }

  void association(PMIAssociation& link) {
    ar_("sourceData", link.source);
    if (isGeneric_) {
      ar_("sourceOwningEntityStringId", link.sourceOwner);
      ar_("reasonCode", link.reason);
      ar_("destinationData", link.destination);
      ar_("destinationOwningEntityStringId", link.destinationOwner);
      return;
    }
    ar_("destinationData", link.destination);
    ar_("reasonCode", link.reason);
    if (!hasOwners()) return;
    ar_("sourceOwningEntityStringId", link.sourceOwner);
    ar_("destinationOwningEntityStringId", link.destinationOwner);
  }

  void modelView(PMIModelView& view) {
    ar_("eyeDirection", view.eyeDirection);
    ar_("angle", view.angle);
    ar_("eyePosition", view.eyePosition);
    ar_("targetPoint", view.target);
    ar_("viewAngle", view.viewAngles);
    ar_("viewportDiameter", view.viewportDiameter);
    ar_("reservedNumber", view.reservedNumber);
    ar_("reserved", view.reserved);
    ar_("activeFlag", view.isActive);
    ar_("viewId", view.viewId);
    ar_("viewNameStringId", view.nameId);
    if (isGeneric_) properties(view.properties);
  }

  void genericEntity(PMIGenericEntity& entity) {
    drawing(entity.base, entity.texts, entity.lines);
    properties(entity.properties);
    ar_("entityTypeNameStringId", entity.typeNameId);
    ar_("parentTypeNameStringId", entity.parentTypeNameId);
    ar_("entityType", entity.type);
    ar_("parentType", entity.parentType);
    if (isFrom(7)) ar_("userFlags", entity.userFlags);
  }

  void property(PMIProperty& property) {
    text("propertyKey", property.key);
    text("propertyValue", property.value);
  }

  void polygons(PMIPolygons& polygons) {
    ar_.version("polygonDataVersion", polygons.version, 1, 1);
    if (isGeneric_) {
      genericPolygons(polygons);
    } else {
      typedPolygons(polygons);
    }
    for (PMIPolygons::Filled& filled : polygons.filled) polygonArrays(filled);
  }

  void font(PMIFont& font) {
    if (isGeneric_) {
      ar_("fontName", font.name);
      narrowList<std::uint16_t>("characterSet", font.characters);
    } else {
      narrowName(font.name);
      ar_.list("characterSet", font.characters);
    }
    polygons(font.polygons);
  }

 private:
  void base(PMIBase& base) {
    ar_("userLabel", base.userLabel);
    ar_("2dFrameFlag", base.frameFlag);
    if (base.frameFlag != 0) ar_("2dReferenceFrame", base.frame);
    ar_("textHeight", base.textHeight);
    if (isFrom(5)) ar_("symbolValidFlag", base.symbolValid);
  }

  void drawing(PMIBase& itsBase, std::vector<PMIText>& texts, PMIPolylines& lines) {
    base(itsBase);
    ar_.repeat("textEntityCount", texts, 44, [&](PMIText& text) { textLine(text); });
    if (isGeneric_) {
      ar_.list("polylineSegmentIndex", lines.indices);
    } else {
      narrowList<std::int16_t>("polylineSegmentIndex", lines.indices);
    }
    if (isFrom(5)) ar_.list("polylineType", lines.types);
    if (isGeneric_) ar_.list("polylineWidth", lines.widths);
    ar_.list("polylineVertexCoords", lines.vertices);
  }

  void textLine(PMIText& text) {
    ar_("stringId", text.stringId);
    ar_("font", text.font);
    ar_("reserved", text.reserved);
    ar_("reservedNumber", text.reservedNumber);
    ar_("textBox", text.box);
    narrowList<std::int16_t>("textPolylineSegmentIndex", text.indices);
    if (!text.indices.empty() || !form_.guardedText)
      ar_.list("textPolylineVertexCoords", text.vertices);
  }

  void attribute(PMIDesignGroup::Attribute& value) {
    ar_("attributeType", value.type);
    switch (value.type) {
      case 1:
        ar_("integerValue", value.integer);
        break;
      case 2:
        ar_("doubleValue", value.number);
        break;
      case 3:
        ar_("stringValueStringId", value.stringId);
        break;
      default:
        ar_.fail("attributeType", "an attribute of a design group has a type from 1 to 3, found " +
                                      std::to_string(value.type));
    }
    ar_("labelStringId", value.labelId);
    ar_("descriptionStringId", value.descriptionId);
  }

  void properties(std::vector<PMIProperty>& list) {
    ar_.repeat("propertyCount", list, 8, [&](PMIProperty& each) { property(each); });
  }

  void text(const char* name, PMIPropertyText& text) {
    ar_(name, text.text);
    if (!isFrom(7)) return;
    if (isGeneric_ && form_.byteFlags) {
      ar_.template as<std::uint8_t>("hiddenFlag", text.hidden);
    } else {
      ar_("hiddenFlag", text.hidden);
    }
    if (text.hidden > 1)
      ar_.fail("hiddenFlag", "a hidden flag is 0 or 1, found " + std::to_string(text.hidden));
  }

  void genericPolygons(PMIPolygons& polygons) {
    std::vector<std::int32_t> bindings;
    std::vector<std::int32_t> dimensions;
    auto count = static_cast<std::int32_t>(polygons.vertexCounts.size());
    if constexpr (!Ar::kReading)
      for (const PMIPolygons::Filled& filled : polygons.filled) {
        bindings.insert(bindings.end(), filled.bindings.begin(), filled.bindings.end());
        dimensions.push_back(filled.dimension);
      }
    ar_("elementCount", count);
    ar_.list("vertexCounts", polygons.vertexCounts);
    ar_.list("bindings", bindings);
    ar_.list("dimensions", dimensions);
    if constexpr (Ar::kReading) {
      const std::size_t filled = filledCount(polygons);
      expectCount("vertexCounts", polygons.vertexCounts.size(), static_cast<std::size_t>(count));
      expectCount("bindings", bindings.size(), 3 * filled);
      expectCount("dimensions", dimensions.size(), filled);
      polygons.filled.resize(filled);
      for (std::size_t i = 0; i < filled; ++i) {
        std::copy_n(&bindings[3 * i], 3, polygons.filled[i].bindings.begin());
        polygons.filled[i].dimension = dimensions[i];
      }
    }
  }

  void typedPolygons(PMIPolygons& polygons) {
    ar_("reserved", polygons.reserved);
    ar_.list("vertexCounts", polygons.vertexCounts);
    if constexpr (Ar::kReading) {
      constexpr std::size_t kHeadSize = 16;
      const std::size_t filled = filledCount(polygons);
      if (filled > ar_.left() / kHeadSize)
        ar_.fail("vertexCounts", std::to_string(filled) + " polygon elements do not fit");
      polygons.filled.resize(filled);
    }
    for (PMIPolygons::Filled& filled : polygons.filled) {
      ar_("normalBinding", filled.bindings[1]);
      ar_("colourBinding", filled.bindings[0]);
      ar_("textureBinding", filled.bindings[2]);
      ar_("dimension", filled.dimension);
    }
  }

  void polygonArrays(PMIPolygons::Filled& filled) {
    ar_.list("primitiveTypes", filled.primitiveTypes);
    ar_.list("primitiveIndices", filled.primitiveIndices);
    ar_.list("vertexIndices", filled.vertexIndices);
    ar_.list("vertices", filled.vertices);
    if (filled.bindings[1] == 1) ar_.list("normals", filled.normals);
    if (filled.bindings[0] == 1) ar_.list("colours", filled.colors);
    if (filled.bindings[2] == 1) ar_.list("textureCoords", filled.textureCoords);
  }

  static std::size_t filledCount(const PMIPolygons& polygons) {
    return static_cast<std::size_t>(
        std::ranges::count_if(polygons.vertexCounts, [](auto count) { return count != 0; }));
  }

  void expectCount(const char* name, std::size_t found, std::size_t expected) {
    if (found != expected)
      ar_.fail(name, std::string("expected ") + std::to_string(expected) + " " + name + ", found " +
                         std::to_string(found));
  }

  /// A list whose numbers are stored narrower than they are held.
  template <class Stored>
  void narrowList(const char* name, std::vector<std::int32_t>& values) {
    std::vector<Stored> stored;
    if constexpr (!Ar::kReading) {
      stored.reserve(values.size());
      for (const std::int32_t value : values) {
        if (value < std::numeric_limits<Stored>::min() ||
            value > std::numeric_limits<Stored>::max())
          ar_.fail(name, std::string(name) + " cannot be " + std::to_string(value) +
                             " in this version of the format");
        stored.push_back(static_cast<Stored>(value));
      }
    }
    ar_.list(name, stored);
    if constexpr (Ar::kReading) values.assign(stored.begin(), stored.end());
  }

  /// Names of fonts in the typed layout are Latin-1: every byte is a character.
  void narrowName(JtString& name) {
    std::string stored;
    if constexpr (!Ar::kReading)
      for (const char16_t unit : name.units())
        stored += unit < 256 ? static_cast<char>(static_cast<unsigned char>(unit)) : '?';
    ar_.narrow("fontName", stored);
    if constexpr (Ar::kReading) {
      std::u16string units;
      for (const char character : stored) units += static_cast<unsigned char>(character);
      name = JtString(std::move(units));
    }
  }

  Ar& ar_;
  const PMIForm& form_;
  bool isGeneric_;
  int pmiVersion_;
};

}  // namespace jt::file
