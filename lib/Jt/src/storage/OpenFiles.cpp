#include "storage/OpenFiles.h"

#include <signal.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstddef>
#include <mutex>
#include <new>
#include <string>
#include <utility>

#include "JtFileGuard.h"
#include "base/Once.h"
#include "base/SpinLock.h"
#include "storage/MappedFile.h"

namespace jt::storage {
namespace {

struct Change {
  std::string path;
  MappedFile::Look look;
  std::uint64_t sizeBefore = 0;
};

struct OpenFiles {
  SpinLock mutex;  ///< the handler may take it: nobody reads mapped bytes while holding it
  MappedFile* first = nullptr;
  bool hasChange = false;
  Change change;  ///< the first one, if any
};

/// Never destroyed: files may be closed while the program ends. Takes no memory.
OpenFiles& openFiles() noexcept {
  alignas(OpenFiles) static std::byte place[sizeof(OpenFiles)];
  static OpenFiles& files = *new (place) OpenFiles;
  return files;
}

struct sigaction handlerBefore;

/// Puts pages of zeros in the place of those that are gone, from `place` to the end of the file.
bool replacePages(const std::byte* place) noexcept {
  OpenFiles& files = openFiles();
  const std::lock_guard lock(files.mutex);
  for (MappedFile* file = files.first; file; file = file->next())
    if (file->contains(place)) return file->replacePages(place);
  return false;
}

void onBusError(int signal, siginfo_t* info, void*) {
  const int error = errno;
  const bool isFault = info->si_code > 0;  // not sent by a process
  if (!isFault || !replacePages(static_cast<const std::byte*>(info->si_addr))) {
    ::sigaction(SIGBUS, &handlerBefore, nullptr);
    if (!isFault) ::raise(signal);
    // Else the same access fails again, and ends in that handler.
  }
  errno = error;
}

}  // namespace

void addOpenFile(MappedFile& file) noexcept {
  OpenFiles& files = openFiles();
  const std::lock_guard lock(files.mutex);
  file.linkBefore(files.first);
  files.first = &file;
}

void removeOpenFile(MappedFile& file) noexcept {
  OpenFiles& files = openFiles();
  const MappedFile::Look look = file.look();
  const std::lock_guard lock(files.mutex);
  if (files.first == &file) files.first = file.next();
  file.unlink();
  if (files.hasChange || look.state == MappedFile::State::same) return;
  files.hasChange = true;
  const std::size_t size = file.bytes().size();
  files.change = {std::move(file).path(), look, size};
}

}  // namespace jt::storage

void jt::guardMappedFiles() {
  static Once once;
  once.call([] {
    storage::openFiles();  // the handler must not be the one to make it
    struct sigaction action {};
    action.sa_sigaction = storage::onBusError;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    ::sigaction(SIGBUS, &action, &storage::handlerBefore);
  });
}

std::optional<JtFormatError> jt::takeFileChange() {
  storage::OpenFiles& files = storage::openFiles();
  const std::lock_guard lock(files.mutex);
  if (std::exchange(files.hasChange, false))
    return storage::MappedFile::errorOf(files.change.path, files.change.look,
                                        files.change.sizeBefore);
  for (const storage::MappedFile* file = files.first; file; file = file->next())
    if (const auto look = file->look(); look.state != storage::MappedFile::State::same)
      return storage::MappedFile::errorOf(file->name(), look, file->bytes().size());
  return std::nullopt;
}
