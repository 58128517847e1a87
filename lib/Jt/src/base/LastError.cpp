#include <new>

#include "JtFormatError.h"
#include "JtPartition.h"
#include "JtSourceFile.h"

namespace {

struct Slot {
  std::string text;
  std::string code;
};

Slot& slot() {
  thread_local Slot last;
  return last;
}

}  // namespace

const std::string& jt::lastError() { return slot().text; }

const std::string& jt::lastErrorCode() { return slot().code; }

void jt::setLastError(std::string text) { slot() = {std::move(text), {}}; }

void jt::setLastError(std::string text, std::string code) {
  slot() = {std::move(text), std::move(code)};
}

void jt::setLastError(const std::exception& failure, const std::string& file) {
  const bool isMemory = dynamic_cast<const std::bad_alloc*>(&failure) != nullptr;
  const auto* known = dynamic_cast<const JtFormatError*>(&failure);
  std::string text = isMemory ? "out of memory" : failure.what();
  if (!file.empty() && text.find(file) == std::string::npos) text.insert(0, file + ": ");
  setLastError(std::move(text), isMemory ? "out_of_memory" : known ? known->code() : "");
}

bool jt::isReadFailure(std::string_view code) noexcept {
  return code == "unreadable" || code == "changed_on_disk" || code == "out_of_memory";
}
