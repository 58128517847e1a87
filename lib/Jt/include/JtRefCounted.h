#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "JtExport.h"

/// Base of everything that several owners share. The count is atomic; an object starts with no
/// reference and is destroyed when the last reference is dropped. Never delete such an object.
///
/// A journal (jt::ChangeJournal) keeps objects without being one of their owners: what was removed
/// from a scene can come back, but is as good as gone until then.
class JT_API JtRefCounted {
 public:
  JtRefCounted() noexcept = default;
  /// A copy is a new object: it starts with no reference of its own.
  JtRefCounted(const JtRefCounted&) noexcept {}
  JtRefCounted& operator=(const JtRefCounted&) noexcept { return *this; }

  /// Takes one reference, or that many.
  void ref(std::uint32_t many = 1) const noexcept {
    count_.fetch_add(many, std::memory_order_relaxed);
  }
  /// Takes a reference of an object that no other thread knows yet: costs no atomic operation.
  void refNew() const noexcept {
    count_.store(count_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  }
  /// Drops one reference, or that many; the last one destroys the object, unless a journal keeps
  /// it.
  void unref(std::uint32_t many = 1) const noexcept {
    const std::uint64_t before = count_.fetch_sub(many, std::memory_order_acq_rel);
    if (before == many)
      delete this;
    else if (ownersIn(before) == static_cast<int>(many))
      abandoned();
  }
  /// Takes a reference unless the last one is gone already; for look-up tables that do not own.
  bool tryRef() const noexcept {
    std::uint64_t count = count_.load(std::memory_order_relaxed);
    while (count > 0)
      if (count_.compare_exchange_weak(count, count + 1, std::memory_order_acquire)) return true;
    return false;
  }
  /// References held at this moment; only a hint while other threads take or drop some.
  int refCount() const noexcept { return ownersIn(count_.load(std::memory_order_acquire)); }

  /// References of journals: these keep the object too, and are not counted by refCount().
  void keep() const noexcept { count_.fetch_add(kKept, std::memory_order_relaxed); }
  void unkeep() const noexcept {
    if (count_.fetch_sub(kKept, std::memory_order_acq_rel) == kKept) delete this;
  }
  bool isKept() const noexcept { return count_.load(std::memory_order_acquire) >= kKept; }
  /// Makes a reference of an owner one of a journal, and the other way round.
  void keepOnly() const noexcept { count_.fetch_add(kKept - 1, std::memory_order_acq_rel); }
  void own() const noexcept { count_.fetch_sub(kKept - 1, std::memory_order_acq_rel); }

 protected:
  virtual ~JtRefCounted() = default;
  /// Called when the last reference is dropped of an object that a journal keeps.
  virtual void abandoned() const noexcept {}

 private:
  static constexpr std::uint64_t kKept = std::uint64_t{1} << 32;
  static int ownersIn(std::uint64_t count) noexcept {
    return static_cast<int>(count & (kKept - 1));
  }

  mutable std::atomic<std::uint64_t> count_{0};  // owners in the lower half, journals in the upper
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
