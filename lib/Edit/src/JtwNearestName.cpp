#include "JtwNearestName.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>
#include <vector>

namespace jtw {
namespace {

std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, replaced});
    }
  }
  return row.back();
}

}  // namespace

const char* nearestName(std::string_view text, std::span<const char* const> names) {
  const char* nearest = nullptr;
  std::size_t best = text.size() < 4 ? 2 : 3;  // one more than what may differ
  for (const char* name : names) {
    const std::size_t distance = editDistance(text.substr(0, 32), name);
    if (distance >= best) continue;
    best = distance;
    nearest = name;
  }
  return nearest;
}

std::string suggestion(std::string_view text, std::span<const char* const> names) {
  const char* nearest = nearestName(text, names);
  return nearest ? "; did you mean '" + std::string(nearest) + "'?" : std::string();
}

std::string suggestion(std::string_view text, std::span<const char* const> names, const char* all) {
  std::string message = suggestion(text, names);
  if (!message.empty()) return message;
  message = std::string("; ") + all;
  for (const char* name : names) message.append(name == names.front() ? " " : ", ").append(name);
  return message;
}

}  // namespace jtw
