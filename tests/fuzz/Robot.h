#pragma once

#include <memory>
#include <string>

#include "ApiDocument.h"
#include "ApiDocumentRef.h"
#include "JtwEdits.h"
#include "JtwManager.h"
#include "JtwPMIs.h"

/// A small component: a robot with an arm, a gripper, a frame and a note; another gripper beside
/// it. All that a fuzz target has end together.
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
        {"entity", "8", "root", {}, {}, {{"name", "Gripper"}, {"displayed", "false"}}},
    };
    for (const jtw::AddRequest& request : requests) jtw::addObject(objects_, request);
    // As transactions do before their first change.
    objects_.storeFrames();
    jtw::writePMIs(root_);
  }
  ~Robot() {
    if (--count_ == 0) JtwManager::the().releaseAllRoots();
  }
  Robot(const Robot&) = delete;
  Robot& operator=(const Robot&) = delete;

  jtw::Objects& objects() { return objects_; }
  const JtwRoot& root() const { return root_; }

 private:
  inline static int count_ = 0;  // that live
  JtwRoot& root_;
  jtw::Objects objects_;
};
