#include "Hash.h"

namespace jt::codec {

namespace {

/// The mixing function of the "lookup2" hash by Bob Jenkins (1996).
struct State {
  std::uint32_t a = 0x9e3779b9;
  std::uint32_t b = 0x9e3779b9;
  std::uint32_t c;

  void mix() noexcept {
    a = (a - b - c) ^ (c >> 13);
    b = (b - c - a) ^ (a << 8);
    c = (c - a - b) ^ (b >> 13);
    a = (a - b - c) ^ (c >> 12);
    b = (b - c - a) ^ (a << 16);
    c = (c - a - b) ^ (b >> 5);
    a = (a - b - c) ^ (c >> 3);
    b = (b - c - a) ^ (a << 10);
    c = (c - a - b) ^ (b >> 15);
  }
};

}  // namespace

std::uint32_t hash32(std::span<const std::int32_t> words, std::uint32_t seed) noexcept {
  State state{.c = seed};
  const auto word = [&](std::size_t i) { return static_cast<std::uint32_t>(words[i]); };
  std::size_t i = 0;
  for (; words.size() - i >= 3; i += 3) {
    state.a += word(i);
    state.b += word(i + 1);
    state.c += word(i + 2);
    state.mix();
  }
  state.c += static_cast<std::uint32_t>(words.size());
  if (words.size() - i == 2) state.b += word(i + 1);
  if (words.size() - i >= 1) state.a += word(i);
  state.mix();
  return state.c;
}

std::uint32_t hash16(std::span<const std::int32_t> halves, std::uint32_t seed) noexcept {
  State state{.c = seed};
  const auto low = [&](std::size_t i) { return static_cast<std::uint32_t>(halves[i]) & 0xffff; };
  const auto high = [&](std::size_t i) { return low(i) << 16; };
  std::size_t i = 0;
  for (; halves.size() - i >= 6; i += 6) {
    state.a += low(i) + high(i + 1);
    state.b += low(i + 2) + high(i + 3);
    state.c += low(i + 4) + high(i + 5);
    state.mix();
  }
  state.c += static_cast<std::uint32_t>(halves.size());
  const std::size_t rest = halves.size() - i;
  // The low half of c stays free for the length.
  if (rest >= 5) state.c += high(i + 4);
  if (rest >= 4) state.b += high(i + 3);
  if (rest >= 3) state.b += low(i + 2);
  if (rest >= 2) state.a += high(i + 1);
  if (rest >= 1) state.a += low(i);
  state.mix();
  return state.c;
}

}  // namespace jt::codec
