// Patches, applied.

#include <algorithm>
#include <charconv>
#include <unordered_map>
#include <utility>

#include "EditTransaction.h"
#include "FactReading.h"
#include "JtGroup.h"
#include "JtLastError.h"
#include "JtwCollection.h"
#include "JtwEditError.h"
#include "JtwPMI.h"
#include "JtwPMIs.h"
#include "JtwPatch.h"
#include "JtwRoot.h"
#include "JtwTree.h"
#include "ObjectParents.h"
#include "PatchCheck.h"
#include "PatchValues.h"

namespace jtw {
namespace {

JtwNode::JT_NODE_TYPE typeOf(const std::string& kind) {
  if (kind == "block") return JtwNode::JT_BLOCK_NODE;
  if (kind == "link") return JtwNode::JT_LINK_NODE;
  if (kind == "sub-device") return JtwNode::JT_SUB_DEVICE_NODE;
  if (kind == "frame") return JtwNode::JT_FRAME_NODE;
  if (kind == "annotation") return JtwNode::JT_PMI_ANNOTATION_NODE;
  return JtwNode::JT_ENTITY_NODE;
}

class Application {
 public:
  Application(Objects& objects, const Patch& patch, const PatchCheck& check,
              const std::vector<PatchTarget>& targets)
      : objects_(objects), root_(objects.root()), patch_(patch), check_(check), targets_(targets) {}

  void run() {
    for (std::size_t i = 0; i < patch_.changes.size(); ++i)
      if (isRootKey(patch_.changes[i]) && check_.fits(i)) setRootKey(patch_.changes[i]);
    addObjects();
    moveObjects();
    removeObjects();
    objects_.changed();
    for (const TreeEntry& entry : objects_.entries())
      if (entry.node->isOfTypePMI()) keepAsStored(static_cast<JtwPMI&>(*entry.node));
    for (std::size_t i = 0; i < patch_.changes.size(); ++i)
      if (check_.fits(i) && !isBookkeeping(patch_.changes[i])) change(i);
    objects_.changed();
    for (const TreeEntry& entry : objects_.entries())  // units may be others
      if (!entry.node->isOfTypePMI()) entry.node->forgetCached();
    objects_.storeFrames();
    if (!writePMIs(root_)) failRefused(objects_.document(), "pmi_not_written", jt::lastError());
    // Behind the frames and annotations that it is about.
    for (std::size_t i = 0; i < patch_.changes.size(); ++i)
      if (check_.fits(i) && isBookkeeping(patch_.changes[i])) keepBooks(patch_.changes[i]);
  }

 private:
  /// Calls with each change of one sort that is to be made.
  template <class Act>
  void each(PatchWhat what, Act act) {
    for (std::size_t i = 0; i < patch_.changes.size(); ++i)
      if (patch_.changes[i].what == what && check_.fits(i)) act(i, patch_.changes[i]);
  }

  ApiProtoKey keyOf(const std::string& at) {
    if (at == "root") {
      if (root_.key().isNull()) root_.setKey(spareKey());
      return root_.key();
    }
    long key = 0;
    std::from_chars(at.data(), at.data() + at.size(), key);
    return ApiProtoKey(key);
  }
  JtwNode& object(const std::string& at) {
    if (at == "root") return root_;
    JtwNode* node = nullptr;
    root_.getNodeByKey(keyOf(at), node);
    if (!node) refuse(at, "is not there");
    return *node;
  }
  [[noreturn]] void refuse(const std::string& at, const std::string& what) {
    failRefused(objects_.document(), "not_supported", "object " + at + " " + what);
  }

  void addObjects() {
    each(PatchWhat::object, [this](std::size_t, const PatchChange& change) {
      const auto* kind = std::get_if<std::string>(&change.after);
      if (!kind) return;
      if (!std::holds_alternative<std::monostate>(change.before)) makeRoom(change.at);
    });
    for (const PatchChange* change : byDepth(PatchWhat::object)) {
      const auto* kind = std::get_if<std::string>(&change->after);
      if (!kind) continue;
      JtwNode* made = createNode(root_, typeOf(*kind), keyOf(change->at),
                                 keyOf(check_.parentOf(change->at)), RTTran3D());
      if (!made) refuse(change->at, "cannot be made: what it goes under is not part of this file");
      if (made->type() != JtwNode::JT_FRAME_NODE) continue;
      objects_.framesChanged(static_cast<JtwPMI*>(made)->collection());
      keepAsStored(static_cast<JtwPMI&>(*made));
    }
  }

  /// The changes of one sort, what is above after the patch before what is below.
  std::vector<const PatchChange*> byDepth(PatchWhat what) {
    std::vector<std::pair<std::size_t, const PatchChange*>> changes;
    each(what, [&](std::size_t, const PatchChange& change) {
      changes.emplace_back(depthOf(change.at), &change);
    });
    std::ranges::stable_sort(changes, {}, [](const auto& each) { return each.first; });
    std::vector<const PatchChange*> ordered;
    ordered.reserve(changes.size());
    for (const auto& [depth, change] : changes) ordered.push_back(change);
    return ordered;
  }

