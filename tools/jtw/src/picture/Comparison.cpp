#include "Comparison.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <unordered_map>

#include "JsonWriter.h"
#include "Jt.h"
#include "JtPropAtom.h"
#include "JtType.h"
#include "JtwTree.h"

namespace tool {
namespace {

constexpr Color kAdded{0.15F, 0.65F, 0.2F, 1};
constexpr Color kRemoved{0.85F, 0.15F, 0.12F, 1};
constexpr Color kMoved{0.15F, 0.35F, 0.9F, 1};
constexpr Color kWasThere{0.15F, 0.35F, 0.9F, 0.2F};
constexpr Color kChanged{0.95F, 0.55F, 0.1F, 1};
constexpr Color kSame{0.7F, 0.7F, 0.72F, 0.35F};

constexpr char kStep = '\x1f';  // before each step of a label
constexpr char kKey = 'k';      // begins a step with a key

std::string stepOf(const JtNode& node) {
  const auto* key = jt::as<JtInt32PropAtom>(node.property(JtString(jtw::keyProperty())));
  if (key) return kKey + std::to_string(key->value());
  const std::string name = Jt::name(&node).stringToMbs();
  return name.empty() ? "t" + std::string(node.typeID()->name()) : "n" + name;
}

/// The label from the last key on; nothing without a key.
std::optional<std::string> fromLastKey(const std::string& label) {
  const std::size_t key = label.rfind(std::string{kStep, kKey});
  return key == std::string::npos ? std::nullopt : std::optional(label.substr(key));
}

/// Corners along a direction in order: moving each of them by at most d moves each number by at
/// most d, in lengths of the direction.
std::vector<double> along(const jt::Mesh& mesh, const Vector& direction, double scale) {
  std::vector<double> result;
  result.reserve(mesh.corners.size());
  for (const std::uint32_t corner : mesh.corners) {
    const auto& [x, y, z] = mesh.positions[corner];
    result.push_back(
        scale *
        dot({static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)}, direction));
  }
  std::ranges::sort(result);
  return result;
}

struct Pair {
  const Item* before;
  const Item* after;
};

/// Says of two items that are one object what became of it.
class Judge {
 public:
  Judge(const Scene& before, const Scene& after, double tolerance)
      : before_(before), after_(after), tolerance_(tolerance) {}

  bool hasSameForm(const Pair& pair) {
    const jt::Mesh* a = before_.mesh(*pair.before);
    const jt::Mesh* b = after_.mesh(*pair.after);
    if (!a || !b) return a == b;
    const auto [known, isNew] =
        known_.try_emplace(std::pair(pair.before->mesh, pair.after->mesh), false);
    if (isNew) known->second = isSame(*a, *b);
    return known->second;
  }

  /// Both matrices lead to the unit of the new scene.
  bool hasSamePlace(const Pair& pair) const {
    constexpr double kRounding = 1e-6;  // of single precision
    const jt::Matrix4& a = pair.before->toRoot;
    const jt::Matrix4& b = pair.after->toRoot;
    const double length = std::hypot(b[0], b[1], b[2]);
    for (std::size_t i = 0; i < 16; ++i) {
      const double allowed =
          i < 12 ? 4 * kRounding * length
                 : tolerance_ / after_.millimetres() + kRounding * (1 + std::abs(b[i]));
      if (!(std::abs(a[i] - b[i]) <= allowed)) return false;
    }
    return true;
  }

  static bool hasSameLook(const Pair& pair) {
    constexpr float kSeen = 0.01F;
    for (std::size_t i = 0; i < 4; ++i)
      if (std::abs(pair.before->color[i] - pair.after->color[i]) > kSeen) return false;
    return (pair.before->texture == nullptr) == (pair.after->texture == nullptr);
  }

 private:
  bool isSame(const jt::Mesh& a, const jt::Mesh& b) const {
    if (a.kind != b.kind || a.corners.size() != b.corners.size()) return false;
    const bool sameUnit = before_.millimetres() == after_.millimetres();
    if (sameUnit && a.positions == b.positions && a.corners == b.corners) return true;
    // The axes, and a slanted one: what is swapped shows there.
    for (const Vector& direction : {Vector{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0.27, 0.53, 0.8}}) {
      const std::vector<double> before = along(a, direction, before_.millimetres());
      const std::vector<double> after = along(b, direction, after_.millimetres());
      for (std::size_t i = 0; i < before.size(); ++i) {
        const double rounding = 1e-6 * (std::abs(before[i]) + 1e-3);
        if (!(std::abs(before[i] - after[i]) <= tolerance_ + rounding)) return false;
      }
    }
    return true;
  }

