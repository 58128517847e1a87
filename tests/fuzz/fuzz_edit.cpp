// Expressions that select objects, and scripts of edits, on a small component. The first byte
// chooses. What is wrong is one error; findings are any other exception, a message that is empty or
// no UTF-8, a script that fails and leaves something changed, and an expression whose negation
// selects some of the same objects.

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

#include "ApiSysStringConvertors.h"
#include "Failure.h"
#include "Finding.h"
#include "JtwEditError.h"
#include "JtwScript.h"
#include "JtwSelection.h"
#include "Robot.h"
#include "ScriptDocument.h"
#include "StartedLibrary.h"
#include "support/SceneText.h"

namespace {

std::unique_ptr<Robot>& robot() {
  static std::unique_ptr<Robot> one;
  if (!one) one = std::make_unique<Robot>();
  return one;
}

std::string sceneText() { return SceneText::of(*robot()->root().partition()); }

bool isUtf8(const std::string& text) {
  return ApiSysStringConvertors::UnicodeToRWCString(
             ApiSysStringConvertors::RWCStringToUnicode(text)) == text;
}

/// A message may quote the request as it is.
void checkMessage(const std::string& message, const std::string& request) {
  if (message.empty()) finding("an error says nothing");
  if (!isUtf8(message) && isUtf8(request)) finding("a message is no UTF-8");
}

void select(const std::string& expression) {
  const jtw::Objects& objects = robot()->objects();
  const std::vector<std::size_t> chosen = jtw::Selection(expression).of(objects);
  const std::vector<std::size_t> others = jtw::Selection("not (" + expression + ")").of(objects);
  if (chosen.size() + others.size() != objects.entries().size())
    finding("an expression and its negation do not select each object once");
  for (const std::size_t index : chosen)
    if (std::ranges::binary_search(others, index)) finding("an object is selected and is not");
}

void edit(const std::string& text) {
  const std::vector<jtw::ScriptStep> steps = tool::readScript(text, "script.json");
  const std::string before = sceneText();
  try {
    jtw::runScript(robot()->objects(), steps);
    robot().reset();
  } catch (const jtw::EditError&) {
    if (sceneText() != before) finding("a script that failed has changed something");
    throw;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  startLibrary();
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  try {
    if (data[0] % 2 == 0) {
      select(text);
    } else {
      edit(text);
    }
  } catch (const jtw::EditError& error) {
    checkMessage(error.what(), text);
  } catch (const tool::Failure& failure) {
    checkMessage(failure.what(), text);
  }
  return 0;
}
