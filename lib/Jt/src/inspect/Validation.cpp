#include <algorithm>
#include <charconv>
#include <cmath>
#include <span>

#include "JtAssembly.h"
#include "JtBounds.h"
#include "JtDrawing.h"
#include "JtFormatError.h"
#include "JtLastError.h"
#include "JtNodePath.h"
#include "JtValidation.h"
#include "VisPartNode.h"
#include "file/save/SceneWriter.h"

namespace jt {
namespace {

using Point = std::array<double, 3>;

constexpr const char* kProperty = "JTW_VALIDATION";

Point minus(const Point& a, const Point& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

Point cross(const Point& a, const Point& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double dot(const Point& a, const Point& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

double lengthOf(const Point& a) { return std::sqrt(dot(a, a)); }

/// Row vectors.
Point transformed(const Vec3f& point, const Matrix4& matrix) {
  Point result;
  for (std::size_t c = 0; c < 3; ++c)
    result[c] =
        point[0] * matrix[c] + point[1] * matrix[4 + c] + point[2] * matrix[8 + c] + matrix[12 + c];
  return result;
}

bool isFinite(const Point& point) {
  return std::ranges::all_of(point, [](double value) { return std::isfinite(value); });
}

/// Adds triangles up.
class Measuring {
 public:
  void add(const Mesh& mesh, const Matrix4& toPart) {
    for (std::size_t i = 0; i + 2 < mesh.corners.size(); i += 3) {
      std::array<Point, 3> corners;
      for (std::size_t k = 0; k < 3; ++k)
        corners[k] = transformed(mesh.positions[mesh.corners[i + k]], toPart);
      ++sum_.triangles;
      if (std::ranges::all_of(corners, isFinite)) addTriangle(corners);
    }
  }

  std::optional<PartMeasures> result() {
    if (sum_.triangles == 0) return {};
    if (sum_.area > 0)
      for (std::size_t c = 0; c < 3; ++c)
        sum_.centroid[c] = origin_[c] + moment_[c] / (3 * sum_.area);
    // Seen from the centroid: of a closed surface the directed area is nothing.
    sum_.volume = (sixVolumes_ / 2 - dot(minus(sum_.centroid, origin_), directedArea_)) / 3;
    if (hasOrigin_) sum_.diagonal = lengthOf(minus(high_, low_));
    return sum_;
  }

 private:
  /// All is measured from the first corner: digits are not lost to a far origin.
  void addTriangle(const std::array<Point, 3>& corners) {
    if (!hasOrigin_) {
      hasOrigin_ = true;
      origin_ = low_ = high_ = corners[0];
    }
    const Point a = minus(corners[0], origin_);
    const Point b = minus(corners[1], origin_);
    const Point c = minus(corners[2], origin_);
    const Point normal = cross(minus(b, a), minus(c, a));
    const double area = lengthOf(normal) / 2;
    sum_.area += area;
    sixVolumes_ += dot(a, normal);
    for (std::size_t k = 0; k < 3; ++k) {
      directedArea_[k] += normal[k] / 2;
      moment_[k] += area * (a[k] + b[k] + c[k]);
      for (const Point& corner : corners) {
        low_[k] = std::min(low_[k], corner[k]);
        high_[k] = std::max(high_[k], corner[k]);
      }
    }
  }

  PartMeasures sum_;
  bool hasOrigin_ = false;
  Point origin_{};
  Point moment_{};        ///< three times area by centroid
  Point directedArea_{};  ///< sum of area by normal
  double sixVolumes_ = 0;
  Point low_{};
  Point high_{};
};

void addNumber(std::string& text, double number) {
  std::array<char, 32> digits;
  text.append(digits.data(),
              std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr);
}

/// Takes "name=" and numbers between commas off a text.
template <class Number>
bool take(std::string_view& text, std::string_view name, std::span<Number> numbers) {
  if (!text.starts_with(name)) return false;
  text.remove_prefix(name.size());
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), numbers[i]);
    if (error != std::errc()) return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (i + 1 == numbers.size()) break;
    if (!text.starts_with(',')) return false;
    text.remove_prefix(1);
  }
  return true;
}

template <class Visit>
void eachPart(const JtPartition& file, Visit visit) {
  for (const JtNode* node : file::SceneWriter::nodesOf(file))
    if (as<VisPartNode>(node)) visit(*node);
}

/// Of a file that may be changed, and of the part files that are open with it.
template <class Visit>
void eachPartOfAll(JtPartition& top, Visit visit) {
  const auto visitMutable = [&visit](const JtNode& node) { visit(const_cast<JtNode&>(node)); };
  eachPart(top, visitMutable);
  for (const PartFile& part : partFilesOf(top))
    if (part.partition) eachPart(*part.partition, visitMutable);
}

std::string numberText(double number) {
  std::string text;
  addNumber(text, number);
  return text;
}

class Comparing {
 public:
  Comparing(const JtNode& part, double tolerance, NodePaths& paths,
            std::vector<Diagnostic>& findings)
      : part_(part), tolerance_(tolerance), paths_(paths), findings_(findings) {}

