#include "Shard.h"

#include <charconv>
#include <string>

#include "Arguments.h"
#include "Failure.h"

namespace tool {

// FNV-1a, and then the last step of MurmurHash3: the low bits of FNV-1a alone depend on few bits of
// the text, and a remainder looks at those.
std::uint64_t stableHash(std::string_view text) noexcept {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const char letter : text) {
    hash ^= static_cast<unsigned char>(letter);
    hash *= 0x100000001b3U;
  }
  hash ^= hash >> 33;
  hash *= 0xff51afd7ed558ccdU;
  hash ^= hash >> 33;
  hash *= 0xc4ceb9fe1a85ec53U;
  return hash ^ (hash >> 33);
}

std::optional<Shard> Shard::of(const Arguments& arguments) {
  const std::string* text = arguments.value("shard");
  if (!text) return std::nullopt;
  Shard shard;
  const char* const end = text->data() + text->size();
  const auto index = std::from_chars(text->data(), end, shard.index);
  const bool isPair = index.ec == std::errc() && index.ptr != end && *index.ptr == '/';
  const auto count = std::from_chars(isPair ? index.ptr + 1 : end, end, shard.count);
  if (!isPair || count.ec != std::errc() || count.ptr != end || !shard.isValid())
    failUsage("--shard is '" + *text + "', not I/N with I from 1 to N, and N at most " +
              std::to_string(kMost));
  return shard;
}

}  // namespace tool