  /// An object gives its key to one of another kind, and goes when what is below it has moved.
  void makeRoom(const std::string& at) {
    JtwNode& node = object(at);
    if (node.isOfTypePMI()) return removeObject(objects_, node, at);
    node.reset(true);
    const ApiProtoKey spare = spareKey();
    if (!node.setKey(spare)) refuse(at, "cannot be replaced");
    replaced_.push_back(spare);
  }

  /// A key that neither the component nor the patch has.
  ApiProtoKey spareKey() {
    if (spare_.isNull()) {
      spare_ = nextFreeKey(root_);
      each(PatchWhat::object, [this](std::size_t, const PatchChange& change) {
        if (const ApiProtoKey key = keyOf(change.at); !(key < spare_)) ++(spare_ = key);
      });
    }
    const ApiProtoKey spare = spare_;
    ++spare_;
    return spare;
  }

  /// What is above before what is below, so that nothing is ever moved below itself.
  void moveObjects() {
    for (const PatchChange* change : byDepth(PatchWhat::parent)) {
      if (check_.fitting(change->at, PatchWhat::object)) continue;
      JtwNode& node = object(change->at);
      JtwNode& parent = object(check_.parentOf(change->at));
      keyOf(check_.parentOf(change->at));
      if (!objects_.ensureOwnKey(node) || !reparent(objects_, node, parent))
        refuse(change->at, "cannot be moved: one of the two is not part of this file");
      if (node.type() == JtwNode::JT_FRAME_NODE)
        objects_.framesChanged(static_cast<JtwPMI&>(node).collection());
    }
  }

  std::size_t depthOf(const std::string& at) {
    std::vector<std::string> way;
    std::size_t depth = 0;
    for (std::string up = at; up != "root" && !up.empty(); up = check_.parentOf(up)) {
      if (const auto known = depths_.find(up); known != depths_.end()) {
        depth = known->second;
        break;
      }
      way.push_back(up);
    }
    for (; !way.empty(); way.pop_back()) depths_[way.back()] = ++depth;
    return depth;
  }

  void removeObjects() {
    const auto isGone = [this](const std::string& at) {
      return at != "root" && check_.kindOf(at).empty();
    };
    each(PatchWhat::object, [&](std::size_t, const PatchChange& change) {
      if (!std::holds_alternative<std::monostate>(change.after)) return;
      if (isGone(check_.parentBefore(change.at))) return;  // goes with it
      removeObject(objects_, object(change.at), change.at);
    });
    for (const ApiProtoKey& key : replaced_) {
      const std::string at = std::to_string(key.getAsLong());
      removeObject(objects_, object(at), at);
    }
  }

  static bool isRootKey(const PatchChange& change) {
    return change.at == "root" && change.what == PatchWhat::value && change.name == "key";
  }
  void setRootKey(const PatchChange& change) {
    const auto key = static_cast<long>(std::get<std::int64_t>(change.after));
    root_.reset(true);
    if (!root_.setKey(ApiProtoKey(key))) refuse(change.at, "cannot get its key");
  }

  void change(std::size_t index) {
    const PatchChange& change = patch_.changes[index];
    if (change.what == PatchWhat::order) return setOrder(change);
    if (change.what < PatchWhat::order || isRootKey(change)) return;
    const auto place = check_.indexOf(change.at);
    const bool isBelow = change.at.find('/') != std::string::npos;
    if (isBelow) {
      write(*targets_[*place].node, change);
      return;
    }
    JtwNode& node = object(change.at);
    if (!node.isOfTypePMI()) return write(*node.jtNode(), change);
    auto& pmi = static_cast<JtwPMI&>(node);
    writeValue(pmi, change);
    if (node.type() == JtwNode::JT_FRAME_NODE) objects_.framesChanged(pmi.collection());
  }

  void write(JtNode& node, const PatchChange& change) {
    if (!writeValue(node, change)) refuse(change.at, "cannot be changed");
  }

  /// Where other frames and annotations came and went than where the patch was made, the books of
  /// the component hold.
  void keepBooks(const PatchChange& change) {
    if (change.at.find('/') != std::string::npos) return;
    JtwNode& node = object(change.at);
    const bool isNew = check_.fitting(change.at, PatchWhat::object) != nullptr;
    if (!isNew && !check_.isBefore(change)) {
      const auto* wanted = std::get_if<std::int64_t>(&change.after);
      if (!isCounter(change) || !wanted || *wanted <= root_.PMIMaxProtoKey().getAsLong()) return;
    }
    if (isFrameList(change) && (change.after == PatchValue(true) || hasFrames(node))) return;
    write(*node.jtNode(), change);
  }

