#include <algorithm>
#include <unordered_set>
#include <utility>
#include <vector>

#include "JtInspect.h"
#include "JtLOD.h"
#include "JtPartSummary.h"
#include "JtPathAttributes.h"
#include "file/graph/SceneSource.h"
#include "inspect/StatedCounts.h"

namespace jt {
namespace {

/// The row of the table of contents that an atom names; null when there is none.
const file::TocEntry* entryOf(const JtLateLoadedPropAtom& late) {
  const file::SceneSource* source = file::SceneSource::sourceOf(late);
  return source ? source->container().find(late.segmentId()) : nullptr;
}

class Summing {
 public:
  PartSummary run(const JtNode& part) {
    eachNode(part, true, [this](const JtNode& node, const PathAttributes& attributes) {
      if (const auto* shape = as<JtShape>(&node)) addShape(*shape, attributes);
    });
    eachNode(part, false,
             [this](const JtNode& node, const PathAttributes& /*attributes*/) { addStored(node); });
    if (isComplete_) {
      sum_.triangles = counts_.triangles;
      sum_.vertices = counts_.vertices;
    }
    sum_.shapes = counts_.shapes;
    sum_.lods = std::max(sum_.lods, std::size_t{counts_.shapes > 0 ? 1U : 0U});
    return std::move(sum_);
  }

 private:
  /// Visits the part's nodes, each once, in the order of the graph. @param finest of levels of
  /// detail only the first one
  template <class Visit>
  static void eachNode(const JtNode& part, bool finest, Visit visit) {
    struct Level {
      const JtNode* node;
      PathAttributes attributes;
      int next = 0;
    };
    std::unordered_set<const JtNode*> shared;
    std::vector<Level> stack;
    const auto enter = [&](const JtNode& node, PathAttributes attributes) {
      if (node.numParents() > 1 && !shared.insert(&node).second) return;
      if (finest) attributes.enter(node);
      visit(node, attributes);
      stack.push_back({&node, std::move(attributes)});
    };
    enter(part, {});
    while (!stack.empty()) {
      Level& level = stack.back();
      const int last = finest && as<JtLOD>(level.node) ? 1 : level.node->numChildren();
      const JtNode* child = level.next < last ? level.node->child(level.next++) : nullptr;
      if (child)
        enter(*child, PathAttributes(level.attributes));
      else
        stack.pop_back();
    }
  }

  void addShape(const JtShape& shape, const PathAttributes& attributes) {
    const StatedCounts stated = statedCounts(shape);
    if (counts_.shapes == 0) sum_.material = attributes.material().material();
    counts_.shapes += 1;
    counts_.triangles += stated.counts.triangles;
    counts_.vertices += stated.counts.vertices;
    isComplete_ = isComplete_ && stated.isComplete;
  }

  void addStored(const JtNode& node) {
    if (const auto* levels = as<JtLOD>(&node))
      sum_.lods = std::max(sum_.lods, static_cast<std::size_t>(levels->numChildren()));
    for (int i = 0; !sum_.texture && i < node.numAttributes(); ++i)
      sum_.texture = as<JtTextureImage>(node.attribute(i));
    JtPropAtom* key = nullptr;
    JtPropAtom* value = nullptr;
    for (int i = 0; node.getProperty(i, key, value); ++i)
      if (const auto* late = as<JtLateLoadedPropAtom>(value)) addSegment(*late);
  }

  void addSegment(const JtLateLoadedPropAtom& late) {
    const file::TocEntry* entry = entryOf(late);
    sum_.exact = sum_.exact || isExactGeometry(entry ? entry->type() : late.segmentType());
    if (entry && segments_.insert(entry).second) sum_.bytes += entry->length;
  }

  PartSummary sum_;
  ShapeSummary::Counts counts_;
  bool isComplete_ = true;
  std::unordered_set<const file::TocEntry*> segments_;
};

}  // namespace

PartSummary summarizePart(const JtNode& part) { return Summing().run(part); }

}  // namespace jt
