#pragma once

#include "JtWireframe.h"
#include "VisMetaDataNode.h"

/// The root of one part: metadata, PMI, precise geometry, and the shapes below it.
class JT_API VisPartNode : public VisMetaDataNode {
 public:
  VisPartNode() = default;
  /// The number is a hint of callers about the expected content; it is not stored.
  explicit VisPartNode(int /*hint*/) {}
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override;

  /// Makes sure that the part's wireframe is in memory. Returns 1 on success; 0 when the part has
  /// none, or it cannot be read: the reason is then in `jt::lastError()`, and a save in the same
  /// version keeps it as it is. Reads the segment the first time only. Safe from several threads.
  int ensureWFRep();
  /// The wireframe, which is loaded when it is not in memory; null when the part has none or it
  /// cannot be read. Not owned. A change is saved with the part's file.
  JtWireframeRep* wfRep();
  /// The wireframe when it is in memory, else null. Not owned.
  const JtWireframeRep* loadedWFRep() const noexcept {
    return wiresState_.load(std::memory_order_acquire) == LoadState::read ? wires_.get() : nullptr;
  }
  /// Gives the part this wireframe in the place of what it had; null: none. The part takes a
  /// reference. The save drops a segment that nothing else names.
  void setWFRep(JtWireframeRep* wires);

 protected:
  /// Without what was loaded.
  VisPartNode(const VisPartNode& other)
      : VisMetaDataNode(other), partVersion_(other.partVersion_), reserved_(other.reserved_) {}

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion partVersion_;
  std::int32_t reserved_ = 0;
  std::atomic<LoadState> wiresState_{LoadState::unread};
  jt::Ref<JtWireframeRep> wires_;
};