  void setOrder(const PatchChange& change) {
    const auto* keys = std::get_if<std::vector<double>>(&change.after);
    if (!keys) return;
    std::unordered_map<long, std::size_t> ranks;
    for (const double key : *keys) ranks.emplace(static_cast<long>(key), ranks.size());
    const auto rankOf = [&ranks](const ApiProtoKey& key) {
      const auto found = key.isNull() ? ranks.end() : ranks.find(key.getAsLong());
      return found == ranks.end() ? ranks.size() : found->second;
    };
    JtwNode& node = object(change.at);
    if (change.name == "objects") {
      orderChildren(change, node, rankOf);
    } else if (node.isCollection()) {
      auto& collection = static_cast<JtwCollection&>(node);
      const auto pmis = collection.PMIs();
      std::vector<JtwPMI*> wanted(pmis.begin(), pmis.end());
      std::ranges::stable_sort(wanted, {}, [&](JtwPMI* pmi) { return rankOf(pmi->key()); });
      for (JtwPMI* pmi : pmis) collection.removePMI(pmi);
      for (JtwPMI* pmi : wanted) collection.addPMI(pmi);
      objects_.framesChanged(&collection);
    }
  }

  /// Objects change places among each other; other nodes stay where they are.
  template <class RankOf>
  void orderChildren(const PatchChange& change, JtwNode& node, RankOf rankOf) {
    auto* group = jt::as<JtGroup>(node.jtNode());
    if (!group) return;
    std::vector<jt::Ref<JtNode>> wanted;
    std::vector<std::size_t> places;
    std::vector<std::pair<std::size_t, jt::Ref<JtNode>>> moving;
    for (int i = 0; i < group->numChildren(); ++i) {
      JtNode* child = group->child(i);
      wanted.emplace_back(child);
      JtwNode* wrapper = child ? root_.nodeByJtNode(child) : nullptr;
      if (!wrapper || wrapper->key().isNull()) continue;
      places.push_back(wanted.size() - 1);
      moving.emplace_back(rankOf(wrapper->key()), jt::Ref<JtNode>(child));
    }
    std::ranges::stable_sort(moving, {}, [](const auto& each) { return each.first; });
    for (std::size_t i = 0; i < places.size(); ++i) wanted[places[i]] = moving[i].second;
    int first = 0;
    while (first < group->numChildren() &&
           group->child(first) == wanted[static_cast<std::size_t>(first)].get())
      ++first;
    bool isDone = true;
    for (int i = group->numChildren(); i > first; --i) isDone = group->removeChild(i - 1) && isDone;
    for (auto i = static_cast<std::size_t>(first); i < wanted.size(); ++i)
      isDone = group->addChild(wanted[i].get()) && isDone;
    if (!isDone) refuse(change.at, "cannot be put in order");
  }

  Objects& objects_;
  JtwRoot& root_;
  const Patch& patch_;
  const PatchCheck& check_;
  const std::vector<PatchTarget>& targets_;
  ApiProtoKey spare_;
  std::vector<ApiProtoKey> replaced_;
  std::unordered_map<std::string, std::size_t> depths_;
};

ApplyResult apply(Objects& objects, const Patch& patch, bool force, JtwHistory& history) {
  std::vector<PatchTarget> targets;
  const std::vector<PatchObject> facts = readFacts(objects, &targets);
  const PatchCheck check(patch, facts, force);
  ApplyResult result{.misfits = check.misfits()};
  if (!result.misfits.empty() && !force) return result;
  EditTransaction transaction(objects, history);
  Application(objects, patch, check, targets).run();
  transaction.commit();
  result.applied = patch.changes.size() - result.misfits.size();
  return result;
}

/// Takes the changes of a history back in the end.
class Undoing {
 public:
  Undoing(Objects& objects, JtwHistory& history) : objects_(objects), history_(history) {}
  Undoing(const Undoing&) = delete;
  Undoing& operator=(const Undoing&) = delete;
  ~Undoing() {
    if (history_.undoCount() == 0) return;
    history_.undo();
    objects_.forgetChanges();
  }

 private:
  Objects& objects_;
  JtwHistory& history_;
};

}  // namespace

ApplyResult applyPatch(Objects& objects, const Patch& patch, bool force) {
  JtwHistory history(objects.root(), 0);
  return apply(objects, patch, force, history);
}

std::vector<jt::Difference> lossesOf(Objects& a, const JtwRoot& b, const Patch& patch,
                                     std::size_t most) {
  JtwHistory history(a.root());
  if (!apply(a, patch, false, history).misfits.empty())
    failRefused(a.document(), "patch_does_not_fit", "the patch is not one of this component");
  jt::DifferenceList list;
  jt::CompareOptions options;
  options.identityKeys = {keyProperty()};
  options.maxDifferences = most;
  const Undoing undoing(a, history);
  jt::compare(*a.root().partition(), *b.partition(), options, list);
  return std::move(list.all);
}

}  // namespace jtw
