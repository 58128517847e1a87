#pragma once

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

 protected:
  VisPartNode(const VisPartNode& other)
      : VisMetaDataNode(other), partVersion_(other.partVersion_), reserved_(other.reserved_) {}

 private:
  friend struct jt::file::NodeFields;
  jt::LocalVersion partVersion_;
  std::int32_t reserved_ = 0;
};
