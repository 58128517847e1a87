#pragma once

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
  /// Opens a document or a JT file. Throws Failure, and jtw::EditError for the expression.
  SelectedAssembly(Session& session, const std::string& path);
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

 private:
  std::unique_ptr<Component> component_;  ///< of a selection: it keeps the partition open
  OpenedAssembly opened_;
};

}  // namespace tool
