#include "JtBufferProperty.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <string_view>

#include "JtBaseDataStream.h"
#include "JtwRoot.h"

namespace jtw {
namespace {

constexpr JtGuid kBufferGuid{
    0xB21D5D16, 0x1466, 0x4F27, {0x8B, 0x8F, 0xC8, 0xCC, 0x2C, 0x39, 0xCA, 0x4B}};

JtBase* createBuffer() { return new JtBufferProperty; }

/// The bytes of a text. Each unit is one byte, as toText() writes them; other writers may have
/// taken the bytes for characters, and then units beyond a byte occur.
std::string bytesOf(const JtString& text) {
  const std::u16string_view units = text.units();
  if (std::ranges::any_of(units, [](char16_t unit) { return unit > 0xFF; }))
    return text.stringToMbs();
  std::string bytes(units.size(), '\0');
  std::ranges::transform(units, bytes.begin(), [](char16_t unit) {
    return static_cast<char>(static_cast<unsigned char>(unit));
  });
  return bytes;
}

/// The number that a text begins with; 0 when there is none or it is out of range.
template <class Number>
Number leadingNumber(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  if (text.starts_with('+')) text.remove_prefix(1);
  Number number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

std::vector<char> unescape(std::string_view text, std::size_t mostBytes) {
  std::vector<char> bytes;
  bytes.reserve(std::min(text.size(), mostBytes));
  for (std::size_t i = 0; i < text.size() && bytes.size() < mostBytes; ++i) {
    if (text[i] != '\\') {
      bytes.push_back(text[i]);
    } else if (i + 1 < text.size() && (text[i + 1] == '\\' || text[i + 1] == '@')) {
      ++i;
      bytes.push_back(text[i] == '@' ? '\0' : '\\');
    }
  }
  return bytes;
}

}  // namespace
}  // namespace jtw

const JtType* JtBufferProperty::classTypeID() {
  static const JtType type("JtBufferProperty", JtBase::classTypeID(), jtw::kBufferGuid,
                           jtw::createBuffer, sizeof(JtBufferProperty));
  return &type;
}

std::uint32_t JtBufferProperty::currentVersion() { return JtwRoot::currentVersion(); }

jt::Ref<JtBase> JtBufferProperty::clone() const {
  return jt::Ref<JtBase>(new JtBufferProperty(*this));
}

void JtBufferProperty::setData(std::span<const char> bytes) {
  data_.assign(bytes.begin(), bytes.end());
  version_ = currentVersion();
}

bool JtBufferProperty::serialize(JtBaseDataStream& stream) const {
  if (!stream.write(currentVersion()) || !stream.write(size())) return false;
  stream.writeRaw(std::as_bytes(std::span(data_)));
  return true;
}

bool JtBufferProperty::deserialize(JtBaseDataStream& stream) {
  data_.clear();
  std::int32_t size = 0;
  if (!stream.read(version_) || !stream.read(size)) return false;
  if (size < 0 || static_cast<std::size_t>(size) > stream.left()) return false;
  data_.resize(static_cast<std::size_t>(size));
  return stream.readRaw(std::as_writable_bytes(std::span(data_)));
}

JtString JtBufferProperty::toText() const {
  const std::string head = std::to_string(currentVersion()) + ',' + std::to_string(size()) + ',';
  std::u16string units(head.begin(), head.end());
  units.reserve(units.size() + data_.size() + data_.size() / 8);
  for (const char byte : data_) {
    if (byte == '\0')
      units += u"\\@";
    else if (byte == '\\')
      units += u"\\\\";
    else
      units += static_cast<char16_t>(static_cast<unsigned char>(byte));
  }
  return JtString(std::move(units));
}

void JtBufferProperty::fromText(const JtString& text) {
  data_.clear();
  const std::string bytes = jtw::bytesOf(text);
  const std::size_t first = bytes.find(',');
  if (first == std::string::npos) return;
  const std::size_t second = bytes.find(',', first + 1);
  if (second == std::string::npos) return;

  const std::string_view all = bytes;
  version_ = jtw::leadingNumber<std::uint32_t>(all);
  const auto size = jtw::leadingNumber<std::int32_t>(all.substr(first + 1));
  if (size > 0) data_ = jtw::unescape(all.substr(second + 1), static_cast<std::size_t>(size));
}
