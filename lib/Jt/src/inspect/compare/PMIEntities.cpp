#include "inspect/compare/PMIEntities.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace jt::compare_detail {
namespace {

/// One entity with what names it.
struct Named {
  const PMIGenericEntity* entity;
  PMIEntity view;
  std::string label;
};

std::vector<Named> namedEntities(const PMIDataManager& pmi,
                                 std::span<const JtString> identityKeys) {
  std::vector<Named> all;
  std::map<std::string, int> met;
  const auto& entities = pmi.pmiDataGenericArray();
  for (std::size_t i = 0; i < entities.size(); ++i) {
    const PMIEntity view = pmi.pmiEntity(PMIDataManager::constructPMITypedID(
        static_cast<int>(PMIKind::genericEntity), static_cast<int>(i)));
    std::string label;
    for (const JtString& key : identityKeys)
      if (const JtString* value = view.property(key); value && label.empty())
        label = value->stringToMbs();
    if (label.empty()) label = view.name().stringToMbs();
    // Of several with one name, the first ones belong together.
    if (const int before = met[label]++; before > 0)
      label += " (" + std::to_string(before + 1) + ")";
    all.push_back({&entities[i], view, std::move(label)});
  }
  return all;
}

std::string textsOf(const PMIDataManager& pmi, const PMIGenericEntity& entity) {
  std::string all;
  for (const PMIText& text : entity.texts)
    if (const JtString* line = pmi.string(text.stringId))
      all += (all.empty() ? "" : "\n") + line->stringToMbs();
  return all;
}

ComparedValue frameOf(const PMIGenericEntity& entity) {
  if (entity.base.frameFlag == 0) return {};
  return std::vector<double>(entity.base.frame.begin(), entity.base.frame.end());
}

std::string linesOf(const PMIGenericEntity& entity) {
  const std::size_t count = entity.lines.indices.empty() ? 0 : entity.lines.indices.size() - 1;
  return std::to_string(count) + " polylines of " +
         std::to_string(entity.lines.vertices.size() / 3) + " points";
}

bool sameLines(const PMIPolylines& a, const PMIPolylines& b) {
  return a.indices == b.indices && a.types == b.types && a.widths == b.widths &&
         a.vertices == b.vertices;
}

/// The same strokes, whatever number the text has.
bool sameStrokes(const std::vector<PMIText>& a, const std::vector<PMIText>& b) {
  return std::ranges::equal(a, b, [](const PMIText& x, const PMIText& y) {
    return x.font == y.font && x.box == y.box && x.indices == y.indices && x.vertices == y.vertices;
  });
}

std::string strokesOf(const PMIGenericEntity& entity) {
  std::size_t points = 0;
  for (const PMIText& text : entity.texts) points += text.vertices.size() / 2;
  return std::to_string(entity.texts.size()) + " texts of " + std::to_string(points) + " points";
}

/// The group that the type belongs to, and how the entity is shown.
std::string groupOf(const PMIDataManager& pmi, const PMIGenericEntity& entity) {
  std::string all;
  for (const std::int32_t id : {entity.typeNameId, entity.parentTypeNameId}) {
    const JtString* name = pmi.string(id);
    all += (name ? name->stringToMbs() : "") + " ";
  }
  return all + std::to_string(entity.parentType) + " " + std::to_string(entity.userFlags) + " " +
         std::to_string(entity.base.symbolValid);
}

class Reporting {
 public:
  Reporting(Report& report, PairId pair) : report_(report), pair_(pair) {}

  void report(const std::string& label, const std::string& what, const ComparedValue& a,
              const ComparedValue& b) {
    any_ = true;
    const std::string name = "JT_LLPROP_PMI[" + label + "]" + (what.empty() ? "" : "." + what);
    report_.add(pair_, DifferenceKind::property, name, [&](Difference& difference) {
      difference.a = a;
      difference.b = b;
    });
  }

