// Patches on a small component: what is wrong is one error, and nothing is changed. Findings are
// any other exception, a message that is empty, a patch that fails and leaves something changed,
// and one that fits and does not lead to what its difference leads to.

#include <cstdint>
#include <memory>
#include <string>

#include "ApiDocument.h"
#include "ApiDocumentRef.h"
#include "Failure.h"
#include "Finding.h"
#include "JtwEditError.h"
#include "JtwEdits.h"
#include "JtwPMIs.h"
#include "JtwPatch.h"
#include "PatchDocument.h"
#include "StartedLibrary.h"

namespace {

/// A robot with an arm, a gripper, a frame and a note.
class Robot {
 public:
  Robot()
      : root_(*JtwManager::the().computeNewDocRoot(
            ApiDocumentRef(std::make_shared<ApiDocument>("fuzzed" + std::to_string(count_++))))),
        objects_(root_, "fuzzed") {
    root_.setKey(ApiProtoKey(1));
    const jtw::AddRequest requests[] = {
        {"block", "2", "root", {}, {}, {{"name", "Robot"}, {"unit", "mm"}}},
        {"link", "3", "2", {}, {}, {{"name", "Arm"}, {"color", "red"}}},
        {"entity", "4", "3", {}, {}, {{"name", "Gripper"}, {"loc", "10,20,30"}}},
        {"frame", "5", "3", {}, {}, {{"name", "TCP"}}},
        {"annotation", "6", "root", "Note", {}, {{"text", "weld"}, {"layer", "7"}}},
    };
    for (const jtw::AddRequest& request : requests) jtw::addObject(objects_, request);
    objects_.storeFrames();
    jtw::writePMIs(root_);
  }
  ~Robot() {
    if (--count_ == 0) JtwManager::the().releaseAllRoots();
  }
  Robot(const Robot&) = delete;
  Robot& operator=(const Robot&) = delete;

  jtw::Objects& objects() { return objects_; }
  jtw::ComponentFacts facts() const { return jtw::ComponentFacts(objects_); }

 private:
  inline static int count_ = 0;  // that live
  JtwRoot& root_;
  jtw::Objects objects_;
};

void apply(const jtw::Patch& patch, bool force) {
  Robot robot;
  const jtw::ComponentFacts before = robot.facts();
  bool isDone = false;
  try {
    const jtw::ApplyResult result = jtw::applyPatch(robot.objects(), patch, force);
    isDone = force || result.misfits.empty();
  } catch (const jtw::EditError& error) {
    if (*error.what() == '\0') finding("an error says nothing");
  }
  const jtw::ComponentFacts after = robot.facts();
  const jtw::Patch made = jtw::difference(before, after);
  if (!isDone && !made.changes.empty()) finding("a patch that failed has changed something");
  if (!isDone) return;
  Robot other;
  if (!jtw::applyPatch(other.objects(), made).misfits.empty() ||
      !jtw::difference(after, other.facts()).changes.empty())
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
