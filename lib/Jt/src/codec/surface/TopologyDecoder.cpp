#include <bit>
#include <optional>

#include "JtFormatError.h"
#include "codec/surface/SurfaceWalk.h"

namespace jt::codec {

namespace {

/// Hands the symbols of the streams to the walk.
class StreamPort {
 public:
  explicit StreamPort(const TopologyStreams& streams) : streams_(streams) {}

  bool polygonLeft() const noexcept { return polygons_ < streams_.vertexValences.size(); }
  std::uint32_t polygon() {
    if (!polygonLeft()) missing("valences");
    return static_cast<std::uint32_t>(streams_.vertexValences[polygons_++]);
  }
  std::uint32_t degree(unsigned context) {
    const auto& degrees = streams_.faceDegrees[context];
    if (degrees_[context] == degrees.size()) missing("degrees");
    return static_cast<std::uint32_t>(degrees[degrees_[context]++]);
  }
  template <class Active>
  Split split(const Active& active) {
    if (splits_ == streams_.splitSymbols.size() || splits_ == streams_.splitPositions.size())
      missing("splits");
    const std::int32_t offset = streams_.splitSymbols[splits_];
    const std::int32_t position = streams_.splitPositions[splits_++];
    if (offset < 1 || static_cast<std::size_t>(offset) > active.size() || position < 0)
      fail("bad_topology", "a split to a vertex that does not exist");
    return {active.at(static_cast<std::size_t>(offset)), static_cast<std::uint32_t>(position)};
  }
  bool allTaken() const noexcept {
    bool taken =
        splits_ == streams_.splitSymbols.size() && splits_ == streams_.splitPositions.size();
    for (std::size_t i = 0; i < degrees_.size(); ++i)
      taken = taken && degrees_[i] == streams_.faceDegrees[i].size();
    return taken;
  }

 private:
  [[noreturn]] static void missing(const char* what) {
    fail("bad_topology", std::string("the mesh needs more ") + what + " than are stored");
  }

  const TopologyStreams& streams_;
  std::size_t polygons_ = 0;
  std::array<std::size_t, TopologyStreams::kContexts> degrees_{};
  std::size_t splits_ = 0;
};

/// How large the surface will be, if it is one.
struct Extent {
  std::size_t vertices = 0;
  std::size_t corners = 0;
  std::uint32_t mostDegree = 0;
};

Extent measure(const TopologyStreams& streams) {
  Extent extent;
  std::uint64_t valences = 0;
  std::uint64_t degrees = 0;
  // All are added before any is judged, which lets several be added together.
  std::int32_t least = 1;
  for (const std::int32_t valence : streams.vertexValences) {
    least = std::min(least, valence);
    valences += static_cast<std::uint32_t>(valence);
  }
  if (least < 1) fail("bad_topology", "a polygon without corners");
  std::int32_t most = 0;
  for (const auto& context : streams.faceDegrees)
    for (const std::int32_t degree : context) {
      least = std::min(least, degree);
      most = std::max(most, degree);
      degrees += static_cast<std::uint32_t>(degree);
      extent.vertices += degree > 0 ? 1 : 0;
    }
  if (least < 0) fail("bad_topology", "a vertex of negative degree");
  if (valences != degrees || valences > Surface::kMostCorners)
    fail("bad_topology", "polygons with " + std::to_string(valences) +
                             " corners, but vertices with " + std::to_string(degrees));
  if (streams.vertexGroups.size() != streams.vertexValences.size() ||
      streams.vertexFlags.size() != streams.vertexValences.size())
    fail("bad_topology", "groups, flags and valences differ in number");
  extent.corners = static_cast<std::size_t>(valences);
  extent.mostDegree = static_cast<std::uint32_t>(most);
  return extent;
}

/// Bits of the masks of vertices, taken in the order of the vertices.
class MaskReader {
 public:
  MaskReader(const TopologyStreams& streams, Generation generation)
      : streams_(streams), isNine_(generation == Generation::v9) {}

