#pragma once

#include <pybind11/pybind11.h>

#include <memory>
#include <optional>
#include <string>

#include "NodeHandle.h"
#include "OpenComponent.h"
#include "OpenFile.h"

namespace binding {

/// What Python names when a function takes a path, an open file, a component or an object of one.
/// Reading it with Python's lock needs no other; what is a path is opened by open().
class Source {
 public:
  explicit Source(const pybind11::object& what);

  /// Opens a path; has what a component keeps in memory written to its JT nodes. With the lock of
  /// the library, without that of Python.
  void open();
  /// @pre open
  JtPartition& partition() const;
  const std::optional<NodeHandle>& node() const noexcept { return node_; }
  /// The JT file, for messages.
  std::string path() const;

 private:
  std::string path_;
  std::shared_ptr<OpenFile> file_;
  std::shared_ptr<OpenComponent> component_;
  std::optional<NodeHandle> node_;
};

/// A component that is open, or one that a path names.
class ComponentSource {
 public:
  explicit ComponentSource(const pybind11::object& what);
  void open();
  OpenComponent& get() const { return *component_; }

 private:
  std::string path_;
  std::shared_ptr<OpenComponent> component_;
};

}  // namespace binding
