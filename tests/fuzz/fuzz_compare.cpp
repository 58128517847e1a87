// Two files compared, without and with a tolerance. Findings: a file that differs from itself, a
// comparison that depends on the order of the two, and one that finds with a tolerance what it does
// not find without.
//
// The last two bytes of an input are the share of the first file, in 65,536ths of all bytes before
// them.

#include "Finding.h"
#include "JtCompare.h"
#include "SegmentMutator.h"

namespace {

constexpr std::size_t kTail = 2;

std::size_t firstSize(const std::uint8_t* data, std::size_t size) {
  const std::size_t share = data[size - 2] | std::size_t{data[size - 1]} << 8;
  return (size - kTail) * share >> 16;
}

/// Whether two files are the same; nothing when they cannot be compared.
std::optional<bool> isSame(const JtPartition& a, const JtPartition& b, double tolerance) {
  try {
    jt::DifferenceList list;
    jt::CompareOptions options;
    options.tolerance = tolerance;
    options.identityKeys = {"KrGmProtoKey"};
    return jt::compare(a, b, options, list).isSame();
  } catch (const JtFormatError&) {
    return {};
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < kTail) return 0;
  static MemoryStorage storage;
  const auto bytes = std::as_bytes(std::span(data, size - kTail));
  const std::size_t first = firstSize(data, size);
  try {
    const auto a = storage.open(
        Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(first)), smallLimits());
    const auto b = storage.open(
        Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(first), bytes.end()), smallLimits());
    if (isSame(*a, *a, 0) == false) finding("a file differs from itself");
    const auto exact = isSame(*a, *b, 0);
    const auto reversed = isSame(*b, *a, 0);
    if (exact && reversed && exact != reversed) finding("the order of the files matters");
    if (exact == true && isSame(*a, *b, 0.01) == false) finding("a tolerance finds a difference");
    jt::compareSegments(*a, *b);
  } catch (const JtFormatError&) {
    // One of them cannot be opened.
  }
  return 0;
}

/// Changes one of the two, or puts one in the place of both first.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
  if (size < 8 || maxSize > 65536) return LLVMFuzzerMutate(data, size, maxSize);
  std::uint8_t* const cut = data + firstSize(data, size);
  std::vector<std::uint8_t> files[] = {{data, cut}, {cut, data + size - kTail}};
  if (seed % 5 == 0) files[1] = files[0];
  std::vector<std::uint8_t>& changed = files[seed % 2];
  const std::size_t used = files[0].size() + files[1].size() + kTail;
  if (used > maxSize) return size;
  const std::size_t before = changed.size();
  changed.resize(before + (maxSize - used));
  changed.resize(mutateSegment(changed.data(), before, changed.size(), seed / 10));
  std::ranges::copy(files[1], std::ranges::copy(files[0], data).out);
  const std::size_t all = files[0].size() + files[1].size();
  if (all == 0) return size;
  const std::size_t share = ((files[0].size() << 16) + all - 1) / all;
  data[all] = static_cast<std::uint8_t>(std::min<std::size_t>(share, 65535));
  data[all + 1] = static_cast<std::uint8_t>(std::min<std::size_t>(share, 65535) >> 8);
  return all + kTail;
}
