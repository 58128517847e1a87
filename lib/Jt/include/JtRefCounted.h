#pragma once

#include <atomic>
#include <utility>

#include "JtExport.h"

/// Base of everything that several owners share. The count is atomic; an object starts with no
/// reference and is destroyed when the last reference is dropped. Never delete such an object.
class JT_API JtRefCounted {
 public:
  JtRefCounted() noexcept = default;
  /// A copy is a new object: it starts with no reference of its own.
  JtRefCounted(const JtRefCounted&) noexcept {}
  JtRefCounted& operator=(const JtRefCounted&) noexcept { return *this; }

  /// Takes one reference.
  void ref() const noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
  /// Drops one reference; the last one destroys the object.
  void unref() const noexcept {
    if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }
  /// Takes a reference unless the last one is gone already; for look-up tables that do not own.
  bool tryRef() const noexcept {
    int count = count_.load(std::memory_order_relaxed);
    while (count > 0)
      if (count_.compare_exchange_weak(count, count + 1, std::memory_order_acquire)) return true;
    return false;
  }
  /// References held at this moment; only a hint while other threads take or drop some.
  int refCount() const noexcept { return count_.load(std::memory_order_acquire); }

 protected:
  virtual ~JtRefCounted() = default;

 private:
  mutable std::atomic<int> count_{0};
};

namespace jt {

/// Counting handle on a JtRefCounted object: one reference for as long as the handle lives.
template <class T>
class Ref {
 public:
  Ref() noexcept = default;
  /// Holds nothing.
  Ref(std::nullptr_t) noexcept {}
  /// Takes a reference of its own on `object` (null allowed).
  Ref(T* object) noexcept : object_(object) {
    if (object_) object_->ref();
  }
  Ref(const Ref& other) noexcept : Ref(other.object_) {}
  Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  template <class U>
  /// Shares the object of another handle.
  Ref(const Ref<U>& other) noexcept : Ref(other.get()) {}
  ~Ref() {
    if (object_) object_->unref();
  }
  Ref& operator=(Ref other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  /// A handle that takes over a reference which the caller holds.
  static Ref adopt(T* object) noexcept {
    Ref handle;
    handle.object_ = object;
    return handle;
  }
  /// Gives the handle's reference to the caller.
  T* release() noexcept { return std::exchange(object_, nullptr); }

  /// The object, not owned; null when the handle holds nothing.
  T* get() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }
  friend bool operator==(const Ref& a, const Ref& b) noexcept { return a.object_ == b.object_; }
  friend bool operator==(const Ref& a, const T* b) noexcept { return a.object_ == b; }

 private:
  T* object_ = nullptr;
};

/// Makes a T and the first handle on it.
template <class T, class... Args>
Ref<T> make(Args&&... args) {
  return Ref<T>(new T(std::forward<Args>(args)...));
}

}  // namespace jt
