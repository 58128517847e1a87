#include "file/segments/WireframeElement.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "file/pmi/PMIConversion.h"
#include "file/pmi/PMITags.h"
#include "file/segments/WireframeFields.h"

namespace jt::file {

namespace {

constexpr std::int32_t kNurbs = 1;
constexpr std::int32_t kRational = 4;

[[noreturn]] void refuse(const char* code, const std::string& message) {
  throw JtFormatError(code, message);
}

/// What a kind of knots stores of a curve, in the order of the format. "Paired": interior knots
/// come in equal pairs, of which one is stored; "ranged": the ends are stored too, else they are 0
/// and 1.
constexpr bool isPaired(std::size_t kind) { return kind < 2; }
constexpr bool isRanged(std::size_t kind) { return kind % 2 != 0; }
constexpr std::size_t kUnitKnots = 2;    // all interior knots
constexpr std::size_t kRangedKnots = 3;  // the same and the ends

class Decoder {
 public:
  explicit Decoder(WireframeElement& element) : e_(element) {}

  WireframeData run() {
    WireframeData data;
    const auto curves = static_cast<std::size_t>(e_.curveCount);
    e_.budget.spend(std::uint64_t{curves} * sizeof(WireCurve));
    data.curves.resize(curves);
    if (curves > 0) {
      kinds_ = knotKinds();
      for (std::size_t i = 0; i < curves; ++i) head(data.curves[i], i);
      addPoints(data.curves);
      addWeights(data.curves);
      addKnots(data.curves);
    }
    for (std::size_t i = 0; i < e_.curveIndices.size(); ++i) {
      const std::int32_t curve = e_.curveIndices[i];
      if (curve < 0 || curve >= e_.curveCount)
        refuse("bad_value", "edge " + std::to_string(i) + " has curve " + std::to_string(curve) +
                                ", but there are " + std::to_string(e_.curveCount));
      data.edges.push_back({curve, e_.edgeTags[i]});
    }
    data.nextTag = e_.nextTag;
    data.cadTags = std::move(e_.cadTags);
    data.trailingBytes = std::move(e_.trailingBytes);
    return data;
  }

 private:
  static constexpr std::size_t kTrivial = WireframeElement::kKnotKinds;

  std::vector<std::size_t> knotKinds() const {
    std::vector<std::size_t> kinds(static_cast<std::size_t>(e_.curveCount), kTrivial);
    for (std::size_t kind = 0; kind < kTrivial; ++kind)
      for (const std::int32_t curve : e_.curvesOfKind[kind]) {
        if (curve < 0 || curve >= e_.curveCount ||
            kinds[static_cast<std::size_t>(curve)] != kTrivial)
          refuse("bad_value",
                 "curve " + std::to_string(curve) + " has two kinds of knots, or does not exist");
        kinds[static_cast<std::size_t>(curve)] = kind;
      }
    return kinds;
  }

  void head(WireCurve& curve, std::size_t i) const {
    const auto name = [&] { return "curve " + std::to_string(i); };
    if (e_.baseTypes[i] != kNurbs)
      refuse("bad_value", name() + " is of the unknown type " + std::to_string(e_.baseTypes[i]));
    if (e_.degrees[i] < 1 || e_.pointCounts[i] <= e_.degrees[i])
      refuse("bad_value", name() + " has " + std::to_string(e_.pointCounts[i]) +
                              " control points for a degree of " + std::to_string(e_.degrees[i]));
    curve.degree = e_.degrees[i];
  }

  void addPoints(std::vector<WireCurve>& curves) const {
    std::size_t at = 0;
    for (std::size_t i = 0; i < curves.size(); ++i) {
      const auto count = static_cast<std::size_t>(e_.pointCounts[i]);
      if (count > (e_.points.size() - at) / 3) badPoints();
      for (std::size_t point = 0; point < count; ++point, at += 3)
        curves[i].points.push_back({e_.points[at], e_.points[at + 1], e_.points[at + 2]});
    }
    if (at != e_.points.size()) badPoints();
  }
  [[noreturn]] void badPoints() const {
    refuse("bad_value", std::to_string(e_.points.size()) +
                            " coordinates do not fit the numbers of control points");
  }

