// Patches on a small component: what is wrong is one error, and nothing is changed. Findings are
// any other exception, a message that is empty, a patch that fails and leaves something changed,
// and one that fits and does not lead to what its difference leads to.

#include <cstdint>
#include <string>

#include "Failure.h"
#include "Finding.h"
#include "JtwEditError.h"
#include "JtwPatch.h"
#include "PatchDocument.h"
#include "Robot.h"
#include "StartedLibrary.h"

namespace {

void apply(const jtw::Patch& patch, bool force) {
  Robot robot;
  const jtw::ComponentFacts before(robot.objects());
  bool isDone = false;
  try {
    const jtw::ApplyResult result = jtw::applyPatch(robot.objects(), patch, force);
    isDone = force || result.misfits.empty();
  } catch (const jtw::EditError& error) {
    if (*error.what() == '\0') finding("an error says nothing");
  }
  const jtw::ComponentFacts after(robot.objects());
  const jtw::Patch made = jtw::difference(before, after);
  if (!isDone && !made.changes.empty()) finding("a patch that failed has changed something");
  if (!isDone) return;
  Robot other;
  if (!jtw::applyPatch(other.objects(), made).misfits.empty() ||
      !jtw::difference(after, jtw::ComponentFacts(other.objects())).changes.empty())
    finding("the difference does not lead to what the patch made");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  startLibrary();
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  try {
    apply(tool::readPatch(text, "patch.json"), data[0] % 2 == 1);
  } catch (const tool::Failure& failure) {
    if (*failure.what() == '\0') finding("an error says nothing");
  }
  return 0;
}
