#include "JtPartition.h"

namespace {

std::string& slot() {
  thread_local std::string text;
  return text;
}

}  // namespace

const std::string& jt::lastError() { return slot(); }

void jt::setLastError(std::string text) { slot() = std::move(text); }
