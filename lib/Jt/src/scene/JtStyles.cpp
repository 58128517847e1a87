#include "JtStyles.h"

std::span<const jt::FieldBits> JtDrawStyle::fieldBits() const noexcept {
  static constexpr jt::FieldBits kBits[] = {{0x01, 0x01}, {0x02, 0x02}, {0x04, 0x04},
                                            {0x08, 0x08}, {0x10, 0x10}, {0x20, 0x20}};
  return kBits;
}

void JtDrawStyle::set(Flag flag, bool on) {
  const auto bit = static_cast<std::uint8_t>(flag);
  flags_ = static_cast<std::uint8_t>(on ? flags_ | bit : flags_ & ~bit);
  touch();
}

void JtLineStyle::setLineType(JtLineType type) {
  flags_ = static_cast<std::uint8_t>((flags_ & 0xf0) | static_cast<std::uint8_t>(type));
  touch();
}

void JtLineStyle::setAntialiased(bool on) {
  flags_ = static_cast<std::uint8_t>(on ? flags_ | 0x10 : flags_ & ~0x10);
  touch();
}

void JtLineStyle::setWidth(float pixels) {
  width_ = pixels;
  touch();
}

void JtPointStyle::setAntialiased(bool on) {
  flags_ = static_cast<std::uint8_t>(on ? flags_ | 0x10 : flags_ & ~0x10);
  touch();
}

void JtPointStyle::setSize(float pixels) {
  size_ = pixels;
  touch();
}
