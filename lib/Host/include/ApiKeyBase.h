#pragma once

#include <compare>
#include <cstddef>
#include <functional>

namespace host {

/// An integer key that does not mix with other integers or with keys of another kind. 0 is the null
/// key. Keys are ordered as the signed integers they hold.
template <class Derived>
class IntegerKey {
 public:
  constexpr IntegerKey() = default;
  /// A key of that number; 0 is the null key.
  constexpr explicit IntegerKey(long value) : value_(value) {}

  /// The number of the key.
  constexpr long getAsLong() const { return value_; }
  constexpr bool isNull() const { return value_ == 0; }

  /// The next key. The greatest key is followed by the least, so that a key read from a damaged
  /// file cannot overflow.
  constexpr Derived& operator++() {
    value_ = static_cast<long>(static_cast<unsigned long>(value_) + 1U);
    return static_cast<Derived&>(*this);
  }
  constexpr Derived operator++(int) {
    Derived before = static_cast<Derived&>(*this);
    ++*this;
    return before;
  }

  // NOLINTNEXTLINE(modernize-use-nullptr): the check mistakes the 0 that orderings compare with.
  friend constexpr auto operator<=>(const IntegerKey&, const IntegerKey&) = default;

 private:
  long value_ = 0;
};

}  // namespace host