  void addWeights(std::vector<WireCurve>& curves) {
    std::uint64_t count = 0;
    for (std::size_t i = 0; i < curves.size(); ++i)
      if (e_.dimensions[i] == kRational) count += curves[i].points.size();
    const std::size_t stored = e_.weights.size();
    if (e_.weightCount < 0 || static_cast<std::uint64_t>(e_.weightCount) != count ||
        stored != e_.weightIndices.size())
      refuse("bad_value", std::to_string(e_.weightCount) + " weights with " +
                              std::to_string(e_.weightIndices.size()) + " indices and " +
                              std::to_string(stored) + " values for " + std::to_string(count) +
                              " points of rational curves");
    std::vector<double> all(count, 1.0);
    for (std::size_t i = 0; i < stored; ++i) {
      const std::int32_t index = e_.weightIndices[i];
      if (index < 0 || index >= e_.weightCount)
        refuse("bad_value",
               "weight " + std::to_string(index) + " of " + std::to_string(e_.weightCount));
      all[static_cast<std::size_t>(index)] = e_.weights[i];
    }
    auto next = all.begin();
    for (std::size_t i = 0; i < curves.size(); ++i) {
      if (e_.dimensions[i] != kRational) continue;
      const auto end = next + static_cast<std::ptrdiff_t>(curves[i].points.size());
      curves[i].weights.assign(next, end);
      next = end;
    }
  }

  void addKnots(std::vector<WireCurve>& curves) const {
    std::span<const double> left(e_.knots);
    for (std::size_t i = 0; i < curves.size(); ++i) {
      WireCurve& curve = curves[i];
      const std::size_t interior = curve.points.size() - static_cast<std::size_t>(curve.degree) - 1;
      const std::size_t kind = kinds_[i];
      if (kind == kTrivial) {
        trivialKnots(curve, interior);
        continue;
      }
      const std::size_t count =
          (isPaired(kind) ? interior / 2 : interior) + (isRanged(kind) ? 2 : 0);
      if (count > left.size()) badKnots();
      storedKnots(curve, left.first(count), kind, interior);
      left = left.subspan(count);
    }
    if (!left.empty()) badKnots();
  }
  [[noreturn]] void badKnots() const {
    refuse("bad_value", std::to_string(e_.knots.size()) + " knots do not fit the curves");
  }

  static void setKnots(WireCurve& curve, double first, double last,
                       const std::vector<double>& interior) {
    const auto ends = static_cast<std::size_t>(curve.degree) + 1;
    curve.knots.assign(ends, first);
    curve.knots.insert(curve.knots.end(), interior.begin(), interior.end());
    curve.knots.insert(curve.knots.end(), ends, last);
  }

  /// Nothing is stored: 0 to 1, and what is between evenly spaced. Conics come in spans of three
  /// points, which have their inner knots in pairs.
  static void trivialKnots(WireCurve& curve, std::size_t count) {
    const bool inPairs = count % 2 == 0 && curve.degree == 2 && !curve.weights.empty();
    const std::size_t spans = (inPairs ? count / 2 : count) + 1;
    std::vector<double> interior;
    interior.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
      interior.push_back(static_cast<double>((inPairs ? i / 2 : i) + 1) /
                         static_cast<double>(spans));
    setKnots(curve, 0, 1, interior);
    curve.areKnotsAssumed = count > 0;
  }

  static void storedKnots(WireCurve& curve, std::span<const double> stored, std::size_t kind,
                          std::size_t count) {
    double first = 0;
    double last = 1;
    if (isRanged(kind)) {
      // Either in ascending order or the ends in front of the others.
      const bool hasEndsFirst = stored.size() > 2 && stored[0] < stored[1] && stored[2] < stored[1];
      first = stored.front();
      last = hasEndsFirst ? stored[1] : stored.back();
      stored = hasEndsFirst ? stored.subspan(2) : stored.subspan(1, stored.size() - 2);
    }
    std::vector<double> interior;
    for (const double knot : stored) interior.insert(interior.end(), isPaired(kind) ? 2 : 1, knot);
    // Pairs of an odd number leave one out.
    interior.resize(count, interior.empty() ? (first + last) / 2 : interior.back());
    setKnots(curve, first, last, interior);
  }

