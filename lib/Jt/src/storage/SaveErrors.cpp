#include "storage/SaveErrors.h"

#include "JtFormatError.h"
#include "storage/Descriptor.h"

namespace jt::storage {

void SaveErrors::failed(int error, std::string_view doing) const {
  const std::string what = std::string(doing) + " failed: " + errorText(error);
  switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      raise("no_space", what + "; the new content needs " + std::to_string(size_) +
                            " bytes beside the old file: free that much, or save elsewhere");
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ELOOP:
    case ENAMETOOLONG:
      raise("unwritable", what + "; save elsewhere, or ask for the right to write in this folder");
    case ENOENT:
    case ENOTDIR:
      raise("unwritable", what + "; make the folder first, or save elsewhere");
    default:
      raise("write_failed", what + "; check the medium, or save elsewhere");
  }
}

void SaveErrors::raise(std::string_view code, std::string message) const {
  throw JtFormatError(std::string(code), std::move(message), {.file = path_});
}

}  // namespace jt::storage
