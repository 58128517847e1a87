#include "JtLastError.h"

#include <pthread.h>

#include <new>
#include <utility>

#include "JtFormatError.h"

namespace {

struct Slot {
  std::string text;
  std::string code;
  std::optional<JtFormatError> error{};
};

void drop(void* slot) { delete static_cast<Slot*>(slot); }

pthread_key_t makeKey() {
  pthread_key_t key{};
  return pthread_key_create(&key, drop) == 0 ? key : pthread_key_t{};
}

/// The last error of this thread; null when there is no memory for it. Not thread_local: where
/// memory is short, the first use of one that has a destructor ends the process.
Slot* slotOfThread() noexcept {
  static const pthread_key_t key = makeKey();
  auto* slot = static_cast<Slot*>(pthread_getspecific(key));
  if (slot) return slot;
  slot = new (std::nothrow) Slot;
  if (!slot || pthread_setspecific(key, slot) == 0) return slot;
  delete slot;
  return nullptr;
}

/// What is read where there is no memory for a slot.
const Slot& lastSlot() {
  static const Slot noMemory{"out of memory", "out_of_memory"};
  const Slot* const own = slotOfThread();
  return own ? *own : noMemory;
}

}  // namespace

const std::string& jt::lastError() { return lastSlot().text; }

const std::string& jt::lastErrorCode() { return lastSlot().code; }

const std::optional<JtFormatError>& jt::lastFormatError() { return lastSlot().error; }

void jt::setLastError(std::string text, std::string code) {
  if (Slot* const own = slotOfThread()) *own = {std::move(text), std::move(code)};
}

void jt::setLastError(const std::exception& failure, const std::string& file) {
  const bool isMemory = dynamic_cast<const std::bad_alloc*>(&failure) != nullptr;
  const auto* known = dynamic_cast<const JtFormatError*>(&failure);
  std::string text = isMemory ? "out of memory" : failure.what();
  if (!file.empty() && text.find(file) == std::string::npos) text.insert(0, file + ": ");
  setLastError(std::move(text), isMemory ? "out_of_memory" : known ? known->code() : "");
  Slot* const own = slotOfThread();
  if (own && known) own->error = *known;
}

bool jt::isReadFailure(std::string_view code) noexcept {
  return code == "unreadable" || code == "changed_on_disk" || code == "out_of_memory";
}
