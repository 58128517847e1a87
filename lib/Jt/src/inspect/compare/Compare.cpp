#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "Jt.h"
#include "JtCompare.h"
#include "JtHash.h"
#include "JtInspect.h"
#include "JtPartition.h"
#include "JtXform.h"
#include "inspect/compare/ChildMatch.h"
#include "inspect/compare/Motion.h"
#include "inspect/compare/Properties.h"
#include "inspect/compare/Segments.h"
#include "inspect/compare/Values.h"

namespace jt {

namespace compare_detail {

namespace {

struct PointerPairHash {
  std::size_t operator()(const std::pair<const void*, const void*>& pair) const noexcept {
    return mixHash(mixHash(0, PointerHash{}(pair.first)), PointerHash{}(pair.second));
  }
};
using PointerPairs = std::unordered_set<std::pair<const void*, const void*>, PointerPairHash>;

/// Opened part files that two nodes of one place represent.
struct PartPair {
  const JtPartition* a = nullptr;
  const JtPartition* b = nullptr;
  std::string path;        ///< of the nodes
  double millimetres = 1;  ///< in the unit of length that holds at the nodes
};

/// Walks both graphs at once, pair by pair.
class Comparison {
 public:
  Comparison(const JtPartition& a, const JtPartition& b, const CompareOptions& options,
             CompareSink& sink)
      : graphs_{a, b, GraphFacts(a, options.identityKeys), GraphFacts(b, options.identityKeys)},
        forms_(a, b),
        report_(graphs_, options, sink),
        objects_(forms_),
        segments_(graphs_, options.tolerance, report_),
        properties_(forms_, report_, segments_),
        tolerance_(options.tolerance),
        progress_(options.progress),
        workLeft_(kWorkALink * (graphs_.factsA.edges() + graphs_.factsB.edges()) + kWorkALink) {}

  /// @param millimetres in the unit of length that holds where the files name none
  CompareResult run(double millimetres) {
    NodePair roots{&graphs_.a, &graphs_.b};
    roots.millimetres = unitOf(graphs_.a, millimetres);
    std::vector<PairId> pending{report_.add(roots)};
    do {
      comparePairs(pending);
      pairMoved(pending);
    } while (!pending.empty());
    segments_.compareShapes();
    for (const Lonely& child : onlyA_) report_.tellChild(child.parent, child.index, true);
    for (const Lonely& child : onlyB_) report_.tellChild(child.parent, child.index, false);
    properties_.comparePointers();
    segments_.compareUnnamed();
    return report_.result();
  }
  std::vector<PartPair> takeParts() { return std::move(parts_); }

 private:
  // Shared nodes can be held against each other in many ways; real files stay far below.
  static constexpr std::size_t kWorkALink = 64;

  /// A child that one side has, and that may have come from or gone to another parent.
  struct Lonely {
    PairId parent;
    int index;
    const JtPropAtom* key;
  };

  void comparePairs(std::vector<PairId>& pending) {
    while (!pending.empty()) {
      const PairId id = pending.back();
      pending.pop_back();
      compareNodes(id);
      if (progress_)
        progress_(std::min(1.0, static_cast<double>(++compared_) /
                                    static_cast<double>(graphs_.factsA.edges() + 1)));
      const std::size_t first = pending.size();
      compareChildren(id, pending);
      std::reverse(pending.begin() + static_cast<std::ptrdiff_t>(first), pending.end());
    }
  }

  /// Children that only one side has: those with a key wait for one of the other side.
  void tellOrKeep(PairId parent, int index, bool inA) {
    const JtNode& holder = inA ? *report_.pair(parent).a : *report_.pair(parent).b;
    const NodeFacts& facts = (inA ? graphs_.factsA : graphs_.factsB).of(ownChild(holder, index));
    const bool mayBeElsewhere =
        facts.key && (inA ? graphs_.factsB : graphs_.factsA).hasKey(facts.keyHash);
    if (!mayBeElsewhere) return report_.tellChild(parent, index, inA);
    (inA ? onlyA_ : onlyB_).push_back({parent, index, facts.key});
  }

