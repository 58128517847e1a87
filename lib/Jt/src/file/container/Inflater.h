#pragma once

#include <libdeflate.h>

#include <memory>
#include <new>

namespace jt::file {

using Inflater = std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)>;

/// Throws std::bad_alloc.
inline Inflater makeInflater() {
  Inflater inflater(libdeflate_alloc_decompressor(), &libdeflate_free_decompressor);
  if (!inflater) throw std::bad_alloc();
  return inflater;
}

}  // namespace jt::file
