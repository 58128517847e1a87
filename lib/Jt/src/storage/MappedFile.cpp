#include "storage/MappedFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <cstring>

#include "storage/OpenFiles.h"

namespace jt::storage {
namespace {

[[noreturn]] void failOpen(const std::string& path, int error) {
  const bool missing = error == ENOENT || error == ENOTDIR;
  throw JtFormatError(missing ? "not_found" : "unreadable",
                      missing ? "there is no such file" : "cannot be opened: " + errorText(error),
                      {.file = path});
}

void requireRegular(const std::string& path, const struct stat& info) {
  if (S_ISREG(info.st_mode)) return;
  throw JtFormatError("not_a_file",
                      std::string("a file was expected, but this is ") + kindText(info.st_mode),
                      {.file = path});
}

/// Descriptors that stay open, of all files of the process.
std::atomic<long> keptDescriptors{0};

/// A share of what the process may open: others need descriptors too.
long mostKept() {
  constexpr long kMost = 64;
  constexpr rlim_t kShare = 4;
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return kMost;
  return static_cast<long>(std::min<rlim_t>(limit.rlim_cur / kShare, kMost));
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
  if (!result->file_ || ::fstat(result->file_.get(), &info) != 0) failOpen(path, errno);
  requireRegular(path, info);
  result->identity_ = identityOf(info);
  result->isKept_ = ++keptDescriptors <= mostKept();
  if (!result->isKept_) --keptDescriptors;
  if (info.st_size == 0) return result;

  const auto size = static_cast<std::size_t>(info.st_size);
  void* start = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, result->file_.get(), 0);
  if (start == MAP_FAILED) failOpen(path, errno);
  result->start_ = static_cast<const std::byte*>(start);
  result->size_ = size;
  addOpenFile(*result);
  if (!result->isKept_) result->file_ = Descriptor();
  return result;
}

MappedFile::~MappedFile() {
  if (start_) {
    removeOpenFile(*this);
    ::munmap(const_cast<std::byte*>(start_), size_);
  }
  if (isKept_) --keptDescriptors;
}

MappedFile::Look MappedFile::look() const noexcept {
  const bool lostPages = hasLostPages_.load(std::memory_order_acquire);
  const State otherwise = lostPages ? State::unreadable : State::same;
  struct stat info {};
  if (file_) {
    if (::fstat(file_.get(), &info) != 0) return {State::unreadable, 0};
  } else if (::stat(path_.c_str(), &info) != 0 || info.st_dev != identity_.device ||
             info.st_ino != identity_.inode) {
    return {otherwise, 0};  // another file has the name
  }
  const FileIdentity now = identityOf(info);
  if (now.size < size_) return {State::shorter, now.size};
  return {now == identity_ ? otherwise : State::changed, now.size};
}

JtFormatError MappedFile::errorOf(const std::string& path, const Look& look,
                                  std::uint64_t sizeBefore) {
  const FilePosition where{.file = path};
  if (look.state == State::unreadable)
    return {"unreadable", "the file cannot be read any more; check the medium", where};
  const std::string what = look.state == State::shorter
                               ? "the file had " + std::to_string(sizeBefore) +
                                     " bytes when it was opened and has " +
                                     std::to_string(look.size) + " now"
                               : std::string("the file is not the one that was opened any more");
  return {"changed_on_disk", what + ": another program changed it; open it again before going on",
          where};
}

void MappedFile::checkPresent() const {
  if (const Look now = look(); now.state != State::same) throw errorOf(path_, now, size_);
}

void MappedFile::linkBefore(MappedFile* next) noexcept {
  next_ = next;
  if (next) next->previous_ = this;
}

void MappedFile::unlink() noexcept {
  if (previous_) previous_->next_ = next_;
  if (next_) next_->previous_ = previous_;
}

bool MappedFile::contains(const std::byte* place) const noexcept {
  // The last page is mapped whole.
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  return place >= start_ && place < start_ + (size_ + page - 1) / page * page;
}

bool MappedFile::replacePages(const std::byte* place) noexcept {
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  const auto from = static_cast<std::size_t>(place - start_) / page * page;
  void* const pages = ::mmap(const_cast<std::byte*>(start_ + from), size_ - from, PROT_READ,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
  if (pages == MAP_FAILED) return false;
  hasLostPages_.store(true, std::memory_order_release);
  return true;
}

MappedFile::Access::Access(const MappedFile& file) : file_(file), number_(file.file_.get()) {
  if (number_ >= 0) return;
  const int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  reopened_ = Descriptor(uninterrupted([&] { return ::open(file.path_.c_str(), flags); }));
  struct stat info {};
  if (reopened_ && ::fstat(reopened_.get(), &info) == 0 && info.st_dev == file.identity_.device &&
      info.st_ino == file.identity_.inode)
    number_ = reopened_.get();
}

void MappedFile::Access::readAt(std::uint64_t offset, std::span<std::byte> out) const {
  if (number_ < 0) {
    std::memcpy(out.data(), file_.start_ + offset, out.size());
    return;
  }
  while (!out.empty()) {
    const ssize_t count = uninterrupted(
        [&] { return ::pread(number_, out.data(), out.size(), static_cast<off_t>(offset)); });
    if (count < 0)
      throw JtFormatError("unreadable", "cannot be read: " + errorText(errno),
                          {.file = file_.path_, .offset = offset});
    if (count == 0) throw errorOf(file_.path_, {State::shorter, offset}, file_.size_);
    out = out.subspan(static_cast<std::size_t>(count));
    offset += static_cast<std::uint64_t>(count);
  }
}

void MappedFile::releasePages() const noexcept {
  if (start_) ::madvise(const_cast<std::byte*>(start_), size_, MADV_DONTNEED);
}

}  // namespace jt::storage
