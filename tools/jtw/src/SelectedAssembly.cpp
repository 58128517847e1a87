#include "SelectedAssembly.h"

#include <utility>

#include "Choice.h"
#include "Component.h"
#include "InputFile.h"
#include "JtwIsolation.h"
#include "Session.h"

namespace tool {

SelectedAssembly::SelectedAssembly() = default;

SelectedAssembly::SelectedAssembly(Session& session, const std::string& path) {
  const std::string* expression = session.arguments().value("select");
  if (!expression) {
    opened_ = openAssembly(session, jtFileOf(DocumentName(path).path));
    return;
  }
  const jtw::Selection selection(*expression);
  component_ = std::make_unique<Component>(session, path, false);
  jtw::isolate(component_->objects(), chosenBy(selection, *expression, component_->objects()));
  opened_.top = jt::Ref<JtPartition>(component_->root().partition());
  opened_.parts = component_->partFiles();
}

SelectedAssembly::SelectedAssembly(OpenedAssembly opened) : opened_(std::move(opened)) {}

SelectedAssembly::~SelectedAssembly() = default;
SelectedAssembly::SelectedAssembly(SelectedAssembly&&) noexcept = default;
SelectedAssembly& SelectedAssembly::operator=(SelectedAssembly&&) noexcept = default;

}  // namespace tool
