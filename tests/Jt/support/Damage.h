#pragma once

// What a decoder says of damage: that each of its checks refuses some.

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <set>
#include <string>

#include "JtFormatError.h"
#include "base/Bytes.h"

/// Adds what `decode` says of bytes with each bit changed and each word replaced: code and message,
/// without numbers.
template <class Decode>
void addRefusals(const jt::codec::Bytes& bytes, std::set<std::string>& said, Decode decode) {
  const auto attempt = [&](const jt::codec::Bytes& changed) {
    try {
      decode(changed);
    } catch (const JtFormatError& error) {
      std::string text = error.message();
      std::erase_if(text, [](char c) { return c == '-' || (c >= '0' && c <= '9'); });
      said.insert(error.code() + ": " + text);
    }
  };
  for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
    jt::codec::Bytes changed = bytes;
    changed[bit / 8] ^= std::byte{1} << (bit % 8);
    attempt(changed);
  }
  for (std::size_t at = 0; at + 4 <= bytes.size(); ++at)
    for (const std::uint32_t word : {0U, 1U, 3U, 40U, 0x7fffffffU, 0xffffffffU}) {
      jt::codec::Bytes changed = bytes;
      std::memcpy(changed.data() + at, &word, sizeof word);
      attempt(changed);
    }
}

inline void expectRefusals(const std::set<std::string>& said,
                           std::initializer_list<const char*> expected) {
  for (const char* refusal : expected) EXPECT_TRUE(said.contains(refusal)) << refusal;
}
