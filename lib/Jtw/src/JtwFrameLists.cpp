#include "JtwFrameLists.h"

#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "JtFormatError.h"
#include "JtPropAtom.h"
#include "JtwFrame.h"
#include "JtwFrameWriting.h"
#include "JtwProperties.h"
#include "JtwRoot.h"
#include "JtwSceneGraph.h"
#include "JtwSharedAtoms.h"
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

StoredFrames unreadable(const std::string& reason) {
  jt::setLastError(reason);
  return {FrameForm::unreadable, {}};
}

StoredFrames readable(FrameForm form, jt::Ref<JtFrameListProperty> list) {
  if (!list->isReadable()) return unreadable("the text is no frame list as a whole");
  return {form, std::move(list)};
}

}  // namespace

StoredFrames storedFrames(const JtwCollection& collection) {
  JtNode* const node = collection.jtNode();
  return node ? storedFrames(*node, collection.root() ? collection.root()->partition() : nullptr)
              : StoredFrames();
}

StoredFrames storedFrames(JtNode& node, const JtPartition* partition) {
  // A component that is the partition itself has no metadata to wait for.
  auto* holder = jt::as<VisMetaDataNode>(&node);
  const bool isKnown = !holder || holder->ensureMetaData();
  JtPropAtom* value = findProperty(&node, Key::frames);
  if (!value) return {isKnown ? FrameForm::none : FrameForm::unreadable, {}};
  if (const auto* text = jt::as<JtStringPropAtom>(value)) {
    auto list = jt::make<JtFrameListProperty>();
    list->fromText(text->value().stringToMbs());
    return readable(FrameForm::text, std::move(list));
  }
  auto* late = jt::as<JtLateLoadedPropAtom>(value);
  if (!late) return unreadable("the value of the property is neither a text nor late-loaded");
  try {
    const auto loaded = late->load(partition);
    jt::Ref<JtFrameListProperty> list(jt::as<JtFrameListProperty>(loaded.get()));
    if (!list) return unreadable("the late-loaded segment is missing or holds no frame list");
    return readable(FrameForm::lateLoaded, std::move(list));
  } catch (const JtFormatError& error) {
    return unreadable(error.what());
  }
}

std::vector<jt::Diagnostic> verifyFrameLists(JtPartition& partition) {
  std::vector<jt::Diagnostic> findings;
  forEachBelow(&partition, [&](JtNode& node) {
    auto* holder = jt::as<VisMetaDataNode>(&node);
    if (!holder || !holder->ensureMetaData()) return;
    if (storedFrames(node, &partition).form != FrameForm::unreadable) return;
    const ApiProtoKey key(intProperty(&node, Key::protoKey).value_or(0));
    const std::string object = key.isNull() ? "node #" + std::to_string(node.objectId())
                                            : "object " + std::to_string(key.getAsLong());
    findings.push_back({"bad_frames",
                        "the frame list of " + object + " cannot be read: " + jt::lastError(),
                        {},
                        {},
                        true});
  });
  return findings;
}

bool writeFrames(JtwCollection& collection, FrameForm form) {
  if (collection.PMIs().empty()) {
    eraseProperty(collection.jtNode(), Key::frames);
    collection.setFramesStored();
    return true;
  }
  const auto list = jt::make<JtFrameListProperty>();
  for (JtwPMI* pmi : collection.PMIs())
    if (pmi->type() == JtwNode::JT_FRAME_NODE)
      static_cast<JtwFrame*>(pmi)->convertToJtFrame(list->frames().emplace_back());
  const bool isStored =
      form == FrameForm::lateLoaded
          ? collection.jtNode()->addProperty(keyAtom(Key::frames),
                                             jt::make<JtLateLoadedPropAtom>(list).get(), true)
          : setString(collection.jtNode(), Key::frames, JtString(list->toText()), true);
  if (isStored) collection.setFramesStored();
  return isStored;
}

bool storeFramesInTheirForm(JtwCollection& collection) {
  if (!collection.jtNode()) return false;
  collection.readKrFrames();
  const FrameForm form = storedFrames(collection).form;
  return form != FrameForm::unreadable && writeFrames(collection, form);
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
  return writeFrames(collection, form);
}

}  // namespace jtw
