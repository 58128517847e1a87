#include "GraphValues.h"

#include <array>
#include <cstdio>

#include "JtInspect.h"
#include "JtLights.h"
#include "JtMaterial.h"
#include "JtStyles.h"
#include "JtTexture.h"
#include "JtXform.h"

namespace tool {
namespace {

std::string dateText(const jt::DateFields& date) {
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", date.year, date.month + 1,
                date.day, date.hour, date.minute, date.second);
  return text;
}

void writeColor(JsonWriter& json, const char* name, const jt::Rgba& color) {
  writeColor(json, name, color[0], color[1], color[2], color[3]);
}

// One function for each class of attributes: its values, as members of the object that is open.

void writeValues(JsonWriter& json, const JtMaterial& material) {
  writeColor(json, "ambient", material.ambient());
  writeColor(json, "diffuse", material.diffuse());
  writeColor(json, "specular", material.specular());
  writeColor(json, "emission", material.emission());
  json.member("shininess", material.shininess());
  json.member("reflectivity", material.reflectivity());
  json.member("bumpiness", material.bumpiness());
  json.member("overrideVertexColors", material.overrideVertexColors());
}

/// For column vectors: the transpose of what is stored.
void writeValues(JsonWriter& json, const JtXform& xform) {
  json.key("matrix");
  json.beginArray(JsonWriter::Layout::line);
  for (std::size_t row = 0; row < 4; ++row)
    for (std::size_t column = 0; column < 4; ++column)
      json.storedValue(xform.matrix()[column * 4 + row]);
  json.end();
}

void writeValues(JsonWriter& json, const JtDrawStyle& style) {
  using Flag = JtDrawStyle::Flag;
  json.member("backFaceCulling", style.has(Flag::backFaceCulling));
  json.member("twoSidedLighting", style.has(Flag::twoSidedLighting));
  json.member("outlinedPolygons", style.has(Flag::outlinedPolygons));
  json.member("lighting", style.has(Flag::lighting));
  json.member("flatShading", style.has(Flag::flatShading));
  json.member("separateSpecular", style.has(Flag::separateSpecular));
}

void writeValues(JsonWriter& json, const JtLineStyle& style) {
  json.member("lineType", static_cast<int>(style.lineType()));
  json.member("width", style.width());
  json.member("antialiased", style.antialiased());
}

void writeValues(JsonWriter& json, const JtPointStyle& style) {
  json.member("size", style.size());
  json.member("antialiased", style.antialiased());
}

void writeValues(JsonWriter& json, const JtLightSet& lights) {
  json.numbers("lights", lights.lightIds());
}

void writeLight(JsonWriter& json, const JtLight& light) {
  writeColor(json, "ambient", light.ambient());
  writeColor(json, "diffuse", light.diffuse());
  writeColor(json, "specular", light.specular());
  json.member("brightness", light.brightness());
  json.member("coordinateSystem", light.coordinateSystem());
  json.member("castsShadow", light.castsShadow());
  json.member("shadowOpacity", light.shadowOpacity());
}

void writeValues(JsonWriter& json, const JtInfiniteLight& light) {
  writeLight(json, light);
  json.numbers("direction", light.direction());
}

void writeValues(JsonWriter& json, const JtPointLight& light) {
  writeLight(json, light);
  json.numbers("position", light.position());
  json.numbers("attenuation", light.attenuation());
  json.member("spreadAngle", light.spreadAngle());
  json.numbers("spotDirection", light.spotDirection());
  json.member("spotIntensity", light.spotIntensity());
}

/// By its name in ISO 14306, or its number.
std::string pixelFormatText(std::uint32_t code) {
  static constexpr std::array<const char*, 13> kNames{
      "none", "RGB",   "RGBA", "luminance", "luminance alpha", "stencil", "depth", "red", "green",
      "blue", "alpha", "BGR",  "BGRA"};
  return code < kNames.size() ? kNames[code] : std::to_string(code);
}

void writeValues(JsonWriter& json, const JtTextureImage& texture) {
  json.member("channel", texture.channel());
  json.member("coordinateChannel", texture.coordinateChannel());
  json.key("images");
  json.beginArray();
  for (const jt::TextureBlock& block : texture.blocks())
    for (const jt::TextureImage& image : block.images) {
      json.beginObject();
      json.textOrNull("fileName", image.fileName.stringToMbs());
      json.member("format", pixelFormatText(image.pixelFormat));
      json.member("width", image.width);
      json.member("height", image.height);
      json.member("depth", image.depth);
      json.member("mipmaps", image.mipmaps.size());
      json.end();
    }
  json.end();
}

void writeValues(JsonWriter& json, const JtShaderEffects& effects) {
  json.member("enabled", effects.enabled());
  json.member("environmentReflectivity", effects.environmentReflectivity());
  json.member("bumpiness", effects.bumpiness());
  json.member("phong", effects.phong());
}

/// Writes the values when the attribute is a T.
template <class T>
bool writeIf(JsonWriter& json, const JtAttribute& attribute) {
  const T* known = jt::as<T>(&attribute);
  if (known) writeValues(json, *known);
  return known != nullptr;
}

void writeAny(JsonWriter& json, const JtAttribute& attribute) {
  static_cast<void>(
      writeIf<JtMaterial>(json, attribute) || writeIf<JtXform>(json, attribute) ||
      writeIf<JtDrawStyle>(json, attribute) || writeIf<JtLineStyle>(json, attribute) ||
      writeIf<JtPointStyle>(json, attribute) || writeIf<JtLightSet>(json, attribute) ||
      writeIf<JtInfiniteLight>(json, attribute) || writeIf<JtPointLight>(json, attribute) ||
      writeIf<JtTextureImage>(json, attribute) || writeIf<JtShaderEffects>(json, attribute));
}

std::string imageText(const jt::TextureImage& image, bool isInline) {
  if (!isInline) return "file " + image.fileName.stringToMbs();
  return std::to_string(image.width) + " x " + std::to_string(image.height) + " " +
         pixelFormatText(image.pixelFormat);
}

std::string colorText(const jt::Rgba& color) {
  std::string text;
  for (const float part : color) text += (text.empty() ? "" : " ") + numberText(part);
  return text;
}

}  // namespace

