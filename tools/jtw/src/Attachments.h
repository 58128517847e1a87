#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>

#include "Component.h"

namespace tool {

/// The key of what an object is attached to; null for nothing.
ApiProtoKey attachmentOf(JtwNode& node);

/// What is attached to what in a component, as it would be after a change.
class Attachments {
 public:
  /// @param changed key of what is attached to another than now, with what it is attached to
  Attachments(const Component& component, std::unordered_map<long, ApiProtoKey> changed)
      : component_(component), changed_(std::move(changed)) {}

  /// Throws Failure "cycle" when attachments, followed from an object on, lead in a circle.
  /// @param what the object, for readers
  void check(const ApiProtoKey& key, const std::string& what);

 private:
  ApiProtoKey next(const ApiProtoKey& key) const;

  const Component& component_;
  std::unordered_map<long, ApiProtoKey> changed_;
  std::unordered_set<long> sound_;  // from these keys on there is no circle
};

}  // namespace tool
