#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tool {

class Arguments;

/// A number for a text, the same on every machine and in every version of the program.
std::uint64_t stableHash(std::string_view text) noexcept;

/// One of the parts that many files are divided into. The part of a file depends on its name alone,
/// not on the other files.
struct Shard {
  std::uint32_t index = 1;  ///< from 1 on
  std::uint32_t count = 1;

  static constexpr std::uint32_t kMost = 100'000;  ///< shards
  bool isValid() const noexcept { return index >= 1 && index <= count && count <= kMost; }

  /// --shard I/N; nothing when it was not given. Throws Failure "usage".
  static std::optional<Shard> of(const Arguments& arguments);
  bool has(std::string_view name) const noexcept { return stableHash(name) % count == index - 1; }
  bool operator==(const Shard&) const = default;
};

}  // namespace tool
