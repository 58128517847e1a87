#pragma once

#include "JtInstance.h"
#include "JtPartition.h"
#include "SceneSource.h"

namespace jt::file {

/// Makes the nodes and attributes of a scene graph segment and links them.
class SceneReader {
 public:
  explicit SceneReader(Ref<SceneSource> source) : source_(std::move(source)) {}

  /// The root partition, bound to the source. Links that would close a cycle or that name nothing
  /// are left out and noted. Throws JtFormatError when there is no node at all.
  Ref<JtPartition> read();

  /// One element as an object of its own, bound to nothing: known kinds by their fields, the rest
  /// as unknown objects. Never null. `damaged` gets the reason when a known kind could not be read.
  static Ref<JtSceneObject> readElement(const SceneSource& source, std::uint32_t element,
                                        Links& links, const ElementKind*& kind,
                                        std::string* damaged);

 private:
  /// A span of the flat id lists below.
  struct Slice {
    std::uint32_t first = 0;
    std::uint32_t count = 0;
  };
  struct NodeLinks {
    Slice attributes;
    Slice children;
  };

  void makeObjects();
  void linkAttributes(std::uint32_t element, JtNode& node);
  void resolveChildren();
  void dropCycles();
  void attachChildren();
  Ref<JtPartition> chooseRoot();
  void linkProperties();
  void findStrays(const JtPartition& root);
  JtNode* nodeAt(std::uint32_t element) const;
  JtNode* nodeOf(std::int32_t objectId) const;

  Ref<SceneSource> source_;
  std::vector<Ref<JtSceneObject>> objects_;  // by element, nodes and attributes
  std::vector<NodeLinks> links_;             // by element
  std::vector<std::int32_t> attributeIds_;
  std::vector<std::int32_t> childIds_;
  std::vector<std::uint32_t> childElements_;  // beside childIds_; kNone where a link is left out
  bool inOrder_ = true;                       // every child stands behind its parents
};

}  // namespace jt::file
