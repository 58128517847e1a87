#pragma once

#include <cstdint>

#include "JtPropAtom.h"
#include "JtString.h"
#include "JtkEntity.h"

/// A property of a node: a key and a value.
class JTK_API JtkProperty final : public JtkEntity {
 public:
  enum class ValueType : std::uint8_t {
    STRING,
    INTEGER,
    FLOAT,
    OTHER,  ///< a date, a vector, a value in a segment of its own: carried as it is
  };
  /// Whom a property is for, the last argument of JtkEntityFactory::createProperty().
  enum Kind : std::int32_t {
    DEFAULT = 0,
    SYSTEM = 1,  ///< for programs
  };

  /// A property with a value as scene graphs hold it. @param value not null
  JtkProperty(JtString key, jt::Ref<JtPropAtom> value, std::int32_t kind = DEFAULT);

  TypeID typeID() const noexcept override { return PROPERTY; }
  /// The key.
  const JtString& key() const noexcept { return key_; }
  /// The type of the value.
  ValueType valueType() const noexcept;
  /// The value when it is of the type; empty or 0 otherwise.
  JtString stringValue() const;
  int integerValue() const noexcept;
  float floatValue() const noexcept;
  /// The value as scene graphs hold it. Not owned.
  JtPropAtom* atom() const noexcept { return value_.get(); }

  /// A value of Kind, or another number that the host gave.
  std::int32_t kind() const noexcept { return kind_; }
  /// A number of the host's. It is not stored in files.
  void setFlag(int flag) noexcept { flag_ = flag; }
  int flag() const noexcept { return flag_; }

 private:
  ~JtkProperty() override;

  JtString key_;
  jt::Ref<JtPropAtom> value_;
  std::int32_t kind_;
  int flag_ = 0;
};
