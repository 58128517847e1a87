#include "JtReadLimits.h"

std::uint64_t jt::ReadLimits::documentBytes(std::uint64_t fileSize) const noexcept {
  constexpr std::uint64_t kFloor = 128ULL << 20;
  constexpr std::uint64_t kRatio = 256;
  constexpr std::uint64_t kMost = 4ULL << 30;
  if (maxDocumentBytes) return *maxDocumentBytes;
  return fileSize >= (kMost - kFloor) / kRatio ? kMost : kFloor + kRatio * fileSize;
}
