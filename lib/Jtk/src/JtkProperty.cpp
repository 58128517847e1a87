#include "JtkProperty.h"

#include <utility>

JtkProperty::JtkProperty(JtString key, jt::Ref<JtPropAtom> value, std::int32_t kind)
    : key_(std::move(key)), value_(std::move(value)), kind_(kind) {}
JtkProperty::~JtkProperty() = default;

JtkProperty::ValueType JtkProperty::valueType() const noexcept {
  if (jt::as<JtStringPropAtom>(atom())) return ValueType::STRING;
  if (jt::as<JtInt32PropAtom>(atom())) return ValueType::INTEGER;
  if (jt::as<JtFloatPropAtom>(atom())) return ValueType::FLOAT;
  return ValueType::OTHER;
}

JtString JtkProperty::stringValue() const {
  const auto* text = jt::as<JtStringPropAtom>(atom());
  return text ? text->value() : JtString();
}

int JtkProperty::integerValue() const noexcept {
  const auto* number = jt::as<JtInt32PropAtom>(atom());
  return number ? number->value() : 0;
}

float JtkProperty::floatValue() const noexcept {
  const auto* number = jt::as<JtFloatPropAtom>(atom());
  return number ? number->value() : 0;
}
