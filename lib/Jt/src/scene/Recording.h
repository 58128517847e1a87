#pragma once

// What operations that change an object do for a journal that records them.

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "JtChangeJournal.h"
#include "JtHash.h"
#include "JtInlineList.h"
#include "JtNode.h"
#include "JtRefCounted.h"
#include "JtString.h"

namespace jt {

class ChangeJournal::Kept {
 public:
  virtual ~Kept() = default;
  Kept(const Kept&) = delete;
  Kept& operator=(const Kept&) = delete;
  /// Exchanges the kept value with that of the member.
  virtual void swap() noexcept = 0;
  /// Records what the member has now, for isCurrent().
  void mark() noexcept { mark_ = fingerprint(); }
  bool isCurrent() const noexcept { return mark_ == fingerprint(); }

 protected:
  Kept() = default;
  /// Of the value that the member has now.
  virtual std::uint64_t fingerprint() const noexcept = 0;

 private:
  std::uint64_t mark_ = 0;
};

namespace scene {

// Fingerprints: values that differ have different ones, nearly always. Objects count by address.

template <class T>
std::uint64_t fingerprintOf(T* object) noexcept {
  return std::uint64_t{PointerHash{}(object)};
}
inline std::uint64_t bytesFingerprint(const void* bytes, std::size_t size) noexcept {
  const auto* next = static_cast<const unsigned char*>(bytes);
  std::uint64_t hash = size;
  for (; size > 0; --size) hash = mixHash(hash, *next++);
  return hash;
}
inline std::uint64_t fingerprintOf(const Property& property) noexcept {
  return mixHash(fingerprintOf(property.key.get()), fingerprintOf(property.value.get()));
}
inline std::uint64_t fingerprintOf(const JtString& text) noexcept {
  return bytesFingerprint(text.units().data(), text.units().size() * sizeof(char16_t));
}
template <class T>
std::uint64_t fingerprintOf(const Ref<T>& object) noexcept {
  return fingerprintOf(object.get());
}
template <class T>
std::uint64_t fingerprintOf(const std::atomic<T>& value) noexcept {
  return static_cast<std::uint64_t>(value.load());
}
/// Bytes of plain values, which must have no padding; of others nothing.
template <class T>
std::uint64_t fingerprintOf(const T& value) noexcept {
  if constexpr (std::is_trivially_copyable_v<T>)
    return bytesFingerprint(&value, sizeof value);
  else
    return 0;
}
template <class T>
std::uint64_t fingerprintOf(const std::optional<T>& value) noexcept {
  return value ? mixHash(1, fingerprintOf(*value)) : 0;
}
template <class List>
std::uint64_t listFingerprint(const List& list) noexcept {
  std::uint64_t hash = list.size();
  for (std::size_t i = 0; i < list.size(); ++i) hash = mixHash(hash, fingerprintOf(list[i]));
  return hash;
}
template <class T, class Allocator>
std::uint64_t fingerprintOf(const std::vector<T, Allocator>& list) noexcept {
  return listFingerprint(list);
}
template <class T>
std::uint64_t fingerprintOf(const InlineList<T>& list) noexcept {
  return listFingerprint(list);
}

/// A reference of a journal on an object.
class Keeper {
 public:
  explicit Keeper(const JtRefCounted& object) noexcept : object_(&object) { object.keep(); }
  Keeper(Keeper&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Keeper& operator=(Keeper&&) = delete;
  ~Keeper() {
    if (object_) object_->unkeep();
  }

 private:
  const JtRefCounted* object_;
};

// The references in kept values are those of the journal.

template <class T, class Act>
void forEachReference(const T& /*value*/, Act /*act*/) noexcept {}
template <class T, class Act>
void forEachReference(const Ref<T>& reference, Act act) noexcept {
  if (reference) act(*reference);
}
template <class Act>
void forEachReference(const Property& property, Act act) noexcept {
  forEachReference(property.key, act);
  forEachReference(property.value, act);
}
template <class T, class Allocator, class Act>
void forEachReference(const std::vector<T, Allocator>& list, Act act) noexcept {
  for (const T& item : list) forEachReference(item, act);
}
template <class T, class Act>
void forEachReference(const InlineList<T>& list, Act act) noexcept {
  for (std::size_t i = 0; i < list.size(); ++i) forEachReference(list[i], act);
}
template <class T>
void keepReferences(const T& value) noexcept {
  forEachReference(value, [](const JtRefCounted& object) { object.keepOnly(); });
}
template <class T>
void ownReferences(const T& value) noexcept {
  forEachReference(value, [](const JtRefCounted& object) { object.own(); });
}

/// The value of a member.
template <class T>
class KeptValue final : public ChangeJournal::Kept {
 public:
  KeptValue(const JtRefCounted& owner, T& member, T value)
      : owner_(owner), member_(member), value_(std::move(value)) {
    keepReferences(value_);
  }
  ~KeptValue() override { ownReferences(value_); }
  void swap() noexcept override {
    static_assert(std::is_nothrow_swappable_v<T>);
    ownReferences(value_);
    using std::swap;
    swap(member_, value_);
    keepReferences(value_);
  }

 private:
  std::uint64_t fingerprint() const noexcept override {
    return fingerprintOf(std::as_const(member_));
  }

  Keeper owner_;
  T& member_;
  T value_;
};

template <class T>
class KeptValue<std::atomic<T>> final : public ChangeJournal::Kept {
 public:
  KeptValue(const JtRefCounted& owner, std::atomic<T>& member, T value)
      : owner_(owner), member_(member), value_(value) {}
  void swap() noexcept override { value_ = member_.exchange(value_); }

 private:
  std::uint64_t fingerprint() const noexcept override { return fingerprintOf(member_); }

  Keeper owner_;
  std::atomic<T>& member_;
  T value_;
};

template <class T>
const T& valueOf(const T& member) {
  return member;
}
template <class T>
T valueOf(const std::atomic<T>& member) {
  return member.load();
}

/// The journal that is to have the old values of an object. Null for an object without references:
/// it is new, and nothing leads to it.
inline ChangeJournal* journalFor(const JtRefCounted& owner) noexcept {
  ChangeJournal* const journal = ChangeJournal::recording();
  return journal && (owner.refCount() > 0 || owner.isKept()) ? journal : nullptr;
}

/// Has the value of a member restored that is given, when the changes are undone.
template <class T, class Value>
void keepAs(ChangeJournal& journal, const JtRefCounted& owner, T& member, Value&& value) {
  if (journal.wants(&member))
    journal.keep(&member,
                 std::make_unique<KeptValue<T>>(owner, member, std::forward<Value>(value)));
}

/// To be called before members of an object change: a journal that records keeps what they have.
/// A failure throws std::bad_alloc; the members are then not to be changed.
template <class... Members>
void recordChange(const JtRefCounted& owner, Members&... members) {
  if (ChangeJournal* const journal = journalFor(owner))
    (keepAs(*journal, owner, members, valueOf(members)), ...);
}

}  // namespace scene
}  // namespace jt

template <class... Members>
void JtSceneObject::record(Members&... members) {
  jt::scene::recordChange(*this, modified_, members...);
}

template <class... Members>
void JtSceneObject::change(Members&... members) {
  record(members...);
  touch();
}