  /// Pairs of the same key whose parents are not a pair.
  void pairMoved(std::vector<PairId>& pending) {
    if (onlyA_.empty() || onlyB_.empty()) return;
    std::unordered_map<std::string, std::size_t> byKey;
    for (std::size_t i = 0; i < onlyB_.size(); ++i) byKey.emplace(atomText(*onlyB_[i].key), i);
    std::vector<bool> isPaired(onlyB_.size());
    std::erase_if(onlyA_, [&](const Lonely& child) {
      const auto found = byKey.find(atomText(*child.key));
      if (found == byKey.end() || isPaired[found->second]) return false;
      const Lonely& other = onlyB_[found->second];
      const JtNode& node = *ownChild(*report_.pair(child.parent).a, child.index);
      const NodePair nodes{&node,        ownChild(*report_.pair(other.parent).b, other.index),
                           child.parent, child.index,
                           other.index,  unitOf(node, report_.pair(child.parent).millimetres)};
      if (!seenNodes_.emplace(nodes.a, nodes.b).second) return false;
      isPaired[found->second] = true;
      const PairId pair = report_.add(nodes);
      report(pair, DifferenceKind::parent, {}, report_.path(child.parent),
             report_.path(other.parent));
      pending.push_back(pair);
      return true;
    });
    std::size_t at = 0;
    std::erase_if(onlyB_, [&](const Lonely&) { return isPaired[at++]; });
  }

  void compareNodes(PairId id) {
    const JtNode& a = *report_.pair(id).a;
    const JtNode& b = *report_.pair(id).b;
    if (!areOfOneType(a, b)) {
      report(id, DifferenceKind::type, {}, elementName(&a), elementName(&b));
    } else {
      compareFields(id, a, b);
    }
    compareAttributes(id, a, b);
    properties_.compare(id, a, b);
    comparePartFiles(id, a, b);
  }

  /// Files that could not be opened on both sides are compared by name alone.
  void comparePartFiles(PairId id, const JtNode& a, const JtNode& b) {
    const auto* partA = as<JtPartition>(&a);
    const auto* partB = as<JtPartition>(&b);
    if (id == 0 || !partA || !partB) return;
    const JtPartition* fileA = openFileOf(a);
    const JtPartition* fileB = openFileOf(b);
    if (fileA && fileB) {
      parts_.push_back({fileA, fileB, report_.path(id), report_.pair(id).millimetres});
    } else if ((fileA && partB->partFailure()) || (fileB && partA->partFailure())) {
      const auto state = [](const JtPartition* file) {
        return std::string(file ? "read" : "not readable");
      };
      report(id, DifferenceKind::field, "partFile", state(fileA), state(fileB));
    }
  }

  /// Elements of unknown types are plain nodes and groups in memory; only their file knows more.
  static bool areOfOneType(const JtNode& a, const JtNode& b) {
    if (a.typeID() != b.typeID()) return false;
    const bool mayBeUnknown =
        a.typeID() == JtNode::classTypeID() || a.typeID() == JtGroup::classTypeID();
    return !mayBeUnknown || elementName(&a) == elementName(&b);
  }

  void compareFields(PairId id, const JtNode& a, const JtNode& b) {
    if (isCarriedUnread(a) && isCarriedUnread(b)) {
      compareCarried(id, DifferenceKind::field, elementName(&a), a, b);
      return;
    }
    const bool areOpenFiles = openFileOf(a) && openFileOf(b);
    objects_.compare(a, b, toleranceOf(id),
                     [&](const std::string& field, const ComparedValue& x, const ComparedValue& y) {
                       if (areOpenFiles && field == "fileName") return;  // what is in them counts
                       report(id, DifferenceKind::field, field, x, y);
                     });
  }

  /// Millimetres in the unit of length of a node.
  /// @param inherited those of the parent's
  double unitOf(const JtNode& node, double inherited) const {
    const double own = graphs_.factsA.of(&node).millimetres;
    return own > 0 ? own : inherited;
  }

  Tolerance toleranceOf(PairId id) const {
    const NodePair& pair = report_.pair(id);
    return {tolerance_, pair.millimetres,
            std::max(graphs_.factsA.of(pair.a).reach, graphs_.factsB.of(pair.b).reach)};
  }

  /// The opened file that a partition represents, or null.
  static const JtPartition* openFileOf(const JtNode& node) {
    const auto* partition = as<JtPartition>(&node);
    return partition ? partition->externalPartition() : nullptr;
  }

  void compareCarried(PairId id, DifferenceKind kind, const std::string& name,
                      const JtSceneObject& a, const JtSceneObject& b) {
    const std::optional<bool> same = sameCarriedBytes(a, b, forms_);
    if (!same) {
      report_.skip();
    } else if (!*same) {
      report(id, kind, name, std::string("other bytes"), std::string("other bytes"));
    }
  }

  /// Attributes of different types have no order among each other.
  void compareAttributes(PairId id, const JtNode& a, const JtNode& b) {
    if (haveTheSameTypes(a, b)) {
      for (int i = 0; i < a.numAttributes(); ++i)
        compareAttribute(id, *a.attribute(i), *b.attribute(i));
      return;
    }
    std::vector<AttributeGroup> groups;  // in the order in which the types come up
    std::unordered_map<std::string, std::size_t> indices;
    for (const bool inA : {true, false}) {  // both may be one node
      const JtNode& node = inA ? a : b;
      for (int i = 0; i < node.numAttributes(); ++i) {
        const JtAttribute* attribute = node.attribute(i);
        const auto [index, isNew] = indices.try_emplace(elementName(attribute), groups.size());
        if (isNew) groups.push_back({index->first, {}, {}});
        AttributeGroup& group = groups[index->second];
        (inA ? group.a : group.b).push_back(attribute);
      }
    }
    for (AttributeGroup& group : groups)
      compareGroup(id, group.type, std::move(group.a), std::move(group.b));
  }

