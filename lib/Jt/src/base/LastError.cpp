#include <new>

#include "JtPartition.h"

namespace {

std::string& slot() {
  thread_local std::string text;
  return text;
}

}  // namespace

const std::string& jt::lastError() { return slot(); }

void jt::setLastError(std::string text) { slot() = std::move(text); }

void jt::setLastError(const std::exception& failure, const std::string& file) {
  std::string text =
      dynamic_cast<const std::bad_alloc*>(&failure) ? "out of memory" : failure.what();
  if (!file.empty() && text.find(file) == std::string::npos) text.insert(0, file + ": ");
  slot() = std::move(text);
}
