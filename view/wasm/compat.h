#pragma once

// What the C++ library of the WebAssembly compiler lacks of C++20. It is included before everything
// else in that build, and only there. Algorithms of ranges in the forms that are used here: for
// whole ranges, with projections.

#include <algorithm>
#include <bit>
#include <charconv>
#include <compare>
#include <concepts>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace std {

template <class To, class From>
To bit_cast(const From& from) noexcept {
  static_assert(sizeof(To) == sizeof(From));
  To to;
  memcpy(&to, &from, sizeof to);
  return to;
}

template <class Char, class Traits, class Allocator>
strong_ordering operator<=>(const basic_string<Char, Traits, Allocator>& a,
                            const basic_string<Char, Traits, Allocator>& b) noexcept {
  return a.compare(b) <=> 0;
}
template <class T, class Allocator>
auto operator<=>(const vector<T, Allocator>& a, const vector<T, Allocator>& b) {
  return a < b ? strong_ordering::less : b < a ? strong_ordering::greater : strong_ordering::equal;
}

struct CompatIdentity {
  template <class T>
  constexpr T&& operator()(T&& value) const noexcept {
    return std::forward<T>(value);
  }
};

namespace ranges {

struct CompatLess {
  template <class A, class B>
  bool operator()(A&& a, B&& b) const {
    return std::forward<A>(a) < std::forward<B>(b);
  }
};

template <class Function, class Projection>
auto compatProjected(Function& function, Projection& projection) {
  return [&function, &projection](auto&&... values) -> decltype(auto) {
    return std::invoke(function,
                       std::invoke(projection, std::forward<decltype(values)>(values))...);
  };
}

template <class Range, class Predicate, class Projection = CompatIdentity>
bool any_of(Range&& range, Predicate predicate, Projection projection = {}) {
  return std::any_of(std::begin(range), std::end(range), compatProjected(predicate, projection));
}
template <class Range, class Predicate, class Projection = CompatIdentity>
bool all_of(Range&& range, Predicate predicate, Projection projection = {}) {
  return std::all_of(std::begin(range), std::end(range), compatProjected(predicate, projection));
}
template <class Range, class Predicate, class Projection = CompatIdentity>
bool none_of(Range&& range, Predicate predicate, Projection projection = {}) {
  return std::none_of(std::begin(range), std::end(range), compatProjected(predicate, projection));
}
template <class Range, class Predicate, class Projection = CompatIdentity>
auto find_if(Range&& range, Predicate predicate, Projection projection = {}) {
  return std::find_if(std::begin(range), std::end(range), compatProjected(predicate, projection));
}
template <class Range, class T, class Projection = CompatIdentity>
auto find(Range&& range, const T& value, Projection projection = {}) {
  return std::find_if(std::begin(range), std::end(range),
                      [&](auto&& each) { return std::invoke(projection, each) == value; });
}
template <class Iterator, class T, class Projection = CompatIdentity>
Iterator find(Iterator first, std::type_identity_t<Iterator> last, const T& value,
              Projection projection = {}) {
  return std::find_if(first, last,
                      [&](auto&& each) { return std::invoke(projection, each) == value; });
}
template <class Range, class Predicate, class Projection = CompatIdentity>
auto count_if(Range&& range, Predicate predicate, Projection projection = {}) {
  return std::count_if(std::begin(range), std::end(range), compatProjected(predicate, projection));
}
template <class Range, class T, class Projection = CompatIdentity>
auto count(Range&& range, const T& value, Projection projection = {}) {
  return std::count_if(std::begin(range), std::end(range),
                       [&](auto&& each) { return std::invoke(projection, each) == value; });
}
template <class Range, class Other, class Predicate = std::equal_to<>>
bool equal(Range&& range, Other&& other, Predicate predicate = {}) {
  return std::equal(std::begin(range), std::end(range), std::begin(other), std::end(other),
                    predicate);
}
template <class Range, class Other>
auto mismatch(Range&& range, Other&& other) {
  struct Result {
    decltype(std::begin(range)) in1;
    decltype(std::begin(other)) in2;
  };
  const auto found =
      std::mismatch(std::begin(range), std::end(range), std::begin(other), std::end(other));
  return Result{found.first, found.second};
}
template <class Range, class Less = CompatLess, class Projection = CompatIdentity>
auto sort(Range&& range, Less less = {}, Projection projection = {}) {
  std::sort(std::begin(range), std::end(range), compatProjected(less, projection));
  return std::end(range);
}
template <class Range, class Less = CompatLess, class Projection = CompatIdentity>
auto stable_sort(Range&& range, Less less = {}, Projection projection = {}) {
  std::stable_sort(std::begin(range), std::end(range), compatProjected(less, projection));
  return std::end(range);
}
template <class Range, class Less = CompatLess, class Projection = CompatIdentity>
bool is_sorted(Range&& range, Less less = {}, Projection projection = {}) {
  return std::is_sorted(std::begin(range), std::end(range), compatProjected(less, projection));
}
template <class Range, class T, class Less = CompatLess, class Projection = CompatIdentity>
auto lower_bound(Range&& range, const T& value, Less less = {}, Projection projection = {}) {
  return std::lower_bound(std::begin(range), std::end(range), value,
                          [&](const auto& each, const T& wanted) {
                            return std::invoke(less, std::invoke(projection, each), wanted);
                          });
}
template <class Range, class T, class Less = CompatLess, class Projection = CompatIdentity>
auto upper_bound(Range&& range, const T& value, Less less = {}, Projection projection = {}) {
  return std::upper_bound(std::begin(range), std::end(range), value,
                          [&](const T& wanted, const auto& each) {
                            return std::invoke(less, wanted, std::invoke(projection, each));
                          });
}
template <class Range, class Less = CompatLess, class Projection = CompatIdentity>
auto min_element(Range&& range, Less less = {}, Projection projection = {}) {
  return std::min_element(std::begin(range), std::end(range), compatProjected(less, projection));
}
template <class Range, class Less = CompatLess, class Projection = CompatIdentity>
auto max_element(Range&& range, Less less = {}, Projection projection = {}) {
  return std::max_element(std::begin(range), std::end(range), compatProjected(less, projection));
}
template <class Range>
auto minmax(Range&& range) {
  const auto found = std::minmax_element(std::begin(range), std::end(range));
  using Value = std::decay_t<decltype(*found.first)>;
  struct Result {
    Value min;
    Value max;
  };
  return Result{*found.first, *found.second};
}
template <class Range, class Output, class Function, class Projection = CompatIdentity>
auto transform(Range&& range, Output output, Function function, Projection projection = {}) {
  struct Result {
    Output out;
  };
  return Result{std::transform(std::begin(range), std::end(range), output,
                               compatProjected(function, projection))};
}
template <class Range, class Output>
auto copy(Range&& range, Output output) {
  struct Result {
    Output out;
  };
  return Result{std::copy(std::begin(range), std::end(range), output)};
}
template <class Range, class Output>
auto move(Range&& range, Output output) {
  return std::move(std::begin(range), std::end(range), output);
}
template <class Range, class T>
void fill(Range&& range, const T& value) {
  std::fill(std::begin(range), std::end(range), value);
}
template <class Range, class A, class B>
void replace(Range&& range, const A& old, const B& with) {
  std::replace(std::begin(range), std::end(range), old, with);
}
template <class Range, class Predicate, class T>
void replace_if(Range&& range, Predicate predicate, const T& with) {
  std::replace_if(std::begin(range), std::end(range), predicate, with);
}
template <class Range>
void reverse(Range&& range) {
  std::reverse(std::begin(range), std::end(range));
}

}  // namespace ranges

