#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "ApiProtoKey.h"
#include "JtNode.h"
#include "JtRefCounted.h"
#include "OpenComponent.h"

namespace binding {

/// An object of an open component, for Python. The library's own objects come and go with
/// transactions and removals; this one finds the object again, or says that it is gone.
class NodeHandle {
 public:
  NodeHandle(std::shared_ptr<OpenComponent> component, JtwNode& node);
  NodeHandle(const NodeHandle&) = default;
  NodeHandle(NodeHandle&&) noexcept = default;
  NodeHandle& operator=(const NodeHandle&) = default;
  NodeHandle& operator=(NodeHandle&&) noexcept = default;
  ~NodeHandle();

  const std::shared_ptr<OpenComponent>& component() const noexcept { return component_; }
  jtw::Objects& objects() const { return component_->objects(); }
  /// The object. Throws EditError "gone" when the component has it no more.
  JtwNode& get() const;
  std::size_t index() const { return objects().indexOf(get()); }
  /// The JT node with what is below the object: of a frame or annotation null.
  JtNode* jtNode() const;

  /// Same for handles of one object.
  const void* identity() const noexcept;

 private:
  JtwNode* findAgain() const;
  bool isListed(const JtwNode& node) const;

  std::shared_ptr<OpenComponent> component_;
  mutable JtwNode* node_;
  mutable std::uint64_t generation_;
  jt::Ref<JtNode> jtNode_;
  ApiProtoKey key_;  // of a frame or annotation, which have no JT node of their own
  bool isPMI_;
};

/// Handles of these objects.
std::vector<NodeHandle> handlesOf(const std::shared_ptr<OpenComponent>& component,
                                  const std::vector<JtwNode*>& nodes);

}  // namespace binding
