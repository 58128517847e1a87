#include "Library.h"

#include <optional>
#include <string>
#include <vector>

#include "ApiErrStream.h"
#include "JtPartition.h"
#include "JtwManager.h"
#include "OpenComponent.h"

namespace binding {
namespace {

std::recursive_mutex& libraryMutex() {
  static auto* const mutex = new std::recursive_mutex;  // objects may end after static ones
  return *mutex;
}

std::vector<std::string>& reports() {
  static auto* const texts = new std::vector<std::string>;
  return *texts;
}

void keepReport(const ApiErrRecord& record) {
  std::string text = record.code;
  for (const std::string& argument : record.arguments) text += " " + argument;
  reports().push_back(std::move(text));
}

bool isRunning = false;

}  // namespace

Locked::Locked() : lock_(libraryMutex(), std::try_to_lock) {
  if (lock_.owns_lock()) return;
  std::optional<py::gil_scoped_release> release;
  if (PyGILState_Check() != 0) release.emplace();
  lock_.lock();
}

Released::Released() : lock_(libraryMutex()) {}

void startLibrary() {
  // Geometry is decoded when somebody asks for it.
  JtPartition::_autoLoadShapes = false;
  ApiErrStream::setSink(keepReport);
  JtwManager::init();
  isRunning = true;
}

void stopLibrary() noexcept {
  if (!isRunning) return;
  isRunning = false;
  const Locked lock;
  if (!OpenComponent::closeAll()) return;
  JtwManager::fini();
  ApiErrStream::setSink({});
}

void showWarnings() {
  std::vector<std::string> texts;
  {
    const Locked lock;
    texts.swap(reports());
  }
  for (const std::string& text : texts)
    if (PyErr_WarnEx(PyExc_UserWarning, text.c_str(), 1) != 0) throw py::error_already_set();
}

}  // namespace binding