  /// The mask of the next vertex of a degree up to 64.
  std::uint64_t next(std::uint32_t degree) {
    const std::size_t context = maskContext(degree);
    const std::size_t at = used_[context]++;
    if (at >= streams_.faceMasks[context].size()) missing();
    const std::uint64_t low = bits(streams_.faceMasks[context], at);
    if (context < 7) return low;
    const std::uint64_t further = bits(streams_.faceMasksNext, at);
    if (isNine_) return low | further << 30 | bits(streams_.faceMasksTop, at) << 60;
    return low | further << 32;
  }
  /// The words of the next vertex of a higher degree.
  std::span<const std::uint32_t> nextWords(std::uint32_t degree) {
    const std::size_t words = (std::size_t{degree} + 31) / 32;
    if (words > streams_.highDegreeMasks.size() - usedWords_) missing();
    usedWords_ += words;
    return std::span(streams_.highDegreeMasks).subspan(usedWords_ - words, words);
  }
  /// The number of 1 bits of all masks where they are as many as the vertices and every one has
  /// none, or every one has one: what most surfaces have.
  std::optional<std::uint32_t> onesOfEach(std::size_t vertices) const noexcept {
    if (!streams_.highDegreeMasks.empty()) return {};
    for (const auto* further : {&streams_.faceMasksNext, &streams_.faceMasksTop})
      if (std::ranges::any_of(*further, [](std::int32_t mask) { return mask != 0; })) return {};
    std::uint32_t any = 0;
    std::uint32_t several = 0;
    std::uint32_t none = 0;
    std::size_t masks = 0;
    for (const auto& context : streams_.faceMasks) {
      masks += context.size();
      for (const std::int32_t value : context) {
        const auto mask = static_cast<std::uint32_t>(value);
        any |= mask;
        several |= mask & (mask - 1);
        none |= mask == 0 ? 1 : 0;
      }
    }
    if (masks != vertices || several != 0 || (any != 0 && none != 0)) return {};
    return any == 0 ? 0 : 1;
  }
  bool allTaken() const noexcept {
    bool taken = usedWords_ == streams_.highDegreeMasks.size();
    for (std::size_t i = 0; i < used_.size(); ++i)
      taken = taken && used_[i] == streams_.faceMasks[i].size();
    return taken;
  }

 private:
  /// Vectors that a producer left out are all zeros.
  static std::uint64_t bits(const std::vector<std::int32_t>& masks, std::size_t at) {
    return at < masks.size() ? static_cast<std::uint32_t>(masks[at]) : 0;
  }
  [[noreturn]] static void missing() {
    fail("bad_topology", "fewer attribute masks than vertices");
  }

  const TopologyStreams& streams_;
  bool isNine_;
  std::array<std::size_t, TopologyStreams::kContexts> used_{};
  std::size_t usedWords_ = 0;
};

/// Number of 1 bits; nearly always there is one or none.
std::uint32_t countOnes(std::uint64_t mask) noexcept {
  if ((mask & (mask - 1)) == 0) return mask == 0 ? 0 : 1;
  return static_cast<std::uint32_t>(std::popcount(mask));
}

/// Records of a ring: each 1 bit begins a new one; before the first, the last holds.
template <class IsSet>
void putRecords(std::span<const std::uint32_t> ring, std::uint32_t first, std::uint32_t count,
                IsSet isSet, std::span<std::uint32_t> recordOf) {
  std::uint32_t record = first + count - 1;
  std::uint32_t next = first;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    if (count > 1 && isSet(i)) record = next++;
    recordOf[Surface::cornerIn(ring[i])] = record;
  }
}

}  // namespace

HashChain TopologyStreams::hashChain(Generation generation, bool padMasks) const {
  HashChain chain;
  for (const auto& context : faceDegrees) chain.add(context);
  chain.add(vertexValences);
  chain.add(vertexGroups);
  chain.addHalves(vertexFlags);
  for (const auto& context : faceMasks) chain.add(context);
  const auto addMasks = [&](const std::vector<std::int32_t>& masks) {
    const std::size_t count = padMasks ? faceMasks.back().size() : masks.size();
    if (count == masks.size()) return chain.add(masks);
    std::vector<std::int32_t> padded = masks;
    padded.resize(count);
    chain.add(std::move(padded));
  };
  addMasks(faceMasksNext);
  if (generation == Generation::v9) addMasks(faceMasksTop);
  chain.add(highDegreeMasks);
  chain.add(splitSymbols);
  chain.add(splitPositions);
  return chain;
}

