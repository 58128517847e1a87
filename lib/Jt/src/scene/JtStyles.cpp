#include "JtStyles.h"

#include "scene/Recording.h"

std::span<const jt::FieldBits> JtDrawStyle::fieldBits() const noexcept {
  static constexpr jt::FieldBits kBits[] = {{0x01, 0x01}, {0x02, 0x02}, {0x04, 0x04},
                                            {0x08, 0x08}, {0x10, 0x10}, {0x20, 0x20}};
  return kBits;
}

void JtDrawStyle::set(Flag flag, bool on) {
  const auto bit = static_cast<std::uint8_t>(flag);
  change(flags_);
  flags_ = static_cast<std::uint8_t>(on ? flags_ | bit : flags_ & ~bit);
}

void JtLineStyle::setLineType(JtLineType type) {
  change(flags_);
  flags_ = static_cast<std::uint8_t>((flags_ & 0xf0) | static_cast<std::uint8_t>(type));
}

void JtLineStyle::setAntialiased(bool on) {
  change(flags_);
  flags_ = static_cast<std::uint8_t>(on ? flags_ | 0x10 : flags_ & ~0x10);
}

void JtLineStyle::setWidth(float pixels) {
  change(width_);
  width_ = pixels;
}

void JtPointStyle::setAntialiased(bool on) {
  change(flags_);
  flags_ = static_cast<std::uint8_t>(on ? flags_ | 0x10 : flags_ & ~0x10);
}

void JtPointStyle::setSize(float pixels) {
  change(size_);
  size_ = pixels;
}
