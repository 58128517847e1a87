#pragma once

// Linux has it, the C library of the WebAssembly compiler has not.

#include <cerrno>
#include <cstdio>

enum RenameFlags : unsigned { RENAME_NOREPLACE = 1, RENAME_EXCHANGE = 2 };

inline int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                     unsigned flags) {
  if (flags == 0) return renameat(fromFolder, from, toFolder, to);
  errno = EINVAL;
  return -1;
}
