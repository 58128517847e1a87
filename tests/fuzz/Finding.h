#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends a fuzz target on an input that shows a fault which no sanitizer sees.
[[noreturn]] inline void finding(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}
