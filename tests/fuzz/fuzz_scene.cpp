// The inflated scene graph alone: the first byte chooses the form of the file around it.

#include <cstdio>
#include <cstdlib>

#include "support/FileBuilder.h"
#include "support/Survival.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  static MemoryStorage storage;
  static const std::vector<jt::file::Format> formats = allFormats();
  const auto scene = std::as_bytes(std::span(data, size)).subspan(1);
  const Bytes file =
      FileBuilder(formats[data[0] % formats.size()]).packed(1, 1, 0, 1, scene).build();
  if (survive(storage, file) == "differs") {
    std::fprintf(stderr, "the saved file means something else\n");
    std::abort();
  }
  return 0;
}
