#include "Attachments.h"

#include "Failure.h"

namespace tool {

ApiProtoKey attachmentOf(JtwNode& node) {
  ApiProtoKey parent;
  AttachmentType type = ATTACHMENT_DEFAULT;
  node.getAttachmentParent(parent, type);
  return parent;
}

ApiProtoKey Attachments::next(const ApiProtoKey& key) const {
  if (const auto found = changed_.find(key.getAsLong()); found != changed_.end())
    return found->second;
  JtwNode* node = nullptr;
  component_.root().getNodeByKey(key, node);
  return node ? attachmentOf(*node) : ApiProtoKey();
}

void Attachments::check(const ApiProtoKey& key, const std::string& what) {
  std::unordered_set<long> met;
  for (ApiProtoKey at = key; !at.isNull() && !sound_.contains(at.getAsLong()); at = next(at)) {
    if (met.insert(at.getAsLong()).second) continue;
    if (at != key)
      failRefused(component_.document(), "cycle",
                  what + " would be attached to what is attached to itself");
    failRefused(
        component_.document(), "cycle",
        what + " would be attached to itself" + (met.size() > 1 ? ", by way of others" : ""));
  }
  sound_.merge(met);
}

}  // namespace tool
