#include "JtBaseDataStream.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>

#include "base/ByteOrder.h"

namespace {

template <class Unsigned>
std::array<std::byte, sizeof(Unsigned)> toBytes(Unsigned value, bool bigEndian) {
  return std::bit_cast<std::array<std::byte, sizeof(Unsigned)>>(jt::inFileOrder(value, bigEndian));
}

}  // namespace

bool JtBaseDataStream::write(std::uint32_t value) { return writeRaw(toBytes(value, bigEndian_)); }

bool JtBaseDataStream::write(std::int32_t value) {
  return write(static_cast<std::uint32_t>(value));
}

bool JtBaseDataStream::write(const JtString& text) {
  if (text.length() > std::numeric_limits<std::int32_t>::max()) return false;
  output_.reserve(output_.size() + 4 + 2 * text.length());
  write(static_cast<std::uint32_t>(text.length()));
  for (const char16_t unit : text.units())
    writeRaw(toBytes(static_cast<std::uint16_t>(unit), bigEndian_));
  return true;
}

bool JtBaseDataStream::writeRaw(std::span<const std::byte> bytes) {
  output_.insert(output_.end(), bytes.begin(), bytes.end());
  return true;
}

bool JtBaseDataStream::read(std::uint32_t& value) {
  if (left() < 4) return false;
  value = jt::loadScalar<std::uint32_t>(input_.data() + position_, bigEndian_);
  position_ += 4;
  return true;
}

bool JtBaseDataStream::read(std::int32_t& value) {
  std::uint32_t bits = 0;
  if (!read(bits)) return false;
  value = static_cast<std::int32_t>(bits);
  return true;
}

bool JtBaseDataStream::read(JtString& text) {
  const std::size_t start = position_;
  std::uint32_t count = 0;
  if (!read(count)) return false;
  // Checked before anything is allocated: the units must be present.
  if (count > left() / 2) {
    position_ = start;
    return false;
  }
  std::u16string units(count, u'\0');
  for (char16_t& unit : units) {
    unit =
        static_cast<char16_t>(jt::loadScalar<std::uint16_t>(input_.data() + position_, bigEndian_));
    position_ += 2;
  }
  text = JtString(std::move(units));
  return true;
}

bool JtBaseDataStream::readRaw(std::span<std::byte> bytes) {
  if (left() < bytes.size()) return false;
  const auto source = input_.subspan(position_, bytes.size());
  std::copy(source.begin(), source.end(), bytes.begin());
  position_ += bytes.size();
  return true;
}