  void compare(const PMIDataManager& pmiA, const Named& a, const PMIDataManager& pmiB,
               const Named& b) {
    compareProperties(a, b);
    const PMIGenericEntity& x = *a.entity;
    const PMIGenericEntity& y = *b.entity;
    if (x.type != y.type) report(a.label, "type", std::int64_t{x.type}, std::int64_t{y.type});
    if (frameOf(x) != frameOf(y)) report(a.label, "frame", frameOf(x), frameOf(y));
    if (x.base.textHeight != y.base.textHeight)
      report(a.label, "textHeight", static_cast<double>(x.base.textHeight),
             static_cast<double>(y.base.textHeight));
    if (!sameLines(x.lines, y.lines)) report(a.label, "lines", linesOf(x), linesOf(y));
    const std::string textA = textsOf(pmiA, x);
    const std::string textB = textsOf(pmiB, y);
    if (textA != textB)
      report(a.label, "text", textA, textB);
    else if (!sameStrokes(x.texts, y.texts))
      report(a.label, "strokes", strokesOf(x), strokesOf(y));
    if (groupOf(pmiA, x) != groupOf(pmiB, y))
      report(a.label, "group", groupOf(pmiA, x), groupOf(pmiB, y));
  }

  bool any() const noexcept { return any_; }

 private:
  void compareProperties(const Named& a, const Named& b) {
    const auto valueOf = [](const JtString* text) {
      return text ? ComparedValue(text->stringToMbs()) : ComparedValue();
    };
    for (const PMIProperty& each : a.view.properties()) {
      const JtString* other = b.view.property(each.key.text);
      if (!other || *other != each.value.text)
        report(a.label, each.key.text.stringToMbs(), valueOf(&each.value.text), valueOf(other));
    }
    for (const PMIProperty& each : b.view.properties())
      if (!a.view.property(each.key.text))
        report(a.label, each.key.text.stringToMbs(), {}, valueOf(&each.value.text));
  }

  Report& report_;
  PairId pair_;
  bool any_ = false;
};

bool isPlain(const PMIData& data) {
  const auto isEmpty = [](const auto& list) { return list.empty(); };
  return std::ranges::all_of(data.flat, isEmpty) && std::ranges::all_of(data.solid, isEmpty) &&
         data.designGroups.empty() && data.coordinateSystems.empty() && data.associations.empty() &&
         data.userAttributes.empty() && data.modelViews.empty() && data.viewProperties.empty() &&
         data.polygons.filled.empty() && data.fonts.empty() &&
         std::ranges::all_of(data.trailingBytes, [](std::byte b) { return b == std::byte{}; });
}

}  // namespace

bool holdEntitiesAlone(const PMIDataManager& a, const PMIDataManager& b) {
  return isPlain(a.data()) && isPlain(b.data());
}

bool reportPMIEntities(Report& report, PairId pair, const PMIDataManager& storedA,
                       const PMIDataManager& storedB, std::span<const JtString> identityKeys) {
  const Ref<const PMIDataManager> shownA = storedA.generic();
  const Ref<const PMIDataManager> shownB = storedB.generic();
  const PMIDataManager& a = *shownA;
  const PMIDataManager& b = *shownB;
  Reporting reporting(report, pair);
  const std::vector<Named> inA = namedEntities(a, identityKeys);
  const std::vector<Named> inB = namedEntities(b, identityKeys);
  std::map<std::string, const Named*> byLabel;
  for (const Named& each : inB) byLabel.emplace(each.label, &each);
  for (const Named& each : inA) {
    const auto found = byLabel.find(each.label);
    if (found == byLabel.end()) {
      reporting.report(each.label, "", each.view.name().stringToMbs(), {});
      continue;
    }
    reporting.compare(a, each, b, *found->second);
    byLabel.erase(found);
  }
  for (const Named& each : inB)
    if (byLabel.contains(each.label))
      reporting.report(each.label, "", {}, each.view.name().stringToMbs());
  return reporting.any();
}

}  // namespace jt::compare_detail