void writeColor(JsonWriter& json, const char* name, float r, float g, float b, float a) {
  json.key(name);
  json.beginObject(JsonWriter::Layout::line);
  json.member("r", r);
  json.member("g", g);
  json.member("b", b);
  json.member("a", a);
  json.end();
}

void writeAtom(JsonWriter& json, const JtPropAtom* atom) {
  if (const auto* text = jt::as<JtStringPropAtom>(atom)) {
    json.value(text->value().stringToMbs());
  } else if (const auto* integer = jt::as<JtInt32PropAtom>(atom)) {
    json.value(integer->value());
  } else if (const auto* number = jt::as<JtFloatPropAtom>(atom)) {
    json.value(number->value());
  } else if (const auto* date = jt::as<JtDatePropAtom>(atom)) {
    json.value(dateText(date->value()));
  } else if (const auto* vector = jt::as<JtVector4fPropAtom>(atom)) {
    json.beginArray(JsonWriter::Layout::line);
    for (const float part : vector->value()) json.value(part);
    json.end();
  } else if (const auto* late = jt::as<JtLateLoadedPropAtom>(atom)) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("late", true);
    json.member("segment", late->segmentId().text());
    json.member("segmentType", late->segmentType());
    json.end();
  } else if (const auto* pointer = jt::as<JtPtrPropAtom>(atom); pointer && pointer->targetId()) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("object", pointer->targetId());
    json.end();
  } else if (jt::as<JtOpaquePropAtom>(atom)) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("unknown", jt::elementName(atom));
    json.end();
  } else {
    json.null();
  }
}

std::string atomText(const JtPropAtom* atom) {
  if (const auto* text = jt::as<JtStringPropAtom>(atom)) return text->value().stringToMbs();
  if (const auto* integer = jt::as<JtInt32PropAtom>(atom)) return std::to_string(integer->value());
  if (const auto* number = jt::as<JtFloatPropAtom>(atom)) return numberText(number->value());
  if (const auto* date = jt::as<JtDatePropAtom>(atom)) return dateText(date->value());
  if (const auto* vector = jt::as<JtVector4fPropAtom>(atom)) return colorText(vector->value());
  if (const auto* late = jt::as<JtLateLoadedPropAtom>(atom))
    return "segment " + late->segmentId().text() + " (" + jt::segmentName(late->segmentType()) +
           ")";
  if (const auto* pointer = jt::as<JtPtrPropAtom>(atom))
    return pointer->targetId() ? "object " + std::to_string(pointer->targetId()) : "nothing";
  return atom ? jt::elementName(atom) : "nothing";
}

void writeMetaValue(JsonWriter& json, const JtMetaData::Value& value) {
  if (const auto* text = std::get_if<JtString>(&value))
    json.value(text->stringToMbs());
  else if (const auto* integer = std::get_if<std::int32_t>(&value))
    json.value(*integer);
  else if (const auto* number = std::get_if<float>(&value))
    json.value(*number);
  else if (const auto* date = std::get_if<jt::DateFields>(&value))
    json.value(dateText(*date));
  else
    json.null();
}

std::string metaValueText(const JtMetaData::Value& value) {
  if (const auto* text = std::get_if<JtString>(&value)) return text->stringToMbs();
  if (const auto* integer = std::get_if<std::int32_t>(&value)) return std::to_string(*integer);
  if (const auto* number = std::get_if<float>(&value)) return numberText(*number);
  if (const auto* date = std::get_if<jt::DateFields>(&value)) return dateText(*date);
  return "nothing";
}

void writeAttribute(JsonWriter& json, const JtAttribute& attribute) {
  json.beginObject(JsonWriter::Layout::line);
  json.member("type", jt::elementName(&attribute));
  writeAny(json, attribute);
  json.end();
}

std::string attributeText(const JtAttribute& attribute) {
  std::string text = jt::elementName(&attribute);
  if (const auto* material = jt::as<JtMaterial>(&attribute)) {
    text += ", diffuse " + colorText(material->diffuse());
  } else if (const auto* xform = jt::as<JtXform>(&attribute)) {
    const jt::Matrix4& m = xform->matrix();
    text +=
        ", translation " + storedText(m[12]) + " " + storedText(m[13]) + " " + storedText(m[14]);
  } else if (const auto* texture = jt::as<JtTextureImage>(&attribute)) {
    for (const jt::TextureBlock& block : texture->blocks())
      for (const jt::TextureImage& image : block.images)
        text += ", " + imageText(image, block.inlineFlag != 0);
  }
  return text;
}

}  // namespace tool
