#pragma once

#include <cstddef>
#include <new>

namespace host {

/// A function-local static that is not destroyed at exit, so that destructors that run then can
/// still report errors and write to the log.
template <class T>
class NeverDestroyed {
 public:
  NeverDestroyed() { ::new (static_cast<void*>(storage_)) T(); }
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;

  T& get() { return *std::launder(reinterpret_cast<T*>(storage_)); }

 private:
  alignas(T) std::byte storage_[sizeof(T)];
};

}  // namespace host
