#include "JtTk/JtkwPMIText.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "JtTk/JtkwPMIAttributes.h"
#include "JtkwPMIWriter.h"
#include "JtwPropertyNames.h"

namespace jtw {
namespace {

constexpr std::array kAppearance{
    pmi::kForegroundColor, pmi::kBackgroundColor, pmi::kBackgroundOpacity, pmi::kShowBorder,
    pmi::kTextSize,        pmi::kTextInPlane,     pmi::kGeometryColor,     pmi::kGeometryWidth,
    pmi::kLayer,           pmi::kTextLines,       pmi::kTextStrokes,
};
constexpr std::array kIdentity{
    pmi::kMulticadVisibility,       keyName(Key::protoKey),       keyName(Key::attributes),
    keyName(Key::attachmentParent), keyName(Key::attachmentType), keyName(Key::globalUniqueId),
    keyName(Key::notUnitedEntity),  keyName(Key::relStringId),    pmi::kName,
};

template <std::size_t n>
bool contains(const std::array<const char*, n>& names, const std::string& name) {
  return std::ranges::any_of(names, [&](const char* each) { return name == each; });
}

JtkStrokeFont readFont() {
  std::ifstream file(JtkwPMIWriter::fontsFilePath(), std::ios::binary);
  if (!file) return JtkStrokeFont::builtIn();
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  return JtkStrokeFont::fromBytes(std::as_bytes(std::span(bytes)))
      .value_or(JtkStrokeFont::builtIn());
}

}  // namespace

const JtkStrokeFont& pmiFont() {
  static const JtkStrokeFont font = readFont();
  return font;
}

float heightOfFontSize(int size) {
  constexpr int kUsualSize = 14;
  const double points = size > 0 ? size : kUsualSize;
  return static_cast<float>(points * 100 / kUsualSize);
}

float textHeightOf(const ApiGraphicsPMIAnnotationData& graphics) {
  return graphics.textHeight > 0 ? graphics.textHeight : heightOfFontSize(graphics.fontSize);
}

RTTwoLevelRWTOrderedVector<RTVec3D> layOutText(
    const RWClassicTValOrderedVector<RWClassicCString>& lines, const JtkwPMIData& frame,
    float height) {
  RTVec3D x = frame.pointOnXDirection() - frame.origin();
  RTVec3D y = frame.pointOnYDirection() - frame.origin();
  x.normalize();
  y.normalize();
  RTTwoLevelRWTOrderedVector<RTVec3D> strokes;
  double baseline = 0;
  for (const RWClassicCString& line : lines) {
    for (const JtkStrokeFont::Stroke& stroke : pmiFont().layOut(JtString(line), height)) {
      auto& placed = strokes.emplace_back();
      for (const auto& [right, up] : stroke)
        placed.push_back(frame.origin() + x * static_cast<double>(right) +
                         y * (baseline + static_cast<double>(up)));
    }
    baseline -= static_cast<double>(jtk::kLinePitch * height);
  }
  return strokes;
}

void setTextAttributes(const RWClassicTValOrderedVector<RWClassicCString>& lines,
                       std::size_t strokes, JtkPMIEntity& entity) {
  auto& generic = static_cast<JtkPMIGenericEntity&>(entity);
  std::string all;
  for (std::size_t i = 0; i < lines.size(); ++i) all += (i == 0 ? "" : "\n") + lines[i];
  const auto set = [&](const char* name, const std::string& value, bool isSet) {
    if (isSet)
      generic.addAttrProperty(JtString(name), JtString(value));
    else
      generic.removeAttrProperty(JtString(name));
  };
  set(pmi::kTextLines, all, !lines.empty());
  set(pmi::kTextStrokes, std::to_string(strokes), strokes > 0);
}

void clearForRenewal(JtkPMIEntity& entity) {
  auto& visual = static_cast<JtkPMIVisualEntity&>(entity);
  for (const char* name : kAppearance) visual.removeAttrProperty(JtString(name));
  for (int i = visual.numVisualTextData(); i-- > 0;) visual.unsetVisualTextData(i);
  visual.setVisualPolylines({}, {}, {});
}

PMIAttributes foreignAttributes(const jt::PMIGenericEntity& entity) {
  PMIAttributes found;
  for (const jt::PMIProperty& property : entity.properties) {
    const std::string name = property.key.text.stringToMbs();
    if (!contains(kAppearance, name) && !contains(kIdentity, name))
      found.emplace_back(property.key.text, property.value.text);
  }
  return found;
}

void carryAttributes(const PMIAttributes& attributes, JtkPMIEntity& entity) {
  auto& generic = static_cast<JtkPMIGenericEntity&>(entity);
  for (const auto& [name, value] : attributes)
    if (!generic.attrProperty(name)) generic.addAttrProperty(name, value);
}

}  // namespace jtw
