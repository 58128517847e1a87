#include "JtwFrameLists.h"

#include <limits>
#include <memory>
#include <vector>

#include "JtFormatError.h"
#include "JtPropAtom.h"
#include "JtwFrame.h"
#include "JtwProperties.h"
#include "JtwRoot.h"
#include "VisMetaDataNode.h"

namespace jtw {
namespace {

bool isFrameOf(JtwNode* node, const JtwCollection& collection) {
  return node->type() == JtwNode::JT_FRAME_NODE &&
         static_cast<JtwFrame*>(node)->collection() == &collection;
}

/// True when each key can be that of a frame, once the frames are gone that there are now.
bool keysAreFree(const JtwCollection& collection, std::span<const JtFrame> frames) {
  RWClassicTValHashSet<ApiProtoKey> taken;
  for (const JtFrame& frame : frames) {
    const long key = frame.key.getAsLong();
    if (key <= 0 || key > std::numeric_limits<int>::max()) return false;
    JtwNode* holder = nullptr;
    collection.root()->getNodeByKey(frame.key, holder);
    if ((holder && !isFrameOf(holder, collection)) || !taken.insert(frame.key).second) return false;
  }
  return true;
}

}  // namespace

StoredFrames storedFrames(const JtwCollection& collection) {
  if (auto* node = jt::as<VisMetaDataNode>(collection.jtNode())) node->ensureMetaData();
  JtPropAtom* value = findProperty(collection.jtNode(), Key::frames);
  if (!value) return {};
  if (const auto* text = jt::as<JtStringPropAtom>(value)) {
    auto list = jt::make<JtFrameListProperty>();
    list->fromText(text->value().stringToMbs());
    return {FrameForm::text, list};
  }
  auto* late = jt::as<JtLateLoadedPropAtom>(value);
  if (!late || !collection.root()) return {FrameForm::unreadable, {}};
  try {
    const auto loaded = late->load(collection.root()->partition());
    jt::Ref<JtFrameListProperty> list(jt::as<JtFrameListProperty>(loaded.get()));
    return {list ? FrameForm::lateLoaded : FrameForm::unreadable, list};
  } catch (const JtFormatError& error) {
    jt::setLastError(error.what());
    return {FrameForm::unreadable, {}};
  }
}

bool replaceFrames(JtwCollection& collection, std::span<const JtFrame> frames, FrameForm form) {
  JtwRoot* root = collection.root();
  if (!root || !collection.jtNode() || !keysAreFree(collection, frames)) return false;
  collection.readKrFrames();
  const std::vector<JtwPMI*> old(collection.PMIs().begin(), collection.PMIs().end());
  for (JtwPMI* pmi : old)
    if (pmi->type() == JtwNode::JT_FRAME_NODE) root->deleteNode(pmi->key());
  for (const JtFrame& record : frames) {
    auto frame = std::make_unique<JtwFrame>(&collection, record, root);
    collection.addPMI(frame.release());  // its key made it the root's
  }
  if (!collection.storeFrames()) return false;
  const StoredFrames stored = storedFrames(collection);
  if (form != FrameForm::lateLoaded || !stored.list) return true;
  return collection.jtNode()->addProperty(keyAtom(Key::frames),
                                          jt::make<JtLateLoadedPropAtom>(stored.list).get(), true);
}

}  // namespace jtw
