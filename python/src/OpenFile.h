#pragma once

#include <string>

#include "JtPartition.h"
#include "JtRefCounted.h"

namespace binding {

/// A JT file that Python has open, with the part files that it refers to.
class OpenFile {
 public:
  /// Throws JtFormatError.
  explicit OpenFile(const std::string& file);
  ~OpenFile();
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  /// Throws JtFormatError "closed".
  JtPartition& top() const;
  void close() noexcept { top_ = nullptr; }

  const std::string path;

 private:
  jt::Ref<JtPartition> top_;
};

}  // namespace binding