  void run(const PartMeasures& stated, const PartMeasures& found) {
    if (stated.triangles != found.triangles)
      add("triangles", std::to_string(stated.triangles), std::to_string(found.triangles));
    const double length = tolerance_ * std::max(stated.diagonal, found.diagonal);
    compare("area", stated.area, found.area, tolerance_ * std::abs(stated.area));
    compare("volume", stated.volume, found.volume, length * std::abs(stated.area));
    compare("diagonal", stated.diagonal, found.diagonal, 2 * length);
    const double moved = lengthOf(minus(stated.centroid, found.centroid));
    if (!(moved <= length)) add("centroid", "where it was", "moved by " + numberText(moved));
  }

 private:
  /// Written so that it catches what is not a number.
  void compare(const char* what, double stated, double found, double most) {
    if (!(std::abs(stated - found) <= most)) add(what, numberText(stated), numberText(found));
  }

  void add(const char* what, const std::string& stated, const std::string& found) {
    findings_.push_back(
        {"validation_differs",
         paths_.path(part_) + ": " + what + ": expected " + stated + ", found " + found,
         {},
         {},
         true});
  }

  const JtNode& part_;
  double tolerance_;
  NodePaths& paths_;
  std::vector<Diagnostic>& findings_;
};

}  // namespace

const char* validationProperty() noexcept { return kProperty; }

std::string validationText(const PartMeasures& measures) {
  std::string text = "triangles=" + std::to_string(measures.triangles);
  const auto add = [&text](const char* name, double number) {
    text += name;
    addNumber(text, number);
  };
  add(" area=", measures.area);
  add(" volume=", measures.volume);
  add(" centroid=", measures.centroid[0]);
  add(",", measures.centroid[1]);
  add(",", measures.centroid[2]);
  add(" diagonal=", measures.diagonal);
  return text;
}

std::optional<PartMeasures> parseValidation(std::string_view text) {
  PartMeasures found;
  const auto one = [](auto& number) { return std::span(&number, 1); };
  if (take(text, "triangles=", one(found.triangles)) && take(text, " area=", one(found.area)) &&
      take(text, " volume=", one(found.volume)) &&
      take(text, " centroid=", std::span<double>(found.centroid)) &&
      take(text, " diagonal=", one(found.diagonal)) && text.empty())
    return found;
  return {};
}

std::optional<PartMeasures> measurePart(const JtNode& part) {
  Measuring measuring;
  for (int i = 0; i < part.numChildren(); ++i)
    visitDrawnShapes(*part.child(i), {}, [&](const DrawnShape& drawn) {
      if (!drawn.shape->hasMesh()) return true;
      const auto mesh = drawn.shape->mesh();
      if (!mesh) throw lastFormatError().value_or(JtFormatError("bad_geometry", lastError()));
      if (mesh->kind == Mesh::Kind::triangles) measuring.add(*mesh, *drawn.toRoot);
      drawn.shape->releaseMesh();
      return true;
    });
  return measuring.result();
}

bool storeValidation(JtNode& part) {
  const std::optional<PartMeasures> measures = measurePart(part);
  if (measures)
    part.JtNode::addProperty(make<JtStringPropAtom>(JtString(kProperty)).get(),
                             make<JtStringPropAtom>(JtString(validationText(*measures))).get(),
                             true);
  else
    removeValidation(part);
  return measures.has_value();
}

std::size_t storeValidations(JtPartition& top) {
  std::size_t count = 0;
  eachPartOfAll(top, [&count](JtNode& part) { count += storeValidation(part) ? 1 : 0; });
  return count;
}

void removeValidation(JtNode& part) {
  if (part.property(JtString(kProperty)))
    part.JtNode::deleteProperty(make<JtStringPropAtom>(JtString(kProperty)).get());
}

void removeValidations(JtPartition& top) {
  eachPartOfAll(top, [](JtNode& part) { removeValidation(part); });
}

ValidationReport checkValidation(const JtPartition& file, double tolerance) {
  ValidationReport report;
  NodePaths paths;
  eachPart(file, [&](const JtNode& part) {
    const auto* atom = as<JtStringPropAtom>(part.property(JtString(kProperty)));
    if (!atom) return;
    const std::optional<PartMeasures> stated = parseValidation(atom->value().stringToMbs());
    if (!stated) {
      report.findings.push_back({"bad_validation", paths.path(part) + ": the property " +
                                                       kProperty + " cannot be read: \"" +
                                                       atom->value().stringToMbs() + "\""});
      return;
    }
    try {
      const std::optional<PartMeasures> found = measurePart(part);
      ++report.parts;
      Comparing(part, tolerance, paths, report.findings)
          .run(*stated, found.value_or(PartMeasures{}));
    } catch (const JtFormatError&) {
      // Is a finding of verify().
    }
  });
  return report;
}

}  // namespace jt
