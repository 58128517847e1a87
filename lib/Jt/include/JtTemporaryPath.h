#pragma once

#include <string>

#include "JtExport.h"

namespace jt {

/// A file, or an empty folder, that is removed when the object ends unless keep() was called.
/// Removing takes no memory. All of them in the process form a list, for removeTemporaryPaths. A
/// forked process does not remove what is its parent's.
class JT_API TemporaryPath {
 public:
  enum class Kind { file, folder };

  /// Names no file.
  TemporaryPath() noexcept = default;
  explicit TemporaryPath(std::string path, Kind kind = Kind::file);
  /// @param folder descriptor that `name` is relative to; must outlive the object
  TemporaryPath(int folder, std::string name);
  ~TemporaryPath();
  TemporaryPath(const TemporaryPath&) = delete;
  TemporaryPath& operator=(const TemporaryPath&) = delete;

  /// Empty once there is nothing to remove.
  const std::string& path() const noexcept { return path_; }
  /// Replaces a kept or removed path by another one.
  void set(std::string path, Kind kind = Kind::file);
  /// The path stays.
  void keep() noexcept;
  /// Removes it now.
  void remove() noexcept;

 private:
  friend void removeTemporaryPaths() noexcept;
  void enlist() noexcept;
  void unlinkNow() const noexcept;

  std::string path_;
  int folder_ = -1;
  Kind kind_ = Kind::file;
  int process_ = 0;  ///< that made it
  TemporaryPath* older_ = nullptr;
  TemporaryPath* newer_ = nullptr;
};

/// A name for a temporary file or folder beside a file, other at each call:
/// ".<file>.jtw-<process>-<random>.tmp". A save in that folder removes what has such a name when
/// its process is gone.
/// @param file  its name, without its folder
JT_API std::string newTemporaryName(const std::string& file);

/// Removes what all TemporaryPath objects of the process name, the newest first. Async-signal-safe:
/// for the handler of a program that is asked to end, which must not go on afterwards.
JT_API void removeTemporaryPaths() noexcept;

}  // namespace jt
