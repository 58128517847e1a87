#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "JtwExport.h"
#include "JtwObjects.h"

namespace jtw {

/// What is attached to what in a component, as it would be after a change.
class JTW_API Attachments {
 public:
  /// @param changed key of what is attached to another than now, with what it is attached to
  Attachments(const Objects& objects, std::unordered_map<long, ApiProtoKey> changed)
      : objects_(objects), changed_(std::move(changed)) {}

  /// Throws EditError "cycle" when attachments, followed from an object on, lead in a circle.
  /// @param what the object, for readers
  void check(const ApiProtoKey& key, const std::string& what);

 private:
  ApiProtoKey next(const ApiProtoKey& key) const;

  const Objects& objects_;
  std::unordered_map<long, ApiProtoKey> changed_;
  std::unordered_set<long> sound_;  // from these keys on there is no circle
};

/// Ends the attachments of all objects to those with these keys, which are gone.
/// @return the keys of the objects that were attached to one
JTW_API std::vector<long> endAttachmentsTo(Objects& objects, const std::unordered_set<long>& gone);

}  // namespace jtw
