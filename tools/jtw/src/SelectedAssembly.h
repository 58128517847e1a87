#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Assembly.h"

namespace tool {

class Component;

/// An assembly to be read; with --select, what its objects that the expression holds for are, and
/// nothing else.
class SelectedAssembly {
 public:
  SelectedAssembly();
  enum class Empty : std::uint8_t { refused, allowed };

  /// Opens a document or a JT file. Throws Failure, and jtw::EditError for the expression, also for
  /// one that holds for nothing where that is refused.
  SelectedAssembly(Session& session, const std::string& path, Empty empty = Empty::refused);
  /// All of an assembly.
  explicit SelectedAssembly(OpenedAssembly opened);
  ~SelectedAssembly();
  SelectedAssembly(SelectedAssembly&&) noexcept;
  SelectedAssembly& operator=(SelectedAssembly&&) noexcept;

  JtPartition& top() const noexcept { return *opened_.top; }
  /// The part files that it refers to.
  std::vector<jt::PartFile>& parts() noexcept { return opened_.parts; }
  const std::vector<jt::PartFile>& parts() const noexcept { return opened_.parts; }
  /// True when objects were left out.
  bool isSelection() const noexcept { return component_ != nullptr; }
  /// True when the expression holds for nothing.
  bool isEmpty() const noexcept { return isEmpty_; }

 private:
  std::unique_ptr<Component> component_;  ///< of a selection: it keeps the partition open
  OpenedAssembly opened_;
  bool isEmpty_ = false;
};

}  // namespace tool
