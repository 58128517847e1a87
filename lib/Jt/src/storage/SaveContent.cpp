#include "storage/SaveContent.h"

#include <fcntl.h>

#include <algorithm>
#include <cstring>

namespace jt::storage {
namespace {

/// Runs below this size are gathered; a system call for each would cost more than the copy.
constexpr std::uint64_t kGatherBelow = 64 << 10;
constexpr std::size_t kBufferSize = 256 << 10;
/// Bytes after which the system is asked to begin with the write-out and the progress is passed on.
constexpr std::uint64_t kStep = 8 << 20;

bool continues(const ContentRun& run, const ContentRun& next) {
  if (run.file != next.file) return false;
  return run.file ? run.offset + run.size == next.offset : run.memory + run.size == next.memory;
}

class Writer {
 public:
  Writer(int file, const SaveErrors& errors, const std::function<void(std::uint64_t)>& progress)
      : file_(file), errors_(errors), progress_(progress) {
    buffer_.reserve(kBufferSize);
  }

  void write(const ContentRun& run) {
    if (run.size < kGatherBelow) return gather(run);
    flush();
    if (!run.file)
      writeBytes({run.memory, static_cast<std::size_t>(run.size)});
    else if (const std::uint64_t done = copyInSystem(run); done < run.size)
      copyThroughBuffer(run, done);
  }

  void finish() {
    flush();
    progress_(position_);
  }

 private:
  void gather(const ContentRun& run) {
    const auto size = static_cast<std::size_t>(run.size);
    if (buffer_.size() + size > kBufferSize) flush();
    const std::size_t place = buffer_.size();
    buffer_.resize(place + size);
    if (run.file)
      source_.of(*run.file).readAt(run.offset, std::span(buffer_).subspan(place));
    else
      std::memcpy(buffer_.data() + place, run.memory, size);
  }

  void flush() {
    writeBytes(buffer_);
    buffer_.clear();
  }

  void writeBytes(std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
      const std::size_t part = std::min<std::size_t>(bytes.size(), kStep);
      const ssize_t count = uninterrupted(
          [&] { return ::pwrite(file_, bytes.data(), part, static_cast<off_t>(position_)); });
      // A write of nothing is no progress: taken as an error, or it could go on for ever.
      if (count <= 0) errors_.failed(count < 0 ? errno : EIO, "writing the new file");
      bytes = bytes.subspan(static_cast<std::size_t>(count));
      advance(static_cast<std::uint64_t>(count));
    }
  }

  /// Bytes copied: fewer than all when the system cannot copy between these two files.
  std::uint64_t copyInSystem(const ContentRun& run) {
    std::uint64_t done = 0;
    const int source = source_.of(*run.file).descriptor();
    while (source >= 0 && done < run.size) {
      const ssize_t count = uninterrupted([&] {
        // New offsets for each try: the call may move them.
        auto from = static_cast<off64_t>(run.offset + done);
        auto to = static_cast<off64_t>(position_);
        return ::copy_file_range(source, &from, file_, &to,
                                 static_cast<std::size_t>(std::min(run.size - done, kStep)), 0);
      });
      // Nothing copied: reading shows whether the file ended or the system does not support it.
      if (count == 0) break;
      if (count < 0) {
        if (errno == EXDEV || errno == ENOSYS || errno == EINVAL || errno == EOPNOTSUPP ||
            errno == EPERM)
          break;
        errors_.failed(errno, "copying to the new file");
      }
      done += static_cast<std::uint64_t>(count);
      advance(static_cast<std::uint64_t>(count));
    }
    return done;
  }

  void copyThroughBuffer(const ContentRun& run, std::uint64_t done) {
    while (done < run.size) {
      buffer_.resize(
          static_cast<std::size_t>(std::min<std::uint64_t>(run.size - done, kBufferSize)));
      source_.of(*run.file).readAt(run.offset + done, buffer_);
      done += buffer_.size();
      flush();
    }
  }

  void advance(std::uint64_t count) {
    position_ += count;
    if (position_ - announced_ < kStep) return;
    // Only a hint. What goes wrong in the write-out is for fsync to report.
    ::sync_file_range(file_, static_cast<off64_t>(announced_),
                      static_cast<off64_t>(position_ - announced_), SYNC_FILE_RANGE_WRITE);
    announced_ = position_;
    progress_(position_);
  }

  const int file_;
  const SaveErrors& errors_;
  const std::function<void(std::uint64_t)>& progress_;
  std::vector<std::byte> buffer_;
  OpenedSource source_;
  std::uint64_t position_ = 0;
  std::uint64_t announced_ = 0;
};

/// Takes the room at once, so that a full disk is noticed before anything is copied.
void reserveRoom(int file, std::uint64_t size, const SaveErrors& errors) {
  if (size == 0) return;
  const int result =
      uninterrupted([&] { return ::fallocate(file, 0, 0, static_cast<off_t>(size)); });
  if (result == 0 || errno == EOPNOTSUPP || errno == ENOSYS || errno == EINVAL || errno == EPERM)
    return;
  errors.failed(errno, "taking room for the new file");
}

}  // namespace

const MappedFile::Access& OpenedSource::of(const MappedFile& file) {
  if (file_ != &file) {
    access_.reset();
    access_.emplace(file);
    file_ = &file;
  }
  return *access_;
}

SaveContent::SaveContent(std::span<const FilePiece> pieces) {
  runs_.reserve(pieces.size());
  for (const FilePiece& piece : pieces) {
    if (piece.bytes.empty()) continue;
    ContentRun run{.size = piece.bytes.size(),
                   .file = dynamic_cast<const MappedFile*>(piece.source),
                   .offset = piece.sourceOffset,
                   .memory = piece.bytes.data()};
    if (run.file) run.memory = nullptr;
    size_ += run.size;
    if (!runs_.empty() && continues(runs_.back(), run))
      runs_.back().size += run.size;
    else
      runs_.push_back(run);
  }
}

void writeContent(int file, const SaveContent& content, const SaveErrors& errors,
                  const std::function<void(std::uint64_t)>& progress) {
  reserveRoom(file, content.size(), errors);
  Writer writer(file, errors, progress);
  for (const ContentRun& run : content.runs()) writer.write(run);
  writer.finish();
}

}  // namespace jt::storage