  const Scene& before_;
  const Scene& after_;
  double tolerance_;
  std::map<std::pair<std::size_t, std::size_t>, bool> known_;  // meshes with the same form
};

/// Finds partners by a name that both may have; what occurs again is taken in order.
/// @param partners of the new items, index of the old one
template <class NameOf>
void match(const std::vector<Item>& before, const std::vector<Item>& after, const NameOf& nameOf,
           std::vector<bool>& isTaken, std::vector<std::optional<std::size_t>>& partners) {
  std::unordered_map<std::string, std::vector<std::size_t>> open;
  for (std::size_t i = before.size(); i-- > 0;)
    if (!isTaken[i])
      if (auto name = nameOf(before[i])) open[*std::move(name)].push_back(i);
  for (std::size_t i = 0; i < after.size(); ++i) {
    if (partners[i]) continue;
    const std::optional<std::string> name = nameOf(after[i]);
    const auto found = name ? open.find(*name) : open.end();
    if (found == open.end() || found->second.empty()) continue;
    partners[i] = found->second.back();
    isTaken[found->second.back()] = true;
    found->second.pop_back();
  }
}

const Color& colorOf(Change change) {
  switch (change) {
    case Change::added:
      return kAdded;
    case Change::removed:
      return kRemoved;
    case Change::moved:
      return kMoved;
    case Change::wasThere:
      return kWasThere;
    case Change::changed:
      return kChanged;
    default:
      return kSame;
  }
}

void mark(Item& item, Change change) {
  item.change = change;
  item.color = colorOf(change);
  item.usesVertexColors = false;
  item.texture = nullptr;
}

void changeUnit(std::vector<Item>& items, double factor) {
  for (Item& item : items)
    for (std::size_t row = 0; row < 4; ++row)
      for (std::size_t column = 0; column < 3; ++column) item.toRoot[row * 4 + column] *= factor;
}

}  // namespace

std::function<std::string(std::span<JtNode* const>)> comparedLabels() {
  // Shared, since a function is copied.
  auto steps = std::make_shared<std::unordered_map<const JtNode*, std::string>>();
  return [steps = std::move(steps)](std::span<JtNode* const> path) {
    std::string label;
    for (const JtNode* node : path.subspan(1)) {
      const auto [found, isNew] = steps->try_emplace(node);
      if (isNew) found->second = stepOf(*node);
      label += kStep + found->second;
    }
    return label;
  };
}

ComparedShapes markDifferences(Scene& before, Scene& after, double tolerance) {
  std::vector<Item>& old = before.items();
  std::vector<Item>& now = after.items();
  changeUnit(old, before.millimetres() / after.millimetres());
  std::vector<bool> isTaken(old.size());
  std::vector<std::optional<std::size_t>> partners(now.size());
  match(
      old, now, [](const Item& item) { return std::optional(item.label); }, isTaken, partners);
  match(
      old, now, [](const Item& item) { return fromLastKey(item.label); }, isTaken, partners);

  ComparedShapes shapes;
  Judge judge(before, after, tolerance);
  std::vector<Item> shown;  // of the old scene
  for (std::size_t i = 0; i < now.size(); ++i) {
    Item& item = now[i];
    if (!partners[i]) {
      mark(item, Change::added);
      ++shapes.added;
      continue;
    }
    const Pair pair{&old[*partners[i]], &item};
    const bool hasForm = judge.hasSameForm(pair);
    if (hasForm && !judge.hasSamePlace(pair)) {
      shown.push_back(*pair.before);
      mark(shown.back(), Change::wasThere);
      shown.back().place = item.place;
      mark(item, Change::moved);
      ++shapes.moved;
    } else if (hasForm && Judge::hasSameLook(pair)) {
      mark(item, Change::same);
      ++shapes.same;
    } else {
      mark(item, Change::changed);
      ++shapes.changed;
    }
  }
  for (std::size_t i = 0; i < old.size(); ++i) {
    if (isTaken[i]) continue;
    shown.push_back(old[i]);
    mark(shown.back(), Change::removed);
    ++shapes.removed;
  }
  old = std::move(shown);
  return shapes;
}

void writeShapes(JsonWriter& json, const ComparedShapes& shapes) {
  json.member("added", shapes.added);
  json.member("removed", shapes.removed);
  json.member("moved", shapes.moved);
  json.member("changed", shapes.changed);
  json.member("same", shapes.same);
}

std::vector<Caption> legendOf(const ComparedShapes& shapes) {
  const std::pair<std::string, std::pair<std::size_t, Color>> entries[] = {
      {"added", {shapes.added, kAdded}},
      {"removed", {shapes.removed, kRemoved}},
      {"moved", {shapes.moved, kMoved}},
      {"changed", {shapes.changed, kChanged}},
      {"same", {shapes.same, kSame}}};
  std::vector<Caption> legend;
  for (const auto& [name, entry] : entries)
    legend.push_back({name + " " + std::to_string(entry.first),
                      Color{entry.second[0], entry.second[1], entry.second[2], 1}});
  return legend;
}

}  // namespace tool
