#include "Sources.h"

#include "InputFile.h"
#include "Values.h"

namespace binding {

Source::Source(const py::object& what) {
  if (py::isinstance<OpenFile>(what)) {
    file_ = what.cast<std::shared_ptr<OpenFile>>();
  } else if (py::isinstance<OpenComponent>(what)) {
    component_ = what.cast<std::shared_ptr<OpenComponent>>();
  } else if (py::isinstance<NodeHandle>(what)) {
    node_ = what.cast<NodeHandle>();
    component_ = node_->component();
  } else {
    path_ = pathOf(what);
  }
}

void Source::open() {
  if (component_)
    component_->settle();
  else if (!file_)
    file_ = std::make_shared<OpenFile>(tool::jtFileOf(path_));
}

JtPartition& Source::partition() const {
  return component_ ? component_->partition() : file_->top();
}

std::string Source::path() const {
  return component_ ? component_->path() : file_ ? file_->path : path_;
}

ComponentSource::ComponentSource(const py::object& what) {
  if (py::isinstance<OpenComponent>(what))
    component_ = what.cast<std::shared_ptr<OpenComponent>>();
  else
    path_ = pathOf(what);
}

void ComponentSource::open() {
  if (!component_) component_ = OpenComponent::open(path_);
}

}  // namespace binding
