#include "JtwAttachments.h"

#include "JtwEditError.h"
#include "JtwPMI.h"
#include "JtwRoot.h"

namespace jtw {

ApiProtoKey Attachments::next(const ApiProtoKey& key) const {
  if (const auto found = changed_.find(key.getAsLong()); found != changed_.end())
    return found->second;
  JtwNode* node = nullptr;
  objects_.root().getNodeByKey(key, node);
  return node ? attachmentOf(*node) : ApiProtoKey();
}

void Attachments::check(const ApiProtoKey& key, const std::string& what) {
  std::unordered_set<long> met;
  for (ApiProtoKey at = key; !at.isNull() && !sound_.contains(at.getAsLong()); at = next(at)) {
    if (met.insert(at.getAsLong()).second) continue;
    if (at != key)
      failRefused(objects_.document(), "cycle",
                  what + " would be attached to what is attached to itself");
    failRefused(
        objects_.document(), "cycle",
        what + " would be attached to itself" + (met.size() > 1 ? ", by way of others" : ""));
  }
  sound_.merge(met);
}

std::vector<long> endAttachmentsTo(Objects& objects, const std::unordered_set<long>& gone) {
  std::vector<long> detached;
  for (const TreeEntry& entry : objects.entries()) {
    const ApiProtoKey parent = attachmentOf(*entry.node);
    if (parent.isNull() || !gone.contains(parent.getAsLong())) continue;
    entry.node->setAttachmentParent(ApiProtoKey(), ATTACHMENT_DEFAULT);
    if (entry.node->type() == JtwNode::JT_FRAME_NODE)
      objects.framesChanged(static_cast<JtwPMI*>(entry.node)->collection());
    detached.push_back(entry.node->key().getAsLong());
  }
  return detached;
}

}  // namespace jtw
