#pragma once

// The values of a packet as human-readable text.

#include <string>
#include <vector>

namespace jt::file {

/// Number of values, name of the codec and the first values.
template <class T>
std::string packetText(const std::vector<T>& values, const char* codecName) {
  constexpr std::size_t kShown = 8;
  std::string text = std::to_string(values.size()) + " values, " + codecName;
  for (std::size_t i = 0; i < values.size() && i < kShown; ++i)
    text += (i == 0 ? ": " : " ") + std::to_string(values[i]);
  return values.size() > kShown ? text + " ..." : text;
}

}  // namespace jt::file
