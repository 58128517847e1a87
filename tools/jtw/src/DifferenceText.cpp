#include "DifferenceText.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>

#include "Failure.h"
#include "JtMaterial.h"
#include "JtwNearestName.h"
#include "NodeView.h"
#include "Output.h"
#include "Session.h"

namespace tool {

std::array<const char*, jt::kDifferenceKinds> kindNames() {
  std::array<const char*, jt::kDifferenceKinds> names{};
  for (std::size_t kind = 0; kind < names.size(); ++kind)
    names[kind] = jt::differenceName(static_cast<jt::DifferenceKind>(kind));
  return names;
}

jt::DifferenceKind kindNamed(const std::string& name, const std::string& option) {
  const auto names = kindNames();
  const auto* const found = std::ranges::find(names, std::string_view(name));
  if (found == names.end())
    failUsage(option + "there is no difference '" + name + "'" +
              jtw::suggestion(name, names, "the kinds are"));
  return static_cast<jt::DifferenceKind>(found - names.begin());
}

std::vector<double> shownNumbers(const jt::Difference& difference, std::vector<double> numbers) {
  if (!difference.name.ends_with(".matrix") || numbers.size() != 16) return numbers;
  for (std::size_t row = 0; row < 4; ++row)
    for (std::size_t column = row + 1; column < 4; ++column)
      std::swap(numbers[4 * row + column], numbers[4 * column + row]);
  return numbers;
}

namespace {

constexpr std::string_view kMaterial = "Material Attribute.";

std::string sideText(const jt::Difference& difference, const jt::ComparedValue& side) {
  if (const auto* text = std::get_if<std::string>(&side)) return "\"" + printable(*text) + "\"";
  if (const auto* integer = std::get_if<std::int64_t>(&side)) return std::to_string(*integer);
  if (const auto* number = std::get_if<double>(&side)) return numberText(*number);
  const auto* numbers = std::get_if<std::vector<double>>(&side);
  if (!numbers) return "nothing";
  std::string text;
  for (const double number : shownNumbers(difference, *numbers))
    text += (text.empty() ? "(" : " ") + numberText(number);
  return text.empty() ? "()" : text + ")";
}

std::string changeText(const jt::Difference& difference) {
  return sideText(difference, difference.a) + " -> " + sideText(difference, difference.b);
}

// --- Geometry

/// "triangles 12 -> 14, vertices 8 -> 9"; where all counts are the same, "3 of 12 triangles
/// differ"; empty when counts do not show what is different.
std::string countsText(const std::vector<jt::ComparedCount>& counts) {
  std::string text;
  for (const jt::ComparedCount& count : counts) {
    if (std::string_view(count.name) == "unmatched" || count.a == count.b) continue;
    text += (text.empty() ? "" : ", ") + std::string(count.name) + " " + std::to_string(count.a) +
            " -> " + std::to_string(count.b);
  }
  if (counts.empty() || std::string_view(counts.back().name) != "unmatched") return text;
  const auto [name, a, b] = counts.back();
  const std::string all = " of " + std::to_string(counts.front().a) + " " + counts.front().name;
  if (!text.empty()) text += ", ";
  text += std::to_string(a) + all;
  if (a != b) text += " -> " + std::to_string(b) + all;
  return text + " differ";
}

// --- Placements

/// "moved by (1, 0, 0) mm, turned by 30 degrees"
std::string motionText(const jt::PlacementChange& change) {
  constexpr double kNoise = 1e-6;  // of a millimetre, of a degree
  const auto& move = change.translation;
  const bool isMoved = std::ranges::any_of(move, [](double part) { return std::abs(part) > 0; });
  std::string text;
  if (isMoved || change.degrees < kNoise)
    text = "moved by (" + shortText(move[0], kNoise) + ", " + shortText(move[1], kNoise) + ", " +
           shortText(move[2], kNoise) + ") mm";
  if (change.degrees < kNoise) return text;
  return text + (text.empty() ? "" : ", ") + "turned by " + shortText(change.degrees, kNoise) +
         " degrees";
}

// --- Materials

/// The field of a material that a difference is about; empty for other differences.
std::string_view materialField(const jt::Difference& difference) {
  const std::string_view name = difference.name;
  return difference.kind == jt::DifferenceKind::attribute && name.starts_with(kMaterial)
             ? name.substr(kMaterial.size())
             : std::string_view();
}

/// "#rrggbb", or "#rrggbbaa" when it is translucent; empty for what is no color.
std::string colorOf(const jt::ComparedValue& side) {
  const auto* color = std::get_if<std::vector<double>>(&side);
  const auto isPart = [](double part) { return part >= 0 && part <= 1; };
  if (!color || color->size() != 4 || !std::ranges::all_of(*color, isPart)) return {};
  const auto part = [&](std::size_t i) { return static_cast<float>((*color)[i]); };
  return colorText(ApiGraColor::fromUnit(part(0), part(1), part(2), part(3)));
}

/// True for a value that a material has when it was made for a color: of either side, since one
/// takes a color away where the other one gives it.
bool isOfNewMaterial(const jt::Difference& difference) {
  const JtMaterial material;
  const jt::Rgba& made =
      materialField(difference) == "ambient" ? material.ambient() : material.specular();
  const auto isMade = [&](const jt::ComparedValue& side) {
    const auto* color = std::get_if<std::vector<double>>(&side);
    return color && std::ranges::equal(
                        *color, made, [](double x, float y) { return static_cast<float>(x) == y; });
  };
  return isMade(difference.a) || isMade(difference.b);
}

/// What giving a color to an object changes, among the first of some differences.
struct ColorChange {
  std::size_t count = 0;    ///< of differences, which follow each other; 0: none
  std::size_t diffuse = 0;  ///< which of them has the color
  std::string fields{};     ///< when there are more: "ambient, diffuse, specular"
};

ColorChange colorChangeAt(std::span<const jt::Difference> differences) {
  ColorChange change;
  const auto take = [&](std::string_view field) {
    if (change.count >= differences.size()) return false;
    const jt::Difference& next = differences[change.count];
    if (materialField(next) != field || next.path != differences[0].path) return false;
    if (field != "diffuse" && !isOfNewMaterial(next)) return false;
    change.fields += (change.fields.empty() ? "" : ", ") + std::string(field);
    ++change.count;
    return true;
  };
  take("ambient");
  change.diffuse = change.count;
  if (!take("diffuse")) return {};
  const jt::Difference& diffuse = differences[change.diffuse];
  const std::string a = colorOf(diffuse.a);
  const std::string b = colorOf(diffuse.b);
  if (a.empty() || b.empty() || a == b) return {};
  take("specular");
  return change;
}

// --- Lines

/// What is different, and how: "name: "Bolt" -> "Nut"".
std::string bodyText(const jt::Difference& difference) {
  if (difference.moved) return motionText(*difference.moved);
  std::string what = jt::differenceName(difference.kind);
  if (const std::string counts = countsText(difference.counts); !counts.empty())
    return what + ": " + counts;
  // The key of the name says nothing beside it.
  if (!difference.name.empty() && difference.kind != jt::DifferenceKind::name)
    what += " " + printable(difference.name);
  return what + ": " + changeText(difference);
}

void showDifference(Session& session, const jt::Difference& difference, const std::string& body) {
  const Style& style = session.style();
  Output& out = session.out();
  const std::string path = printable(difference.path);
  if (difference.kind == jt::DifferenceKind::node) {
    const bool isGone = std::holds_alternative<std::monostate>(difference.b);
    const std::string type = sideText(difference, isGone ? difference.a : difference.b);
    out.line(style.paint(isGone ? Ink::red : Ink::green, isGone ? "- " : "+ ") + path + "  " +
             type);
    return;
  }
  if (difference.kind == jt::DifferenceKind::parent) {
    const auto where = [](const jt::ComparedValue& side) {
      const auto* text = std::get_if<std::string>(&side);
      return text ? printable(*text) : std::string();
    };
    out.line(style.paint(Ink::cyan, "> ") + path + "  moved from " + where(difference.a) + " to " +
             where(difference.b));
    return;
  }
  out.line(style.paint(Ink::yellow, "~ ") + (path.empty() ? "" : path + "  ") + body);
}

}  // namespace

void showDifferences(Session& session, std::span<const jt::Difference> differences) {
  while (!differences.empty()) {
    const ColorChange color = colorChangeAt(differences);
    const jt::Difference& shown = differences[color.diffuse];
    std::string body = bodyText(shown);
    if (color.count > 0) body = "color " + colorOf(shown.a) + " -> " + colorOf(shown.b);
    if (color.count > 1) body += " (" + color.fields + ")";
    showDifference(session, shown, body);
    differences = differences.subspan(std::max<std::size_t>(1, color.count));
  }
}

}  // namespace tool