// --- Numbers as texts

template <class Number>
requires std::floating_point<Number> from_chars_result from_chars(
    const char* first, const char* last, Number& value, chars_format = chars_format::general) {
  // As the C function, without what that takes beyond decimal numbers: blanks, a plus sign,
  // hexadecimal digits.
  const char* at = first != last && *first == '-' ? first + 1 : first;
  const auto digits = [&] {
    const char* const begin = at;
    while (at != last && *at >= '0' && *at <= '9') ++at;
    return at - begin;
  };
  auto count = digits();
  if (at != last && *at == '.') {
    ++at;
    count += digits();
  }
  if (count == 0) return {first, errc::invalid_argument};
  if (at != last && (*at == 'e' || *at == 'E')) {
    const char* const before = at++;
    if (at != last && (*at == '-' || *at == '+')) ++at;
    if (digits() == 0) at = before;
  }
  const string text(first, at);
  const Number read = sizeof(Number) == sizeof(float)
                          ? static_cast<Number>(strtof(text.c_str(), nullptr))
                          : static_cast<Number>(strtod(text.c_str(), nullptr));
  if (!__builtin_isfinite(read)) return {at, errc::result_out_of_range};
  value = read;
  return {at, errc()};
}

/// The shortest text that leads back to the number.
template <class Number>
requires std::floating_point<Number> to_chars_result to_chars(char* first, char* last,
                                                              Number value) {
  constexpr int kMostDigits = sizeof(Number) == sizeof(float) ? 9 : 17;
  char text[40];
  for (int digits = 1; digits <= kMostDigits; ++digits) {
    snprintf(text, sizeof text, "%.*g", digits, static_cast<double>(value));
    const Number back = sizeof(Number) == sizeof(float)
                            ? static_cast<Number>(strtof(text, nullptr))
                            : static_cast<Number>(strtod(text, nullptr));
    if (back == value) break;
  }
  const size_t length = strlen(text);
  if (static_cast<size_t>(last - first) < length) return {last, errc::value_too_large};
  memcpy(first, text, length);
  return {first + length, errc()};
}

// --- Threads, of which there are none

class stop_token {
 public:
  bool stop_requested() const noexcept { return true; }
};

/// Cannot be started; whoever wants one does without.
class jthread {
 public:
  jthread() noexcept = default;
  template <class Function>
  explicit jthread(Function&&) {
    throw system_error(make_error_code(errc::resource_unavailable_try_again));
  }
  bool request_stop() noexcept { return false; }
  bool joinable() const noexcept { return false; }
  void join() {}
  thread::id get_id() const noexcept { return {}; }
};

}  // namespace std
