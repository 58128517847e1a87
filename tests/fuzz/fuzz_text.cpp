// Frame lists and buffers of a component, as texts and as streams, and the indexed text below them.
// The first byte chooses. A finding is what is read otherwise after it was written.

#include <cmath>
#include <cstdint>
#include <span>
#include <string>

#include "Finding.h"
#include "IdxIFile.h"
#include "IdxOFile.h"
#include "JtBaseDataStream.h"
#include "JtBufferProperty.h"
#include "JtFrameListProperty.h"

namespace {

template <class Property>
std::string streamOf(const Property& property) {
  JtBaseDataStream out;
  if (!property.serialize(out)) return {};
  const auto& bytes = out.written();
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

template <class Property>
bool readStream(std::string_view bytes, bool isBig, Property& property) {
  JtBaseDataStream in(std::as_bytes(std::span(bytes)), isBig);
  return property.deserialize(in);
}

void checkFrames(const JtFrameListProperty& list) {
  if (!list.isReadable()) return;
  const std::string text = list.toText();
  JtFrameListProperty again;
  if (!again.fromText(text) || again.toText() != text) finding("a frame list changes");
  JtFrameListProperty streamed;
  if (!readStream(streamOf(list), false, streamed) || streamed.toText() != text)
    finding("a streamed frame list changes");
}

void checkBuffer(const JtBufferProperty& buffer) {
  JtBufferProperty again;
  again.fromText(buffer.toText());
  if (!std::ranges::equal(again.data(), buffer.data())) finding("the text of a buffer changes");
  JtBufferProperty streamed;
  if (!readStream(streamOf(buffer), false, streamed) ||
      !std::ranges::equal(streamed.data(), buffer.data()))
    finding("a streamed buffer changes");
}

/// Reads values of the types that `script` names, and checks that each comes back.
void readValues(std::string_view script, std::string_view text) {
  IdxIFile in(text);
  const auto check = [&](auto value) {
    in >> value;
    if (!in.good()) return;
    std::string written;
    IdxOFile(written) << value;
    IdxIFile back(written);
    auto again = decltype(value)();
    back >> again;
    std::string twice;
    IdxOFile(twice) << again;
    if (!back.good() || twice != written) finding("a value changes");
  };
  for (const char type : script) {
    switch (type % 8) {
      case 0:
        check(false);
        break;
      case 1:
        check(0);
        break;
      case 2:
        check(0.0);
        break;
      case 3:
        check(RWClassicCString());
        break;
      case 4:
        check(RWClassicWString());
        break;
      case 5:
        check(ApiProtoKey());
        break;
      case 6:
        check(RTTran3D());
        break;
      default:
        check(ApiGraColor());
        break;
    }
  }
}

JtString unitsOf(std::string_view bytes) {
  std::u16string units;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
    units += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                   static_cast<unsigned char>(bytes[i + 1]) << 8);
  return JtString(std::move(units));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  JtFrameListProperty frames;
  JtBufferProperty buffer;
  switch (data[0] % 8) {
    case 0:
    case 1:
      frames.fromText(bytes);
      checkFrames(frames);
      break;
    case 2:
    case 3:
      if (readStream(bytes, data[0] % 8 == 3, frames)) checkFrames(frames);
      break;
    case 4:
      buffer.fromText(JtString(std::string(bytes)));
      checkBuffer(buffer);
      break;
    case 5:
      buffer.fromText(unitsOf(bytes));
      checkBuffer(buffer);
      break;
    case 6:
      if (readStream(bytes, false, buffer)) checkBuffer(buffer);
      break;
    default:
      readValues(bytes.substr(0, 8), bytes.substr(std::min<std::size_t>(8, bytes.size())));
      break;
  }
  return 0;
}
