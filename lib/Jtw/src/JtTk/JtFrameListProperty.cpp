#include "JtFrameListProperty.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "ApiLogLogger.h"
#include "IdxIFile.h"
#include "IdxOFile.h"
#include "IdxObject.h"
#include "JtBaseDataStream.h"

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

IdxIOCommands derivedCommands(JtFrame& frame) {
  IdxIOCommands commands;
  frame.getDerivedCommands(commands);
  return commands;
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
  if (!isReadable_) return !unreadable_.isEmpty() && stream.write(unreadable_);
  return stream.write(JtString(toText()));
}

bool JtFrameListProperty::deserialize(JtBaseDataStream& stream) {
  JtString text;
  isReadable_ = stream.read(text) && isReadable_;
  if (!isReadable_ || !fromText(text.stringToMbs())) unreadable_ = text;
  return true;
}

// --- Writing

RWClassicCString JtFrameListProperty::toText() const {
  RWClassicCString text;
  text.reserve(1000);
  IdxOFile out(text, 80);
  out << jtw::countAsInt(frames_.size());
  for (const JtFrame& frame : frames_) out << frame;
  writeIds(out);
  return text;
}

void JtFrameListProperty::writeIds(IdxOFile& out) const {
  std::vector<std::pair<int, JtFrame>> marked;  // copies: the commands refer to what they read into
  for (std::size_t i = 0; i < frames_.size(); ++i)
    if (!frames_[i].globalUniqueId.isNull()) marked.emplace_back(static_cast<int>(i), frames_[i]);
  if (marked.empty()) return;
  out << jtw::countAsInt(marked.size());
  for (auto& [index, frame] : marked) {
    out << index;
    for (const auto& command : jtw::derivedCommands(frame))
      if (command->applies()) command->write(out);
  }
}

// --- Reading

bool JtFrameListProperty::fromText(std::string_view text) {
  IdxIFile in(text);
  const std::size_t first = frames_.size();
  isReadable_ =
      isReadable_ && (in.atEnd() || (readFrames(in) && (in.atEnd() || readIds(in, first))));
  return isReadable_;
}

bool JtFrameListProperty::readFrames(IdxIFile& in) {
  int count = 0;
  in >> count;
  if (!in.good() || count < 0) return false;
  const auto most = static_cast<std::size_t>(count);
  // Room only for as many as the text can hold: a greater count is a lie.
  constexpr std::size_t kLeastCharacters = 50;
  if (most >= frames_.capacity())
    frames_.reserve(frames_.size() + std::min(most, in.remaining() / kLeastCharacters));
  for (std::size_t i = 0; i < most; ++i) {
    JtFrame frame;
    in >> frame;
    if (!in.good()) return false;
    frames_.push_back(std::move(frame));
  }
  return true;
}

bool JtFrameListProperty::readIds(IdxIFile& in, std::size_t first) {
  const auto count = static_cast<int>(frames_.size() - first);
  int marked = 0;
  in >> marked;
  if (!in.good() || marked < 1 || marked > count) return false;
  for (int previous = -1; marked > 0; --marked) {
    int index = -1;
    in >> index;
    if (!in.good() || index <= previous || index >= count) return false;
    previous = index;
    for (const auto& command :
         jtw::derivedCommands(frames_[first + static_cast<std::size_t>(index)]))
      if (!command->read(in)) return false;
  }
  return in.atEnd();
}