  /// The attributes of one type.
  struct AttributeGroup {
    std::string type;
    std::vector<const JtAttribute*> a;
    std::vector<const JtAttribute*> b;
  };

  /// True when the attributes of both line up, as they nearly always do.
  static bool haveTheSameTypes(const JtNode& a, const JtNode& b) {
    if (a.numAttributes() != b.numAttributes()) return false;
    for (int i = 0; i < a.numAttributes(); ++i)
      if (a.attribute(i)->typeID() != b.attribute(i)->typeID() || isCarriedUnread(*a.attribute(i)))
        return false;
    return true;
  }

  /// Attributes of one type, in order. Where there are more on one side, those that are alike from
  /// the front and from the back belong together.
  void compareGroup(PairId id, const std::string& type, std::vector<const JtAttribute*> a,
                    std::vector<const JtAttribute*> b) {
    if (a.size() != b.size()) {
      const auto isSame = [&, tolerance = toleranceOf(id)](const JtAttribute* x,
                                                           const JtAttribute* y) {
        return objects_.isSame(*x, *y, tolerance);
      };
      const auto [frontA, frontB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end(), isSame);
      a.erase(a.begin(), frontA);
      b.erase(b.begin(), frontB);
      while (!a.empty() && !b.empty() && isSame(a.back(), b.back())) {
        a.pop_back();
        b.pop_back();
      }
    }
    for (std::size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
      if (i < a.size() && i < b.size())
        compareAttribute(id, *a[i], *b[i]);
      else
        tellLonely(id, type, i < a.size() ? *a[i] : *b[i], i < a.size());
    }
  }

  void compareAttribute(PairId id, const JtAttribute& a, const JtAttribute& b) {
    const bool isShared = a.refCount() > 1 || b.refCount() > 1;
    if (isShared && !seenAttributes_.emplace(&a, &b).second) return;
    if (isCarriedUnread(a) || isCarriedUnread(b)) {
      compareCarried(id, DifferenceKind::attribute, elementName(&a), a, b);
      return;
    }
    objects_.compare(a, b, toleranceOf(id),
                     [&](const std::string& field, const ComparedValue& x, const ComparedValue& y) {
                       report_.add(id, DifferenceKind::attribute, elementName(&a) + "." + field,
                                   [&](Difference& difference) {
                                     difference.a = x;
                                     difference.b = y;
                                     if (field == "matrix")
                                       difference.moved =
                                           motionOf(id, as<JtXform>(&a), as<JtXform>(&b));
                                   });
                     });
  }

  /// How a pair of nodes was moved. A side without transform lies where its parent does.
  std::optional<PlacementChange> motionOf(PairId id, const JtXform* a, const JtXform* b) const {
    const NodePair& pair = report_.pair(id);
    if (graphs_.factsA.of(pair.a).millimetres != graphs_.factsB.of(pair.b).millimetres) return {};
    return motionBetween(a ? a->matrix() : kIdentity, b ? b->matrix() : kIdentity,
                         pair.millimetres);
  }

  void tellLonely(PairId id, const std::string& type, const JtAttribute& attribute, bool inA) {
    if (!forms_.sameGeneration && isOfOneGeneration(attribute)) {
      report_.skip();
      return;
    }
    report_.add(id, DifferenceKind::attribute, type, [&](Difference& difference) {
      (inA ? difference.a : difference.b) = type;
      const auto* xform = as<JtXform>(&attribute);
      const auto hasOther = [&](const JtNode& node) {
        for (int i = 0; i < node.numAttributes(); ++i)
          if (as<JtXform>(node.attribute(i)) && node.attribute(i) != xform) return true;
        return false;
      };
      if (xform && !hasOther(*report_.pair(id).a) && !hasOther(*report_.pair(id).b))
        difference.moved = motionOf(id, inA ? xform : nullptr, inA ? nullptr : xform);
    });
  }

