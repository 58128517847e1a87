// The body of a wireframe element, in the form that the first byte chooses: reported, read, its
// curves evaluated, written in every form and read again. A finding is content that changes on the
// way.

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "file/segments/WireframeElement.h"

namespace {

using namespace jt;
using namespace jt::file;

constexpr Format kForms[] = {{9, 5, false}, {10, 0, false}, {9, 5, true}, {10, 5, true}};

[[noreturn]] void finding(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

class Silent : public FieldListener {
  void field(std::size_t, std::size_t, const char*, const char*, const std::string&) override {}
};

Buffer written(const WireframeData& data, const Format& format) {
  ByteSink out;
  writeWireframe(out, data, format);
  return std::move(out).take();
}

/// Knots that descend can be read in more than one way.
bool hasOrder(const WireCurve& curve) { return std::ranges::is_sorted(curve.knots); }

/// Numbers need not be equal to themselves, so that contents are compared as bytes.
bool isSame(const WireframeData& a, const WireframeData& b, const Format& format) {
  return std::ranges::equal(written(a, format).bytes(), written(b, format).bytes());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const Format& format = kForms[data[0] % std::size(kForms)];
  const auto body = std::as_bytes(std::span(data, size)).subspan(1);
  WireframeData read;
  try {
    Silent silent;
    traceWireframe(body, format, 0, silent);
    read = readWireframe(body, format, 0);
  } catch (const JtFormatError&) {
    return 0;
  }
  std::size_t points = 0;
  for (const WireCurve& curve : read.curves) {
    points += polylineOf(curve).size();
    if (points > 1000000) break;
  }
  for (const Format& other : kForms) {
    if (!canWriteWireframe(read, other)) continue;
    try {
      const Buffer stored = written(read, other);
      const WireframeData again = readWireframe(stored.bytes(), other, 0);
      const bool isClear = std::ranges::all_of(read.curves, hasOrder);
      if (isClear && !isSame(read, again, other))
        finding("a wireframe changes on its way through a file");
    } catch (const JtFormatError& error) {
      finding(error.what());
    }
  }
  return 0;
}
