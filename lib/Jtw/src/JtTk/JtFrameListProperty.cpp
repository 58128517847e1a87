#include "JtFrameListProperty.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "ApiLogLogger.h"
#include "IdxIFile.h"
#include "IdxOFile.h"
#include "JtBaseDataStream.h"
#include "JtString.h"

namespace jtw {
namespace {

constexpr JtGuid kFrameListGuid{
    0x6C1F0A52, 0x8E0B, 0x4D63, {0x9A, 0x37, 0x51, 0xD4, 0xE2, 0x7B, 0x90, 0x1C}};

JtBase* createFrameList() { return new JtFrameListProperty; }

int countAsInt(std::size_t count) {
  if (count > static_cast<std::size_t>(std::numeric_limits<int>::max()))
    ApiLogLogger::instance("ApiBaseToolsLogger")
        ->addLogCall("", __FILE__, __LINE__, 2, "Data lost from converting size_t to int.");
  return static_cast<int>(count);
}

}  // namespace
}  // namespace jtw

JtFrameListProperty::JtFrameListProperty() { frames_.reserve(64); }

const JtType* JtFrameListProperty::classTypeID() {
  static const JtType type("JtFrameListProperty", JtBase::classTypeID(), jtw::kFrameListGuid,
                           jtw::createFrameList, sizeof(JtFrameListProperty));
  return &type;
}

jt::Ref<JtBase> JtFrameListProperty::clone() const {
  return jt::Ref<JtBase>(new JtFrameListProperty(*this));
}

bool JtFrameListProperty::serialize(JtBaseDataStream& stream) const {
  return stream.write(JtString(toText()));
}

bool JtFrameListProperty::deserialize(JtBaseDataStream& stream) {
  JtString text;
  if (stream.read(text)) fromText(text.stringToMbs());
  return true;
}

RWClassicCString JtFrameListProperty::toText() const {
  RWClassicCString text;
  text.reserve(1000);
  IdxOFile out(text, 80);
  out << jtw::countAsInt(frames_.size());
  for (const JtFrame& frame : frames_) out << frame;
  return text;
}

void JtFrameListProperty::fromText(std::string_view text) {
  IdxIFile in(text);
  int count = 0;
  in >> count;
  if (!in.good() || count <= 0) return;
  const auto most = static_cast<std::size_t>(count);
  // Room only for as many as the text can hold: a greater count is a lie.
  constexpr std::size_t kLeastCharacters = 50;
  if (most >= frames_.capacity())
    frames_.reserve(frames_.size() + std::min(most, in.remaining() / kLeastCharacters));
  for (std::size_t i = 0; i < most; ++i) {
    JtFrame frame;
    in >> frame;
    if (!in.good()) return;
    frames_.push_back(std::move(frame));
  }
}
