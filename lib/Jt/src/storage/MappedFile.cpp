#include "storage/MappedFile.h"

#include <fcntl.h>
#include <sys/mman.h>

#include "JtFormatError.h"

namespace jt::storage {
namespace {

[[noreturn]] void failOpen(const std::string& path, int error) {
  const bool missing = error == ENOENT || error == ENOTDIR;
  throw JtFormatError(missing ? "not_found" : "unreadable",
                      missing ? "there is no such file" : "cannot be opened: " + errorText(error),
                      {.file = path, .segment = {}, .element = {}, .offset = {}});
}

void requireRegular(const std::string& path, const struct stat& info) {
  if (S_ISREG(info.st_mode)) return;
  throw JtFormatError("not_a_file",
                      std::string("a file was expected, but this is ") + kindText(info.st_mode),
                      {.file = path, .segment = {}, .element = {}, .offset = {}});
}

}  // namespace

Ref<MappedFile> MappedFile::open(const std::string& path) {
  struct stat info {};
  // Looked at before it is opened: opening alone makes some devices act.
  if (::stat(path.c_str(), &info) != 0) failOpen(path, errno);
  requireRegular(path, info);

  Ref<MappedFile> result(new MappedFile(path));
  const int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  result->file_ = Descriptor(uninterrupted([&] { return ::open(path.c_str(), flags); }));
  if (!result->file_ || ::fstat(result->descriptor(), &info) != 0) failOpen(path, errno);
  requireRegular(path, info);
  result->identity_ = identityOf(info);
  if (info.st_size == 0) return result;

  const auto size = static_cast<std::size_t>(info.st_size);
  void* start = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, result->descriptor(), 0);
  if (start == MAP_FAILED) failOpen(path, errno);
  result->start_ = static_cast<const std::byte*>(start);
  result->size_ = size;
  return result;
}

MappedFile::~MappedFile() {
  if (start_) ::munmap(const_cast<std::byte*>(start_), size_);
}

void MappedFile::checkPresent() const {
  struct stat info {};
  if (::fstat(descriptor(), &info) == 0 && static_cast<std::uint64_t>(info.st_size) >= size_)
    return;
  failShorter(static_cast<std::uint64_t>(info.st_size));
}

void MappedFile::readAt(std::uint64_t offset, std::span<std::byte> out) const {
  while (!out.empty()) {
    const ssize_t count = uninterrupted(
        [&] { return ::pread(descriptor(), out.data(), out.size(), static_cast<off_t>(offset)); });
    if (count < 0)
      throw JtFormatError("unreadable", "cannot be read: " + errorText(errno),
                          {.file = path_, .segment = {}, .element = {}, .offset = offset});
    if (count == 0) failShorter(offset);
    out = out.subspan(static_cast<std::size_t>(count));
    offset += static_cast<std::uint64_t>(count);
  }
}

void MappedFile::failShorter(std::uint64_t size) const {
  throw JtFormatError("changed_on_disk",
                      "the file had " + std::to_string(size_) +
                          " bytes when it was opened and has " + std::to_string(size) +
                          " now: another program changed it; open it again before going on",
                      {.file = path_, .segment = {}, .element = {}, .offset = {}});
}

}  // namespace jt::storage