std::uint8_t VariantChoice::ofFile() {
  examined_.call([this] {
    const std::uint8_t allowed = examine_ ? examine_() : std::uint8_t{0};
    allowed_.store(allowed == 0 ? Variant::kAll : allowed, std::memory_order_release);
  });
  return allowed_.load(std::memory_order_acquire);
}

Surface decodeSurface(const TopologyStreams& streams, Variant variant, Budget& budget) {
  const Extent extent = measure(streams);
  constexpr std::size_t kBytesPerCorner = 16;
  constexpr std::size_t kBytesPerVertex = 32;
  budget.spend(extent.corners * kBytesPerCorner + extent.vertices * kBytesPerVertex);
  StreamPort port(streams);
  Surface surface = walkSurface(port, variant, extent.vertices, extent.corners, extent.mostDegree);
  if (!port.allTaken()) fail("bad_topology", "the mesh closes before all symbols are used");
  return surface;
}

std::uint8_t fittingVariants(const TopologyStreams& streams, Budget budget) {
  unsigned fitting = 0;
  for (unsigned i = 0; i < Variant::kCount; ++i) {
    Budget again = budget;
    try {
      decodeSurface(streams, Variant::byIndex(i), again);
      fitting |= 1U << i;
    } catch (const JtFormatError&) {
      // Not this one.
    }
    again.returnTo(budget);
  }
  return static_cast<std::uint8_t>(fitting);
}

Surface decodeSurface(const TopologyStreams& streams, VariantChoice& choice, Budget& budget) {
  const Budget before = budget;
  const auto decodeAs = [&](unsigned index) {
    budget.returnTo(before);
    Surface surface = decodeSurface(streams, Variant::byIndex(index), budget);
    if (index != 0) choice.met(index);
    return surface;
  };
  const auto firstOf = [](unsigned variants) {
    return static_cast<unsigned>(std::countr_zero(variants));
  };
  try {
    return decodeAs(0);
  } catch (const JtFormatError& error) {
    measure(streams);  // what is wrong under every variant need not be tried again
    const unsigned expected = choice.isSettled() ? firstOf(choice.ofFile()) : 0;
    try {
      if (expected != 0) return decodeAs(expected);
    } catch (const JtFormatError&) {
      // The shape contradicts its file.
    }
    const std::uint8_t fitting = fittingVariants(streams, before);
    if (fitting == 0) throw error;  // damage is no reason to examine the file
    const unsigned allowed = choice.ofFile() & fitting;
    return decodeAs(firstOf(allowed != 0 ? allowed : fitting));
  }
}

std::vector<std::uint32_t> decodeRecords(const TopologyStreams& streams, Generation generation,
                                         const Surface& surface, std::uint32_t& total) {
  constexpr std::uint32_t kMaskBits = 64;
  constexpr std::uint32_t kMostRecords = 0x7fffffff;
  MaskReader reader(streams, generation);
  total = 0;
  if (const auto ones = reader.onesOfEach(surface.vertexCount())) {
    total = *ones * static_cast<std::uint32_t>(surface.vertexCount());
    return total == 0 ? std::vector<std::uint32_t>() : surface.vertexOf;
  }
  std::vector<std::uint32_t> records(surface.vertexOf.size());
  for (std::uint32_t v = 0; v < surface.vertexCount(); ++v) {
    const std::uint32_t degree = surface.degree(v);
    std::uint64_t mask = 0;
    std::span<const std::uint32_t> words;
    std::uint32_t count = 0;
    if (degree <= kMaskBits) {
      mask = reader.next(degree);
      count = countOnes(mask);
    } else {
      words = reader.nextWords(degree);
      for (const std::uint32_t word : words) count += countOnes(word);
    }
    if (count == 0) continue;
    if (count > kMostRecords - total) fail("bad_topology", "too many attribute records");
    if (words.empty()) {
      putRecords(
          surface.ring(v), total, count, [mask](std::size_t slot) { return (mask >> slot) & 1; },
          records);
    } else {
      putRecords(
          surface.ring(v), total, count,
          [words](std::size_t slot) { return (words[slot / 32] >> (slot % 32)) & 1; }, records);
    }
    total += count;
  }
  if (!reader.allTaken()) fail("bad_topology", "more attribute masks than vertices");
  if (total == 0) return {};
  return records;
}

}  // namespace jt::codec
