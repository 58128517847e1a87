#include "SelectedAssembly.h"

#include <utility>
#include <vector>

#include "Choice.h"
#include "Component.h"
#include "InputFile.h"
#include "JtwIsolation.h"
#include "Session.h"

namespace tool {

SelectedAssembly::SelectedAssembly() = default;

SelectedAssembly::SelectedAssembly(Session& session, const std::string& path, Empty empty) {
  const std::string* expression = session.arguments().value("select");
  if (!expression) {
    opened_ = openAssembly(session, jtFileOf(DocumentName(path).path));
    return;
  }
  const jtw::Selection selection(*expression);
  component_ = std::make_unique<Component>(session, path, false);
  const jtw::Objects& objects = component_->objects();
  const std::vector<std::size_t> chosen =
      empty == Empty::allowed ? selection.of(objects) : selection.someOf(objects);
  isEmpty_ = chosen.empty();
  jtw::isolate(objects, chosen);
  opened_.top = jt::Ref<JtPartition>(component_->root().partition());
  opened_.parts = component_->partFiles();
}

SelectedAssembly::SelectedAssembly(OpenedAssembly opened) : opened_(std::move(opened)) {}

SelectedAssembly::~SelectedAssembly() = default;
SelectedAssembly::SelectedAssembly(SelectedAssembly&&) noexcept = default;
SelectedAssembly& SelectedAssembly::operator=(SelectedAssembly&&) noexcept = default;

}  // namespace tool