  /// Matches the children and adds the pairs that were not met before to `pending`.
  void compareChildren(PairId id, std::vector<PairId>& pending) {
    const JtNode& a = *report_.pair(id).a;
    const JtNode& b = *report_.pair(id).b;
    const auto work =
        static_cast<std::size_t>(numOwnChildren(a)) + static_cast<std::size_t>(numOwnChildren(b));
    if (work == 0) return;
    if (work > workLeft_)
      throw JtFormatError("too_complex",
                          "the shared nodes of the two files can be paired in too many ways");
    workLeft_ -= work;
    const ChildMatch match = matchChildren(a, graphs_.factsA, b, graphs_.factsB);
    for (const int index : match.onlyA) tellOrKeep(id, index, true);
    for (const int index : match.onlyB) tellOrKeep(id, index, false);
    for (const ChildMatch::Pair& pair : match.pairs) {
      const JtNode& childA = *ownChild(a, pair.a);
      const NodePair nodes{&childA, ownChild(b, pair.b),
                           id,      pair.a,
                           pair.b,  unitOf(childA, report_.pair(id).millimetres)};
      const bool isShared = nodes.a->numParents() > 1 || nodes.b->numParents() > 1;
      const bool isNew = !isShared || seenNodes_.emplace(nodes.a, nodes.b).second;
      if (!isNew && !pair.moved) continue;
      const PairId child = report_.add(nodes);
      if (pair.moved)
        report(child, DifferenceKind::position, {}, std::int64_t{pair.a}, std::int64_t{pair.b});
      if (isNew) pending.push_back(child);
    }
  }

  void report(PairId id, DifferenceKind kind, const std::string& name, const ComparedValue& a,
              const ComparedValue& b) {
    report_.add(id, kind, name, [&](Difference& difference) {
      difference.a = a;
      difference.b = b;
    });
  }

  Graphs graphs_;
  Forms forms_;
  Report report_;
  ObjectComparison objects_;
  SegmentComparison segments_;
  PropertyComparison properties_;
  PointerPairs seenNodes_;  // only of nodes that several paths may reach
  PointerPairs seenAttributes_;
  double tolerance_;
  const std::function<void(double)>& progress_;
  std::size_t compared_ = 0;
  std::vector<PartPair> parts_;
  std::vector<Lonely> onlyA_;
  std::vector<Lonely> onlyB_;
  std::size_t workLeft_;
};

/// Passes the differences of a part file on, with the path of the nodes that represent it.
class PartSink : public CompareSink {
 public:
  PartSink(CompareSink& sink, const std::string& path) : sink_(sink), path_(path) {}
  void difference(const Difference& difference) override {
    if (path_.empty()) return sink_.difference(difference);
    Difference ofPart = difference;
    ofPart.path = ofPart.path == "/" ? path_ : path_ + ofPart.path;
    sink_.difference(ofPart);
  }

 private:
  CompareSink& sink_;
  const std::string& path_;
};

}  // namespace

/// The files, and the part files that hang in one place of both: each pair once.
CompareResult compareAssemblies(const JtPartition& a, const JtPartition& b,
                                const CompareOptions& options, CompareSink& sink) {
  CompareResult all;
  std::vector<PartPair> pending{{&a, &b, {}, 1}};
  PointerPairs seen{{&a, &b}};
  for (std::size_t i = 0; i < pending.size(); ++i) {
    const PartPair pair = pending[i];
    CompareOptions left = options;
    left.maxDifferences -= std::min<std::uint64_t>(left.maxDifferences, all.differences);
    if (options.progress)
      left.progress = [&, i](double share) {
        options.progress((static_cast<double>(i) + share) / static_cast<double>(pending.size()));
      };
    PartSink partSink(sink, pair.path);
    Comparison comparison(*pair.a, *pair.b, left, partSink);
    const CompareResult result = comparison.run(pair.millimetres);
    all.differences += result.differences;
    all.skipped += result.skipped;
    for (std::size_t kind = 0; kind < kDifferenceKinds; ++kind)
      all.byKind[kind] += result.byKind[kind];
    for (PartPair& part : comparison.takeParts()) {
      if (!pair.path.empty()) part.path = pair.path + part.path;
      if (seen.emplace(part.a, part.b).second) pending.push_back(std::move(part));
    }
  }
  return all;
}

}  // namespace compare_detail

const char* differenceName(DifferenceKind kind) noexcept {
  switch (kind) {
    case DifferenceKind::node:
      return "node";
    case DifferenceKind::type:
      return "type";
    case DifferenceKind::position:
      return "position";
    case DifferenceKind::name:
      return "name";
    case DifferenceKind::field:
      return "field";
    case DifferenceKind::attribute:
      return "attribute";
    case DifferenceKind::property:
      return "property";
    case DifferenceKind::metadata:
      return "metadata";
    case DifferenceKind::geometry:
      return "geometry";
    case DifferenceKind::segment:
      return "segment";
    case DifferenceKind::parent:
      return "parent";
  }
  return "";
}

CompareResult compare(const JtPartition& a, const JtPartition& b, const CompareOptions& options,
                      CompareSink& sink) {
  return compare_detail::compareAssemblies(a, b, options, sink);
}

}  // namespace jt
