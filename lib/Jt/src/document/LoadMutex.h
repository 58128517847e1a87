#pragma once

#include <functional>
#include <iterator>
#include <mutex>

namespace jt {

/// The mutex under which what a reader loads for `object` is put in its place. Objects share a few
/// of them, so hold one at a time, and none while loading.
inline std::mutex& loadMutexOf(const void* object) noexcept {
  static std::mutex mutexes[16];
  return mutexes[std::hash<const void*>{}(object) / 64 % std::size(mutexes)];
}

}  // namespace jt
