#include "JtAttribute.h"

#include "scene/Recording.h"

void JtAttribute::setState(JtAttributeState state, bool on) {
  if (isCarried()) return;
  const auto bit = static_cast<std::uint8_t>(state);
  change(stateFlags_);
  stateFlags_ = static_cast<std::uint8_t>(on ? stateFlags_ | bit : stateFlags_ & ~bit);
}

namespace {

/// State flag of 8.x and 9.x: final in all fields. Without meaning from 10.x on.
constexpr std::uint8_t kFinalBefore10 = 0x01;

}  // namespace

std::uint32_t JtAttribute::allFields() const noexcept {
  std::uint32_t all = 0;
  for (const jt::FieldBits& field : fieldBits()) all |= field.from10;
  return all != 0 ? all : ~std::uint32_t{0};
}

std::uint32_t JtAttribute::finalFlags() const noexcept {
  if (fieldFlagsOf10_) return finalFlags_;
  return (stateFlags_ & kFinalBefore10) != 0 ? allFields() : 0;
}

bool JtAttribute::isFinal() const noexcept {
  const std::uint32_t flags = finalFlags();
  if (fieldBits().empty()) return flags != 0;
  return (flags & allFields()) == allFields();
}

void JtAttribute::setFinal(bool on) {
  if (isCarried()) return;
  change(stateFlags_, finalFlags_);
  if (fieldFlagsOf10_) {
    finalFlags_ = on ? allFields() : 0;
  } else {
    stateFlags_ = static_cast<std::uint8_t>(on ? stateFlags_ | kFinalBefore10
                                               : stateFlags_ & ~kFinalBefore10);
  }
}

std::uint8_t JtAttribute::stateFlagsIn(bool form10) const noexcept {
  if (form10 == fieldFlagsOf10_) return stateFlags_;
  const unsigned others = stateFlags_ & ~unsigned{kFinalBefore10};
  const bool isFinalBefore10 = !form10 && finalFlags_ != 0;
  return static_cast<std::uint8_t>(isFinalBefore10 ? others | kFinalBefore10 : others);
}

std::uint32_t JtAttribute::inhibitFlagsIn(bool form10) const noexcept {
  const auto fields = fieldBits();
  if (fields.empty() || (form10 && fieldFlagsOf10_)) return inhibitFlags_;
  std::uint32_t inhibited = 0;
  std::uint32_t stated = 0;
  for (const jt::FieldBits& field : fields) {
    const std::uint32_t own = fieldFlagsOf10_ ? field.from10 : field.before10;
    const std::uint32_t other = form10 ? field.from10 : field.before10;
    ((inhibitFlags_ & own) != 0 ? inhibited : stated) |= other;
  }
  return inhibited & ~stated;
}

void JtAttribute::stateField(const jt::FieldBits& field) {
  const std::uint32_t bits = fieldFlagsOf10_ ? field.from10 : field.before10;
  if (isCarried() || (inhibitFlags_ & bits) == 0) return;
  change(inhibitFlags_);
  inhibitFlags_ &= ~bits;
}

bool JtAttribute::isBaseEqualTo(const JtAttribute& other) const noexcept {
  return stateFlags() == other.stateFlags() && inhibitFlags() == other.inhibitFlags() &&
         finalFlags() == other.finalFlags() && tail_.value_or(-1) == other.tail_.value_or(-1) &&
         trailingBytes_ == other.trailingBytes_;
}