  WireframeElement& e_;
  std::vector<std::size_t> kinds_;  // of each curve
};

void addStored(WireframeElement& e, const WireCurve& curve, std::int32_t index) {
  const auto ends = static_cast<std::size_t>(curve.degree) + 1;
  const bool isRational = !curve.weights.empty();
  e.baseTypes.push_back(kNurbs);
  e.degrees.push_back(curve.degree);
  e.pointCounts.push_back(static_cast<std::int32_t>(curve.points.size()));
  e.dimensions.push_back(isRational ? kRational : 3);
  e.reserved.push_back(0);
  for (const auto& point : curve.points)
    e.points.insert(e.points.end(), point.begin(), point.end());
  for (const double weight : curve.weights) {
    if (weight != 1) {
      e.weightIndices.push_back(e.weightCount);
      e.weights.push_back(weight);
    }
    ++e.weightCount;
  }
  const double first = curve.knots.front();
  const double last = curve.knots.back();
  const bool isUnit = first == 0 && last == 1;
  const bool hasInterior = curve.knots.size() > 2 * ends;
  if (isUnit && (!hasInterior || curve.areKnotsAssumed)) return;
  const std::size_t kind = isUnit ? kUnitKnots : kRangedKnots;
  e.hasKnotKind[kind] = 1;
  e.curvesOfKind[kind].push_back(index);
  if (!isUnit) e.knots.push_back(first);
  e.knots.insert(e.knots.end(), curve.knots.begin() + static_cast<std::ptrdiff_t>(ends),
                 curve.knots.end() - static_cast<std::ptrdiff_t>(ends));
  if (!isUnit) e.knots.push_back(last);
}

/// Most that the packets of an element may take, whatever the limits of the document.
constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 30;

WireframeData readAs(codec::OutOfBandForm form, std::span<const std::byte> body,
                     const Format& format, std::size_t base, MemoryShare* memory) {
  WireframeElement element(codec::Budget::forInput(body.size(), kMostBytes, memory));
  element.outOfBand = form;
  Reader reader(body, format, base);
  if (memory) reader.countIn(*memory);
  try {
    WireframeFields::run(reader, element);
    WireframeData data = Decoder(element).run();
    data.layout = layoutOf(format);
    data.bigEndian = format.bigEndian;
    return data;
  } catch (const DocumentLimitError&) {
    throw;
  } catch (const JtFormatError& error) {
    throw error.where().offset ? error
                               : JtFormatError(error.code(), error.message(),
                                               {.element = error.where().element, .offset = base});
  }
}

/// The tags in the form of a version. @pre canWriteWireframe(data, format)
PMICadTags convertedTags(const WireframeData& data, const Format& format) {
  PMICadTags stored = data.cadTags;
  if (stored.tags) {
    PMIData holder;
    holder.cadTags = std::move(stored);
    encodeCadTags(holder, format);
    return std::move(holder.cadTags);
  }
  return stored;
}

}  // namespace

WireframeData readWireframe(std::span<const std::byte> body, const Format& format, std::size_t base,
                            MemoryShare* memory) {
  WireframeData data = [&] {
    if (!format.has(Feature::mk3Packets))
      return readAs(codec::OutOfBandForm::plain, body, format, base, memory);
    try {
      return readAs(codec::OutOfBandForm::plain, body, format, base, memory);
    } catch (const DocumentLimitError&) {
      throw;
    } catch (const JtFormatError& error) {
      try {
        return readAs(codec::OutOfBandForm::nested, body, format, base, memory);
      } catch (const JtFormatError&) {
        throw error;  // of the form that is expected
      }
    }
  }();
  if (data.cadTags.flag == 1) {
    PMIData holder;
    holder.layout = data.layout;
    holder.bigEndian = data.bigEndian;
    holder.cadTags = data.cadTags;
    if (decodeCadTags(holder) && holder.cadTags.tags->size() == data.edges.size())
      data.cadTags = std::move(holder.cadTags);
  }
  return data;
}

void traceWireframe(std::span<const std::byte> body, const Format& format, std::size_t base,
                    FieldListener& listener, MemoryShare* memory) {
  TracingReader reader(body, format, base, &listener);
  if (memory) reader.countIn(*memory);
  WireframeElement element(codec::Budget::forInput(body.size(), kMostBytes, memory));
  try {
    WireframeFields::run(reader, element);
  } catch (const JtFormatError& error) {
    throw JtFormatError(error.code(), error.message(), {.offset = reader.offset()});
  }
}

bool canWriteWireframe(const WireframeData& data, const Format& format) noexcept {
  const bool isSameForm = data.layout == layoutOf(format) && data.bigEndian == format.bigEndian;
  const bool isUnderstood =
      data.trailingBytes.empty() && (data.cadTags.flag == 0 || data.cadTags.tags);
  return format.has(Feature::readableWireframes) && (isUnderstood || isSameForm);
}

void writeWireframe(ByteSink& out, const WireframeData& data, const Format& format) {
  if (!canWriteWireframe(data, format))
    refuse("not_convertible", "the wireframe has no known form in this version");
  WireframeElement element(codec::Budget{0});
  element.edgeCount = static_cast<std::int32_t>(data.edges.size());
  element.curveCount = static_cast<std::int32_t>(data.curves.size());
  element.hasKnotKind.assign(WireframeElement::kKnotKinds, 0);
  for (const WireEdge& edge : data.edges) {
    element.curveIndices.push_back(edge.curve);
    element.edgeTags.push_back(edge.tag);
  }
  for (std::size_t i = 0; i < data.curves.size(); ++i)
    addStored(element, data.curves[i], static_cast<std::int32_t>(i));
  element.nextTag = data.nextTag;
  element.cadTags.flag = data.cadTags.flag;
  if (data.cadTags.flag == 1) element.cadTags = convertedTags(data, format);
  element.trailingBytes = data.trailingBytes;
  Writer writer(out, format);
  writer.setConverting(true);
  WireframeFields::run(writer, element);
}

Ref<JtWireframeRep> WireframeAccess::make(WireframeData data) {
  auto rep = jt::make<JtWireframeRep>();
  rep->data_ = std::move(data);
  return rep;
}

}  // namespace jt::file
