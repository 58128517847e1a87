#pragma once

// Segments: what late-loaded properties name, and what nothing names.

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "JtMetaData.h"
#include "JtPropAtom.h"
#include "file/container/Container.h"
#include "inspect/compare/MeshMatch.h"
#include "inspect/compare/Report.h"

namespace jt::compare_detail {

class SegmentComparison {
 public:
  SegmentComparison(const Graphs& graphs, double tolerance, Report& report)
      : graphs_(graphs), tolerance_(tolerance), report_(report) {}

  /// Compares what two late-loaded atoms under one key represent. The geometry of shapes is
  /// compared on all cores, many shapes at a time; the report waits for it.
  void compareLate(PairId pair, const std::string& key, const JtLateLoadedPropAtom& a,
                   const JtLateLoadedPropAtom& b);
  /// Compares the shapes that wait.
  void compareShapes();
  /// Compares entries, whatever their order; of several under one key the first counts.
  void compareMetaData(PairId pair, const JtMetaData& a, const JtMetaData& b);
  /// Compares the segments that no property names, by their bytes.
  void compareUnnamed();

 private:
  /// Where a value lies: in a segment, in memory, or nowhere.
  struct Place {
    const file::Container* container = nullptr;
    const file::TocEntry* entry = nullptr;
    Ref<JtBase> object;

    bool isNowhere() const noexcept { return !entry && !object; }
    /// The object that the place holds; empty when there is none, or it cannot be read.
    /// @param wanted only an object of this type; null: any
    Ref<JtBase> load(const JtType* wanted = nullptr) const;
    std::string text() const;
  };
  /// Shapes of a pair of nodes, and what is between them.
  struct ShapePair {
    PairId pair;
    std::string key;  ///< of the atoms
    Place a;
    Place b;
    bool isSame = false;
    std::optional<MeshDifference> apart;  ///< none: they differ, but not by their meshes
  };
  void compareShape(ShapePair& shapes) const;
  bool compareMeshes(ShapePair& shapes) const;
  void tell(const ShapePair& shapes);
  void tellPlaces(PairId pair, const std::string& key, const Place& a, const Place& b);
  static Place placeOf(const JtLateLoadedPropAtom& atom, const JtPartition& partition);
  static bool sameBytes(const Place& a, const Place& b);
  static bool sameContent(const Place& a, const Place& b);
  static bool sameObjects(const JtBase* a, const JtBase* b);

  const Graphs& graphs_;
  double tolerance_;
  Report& report_;
  std::set<std::pair<JtGuid, JtGuid>> seen_;
  std::vector<ShapePair> shapes_;  ///< for each a place is kept in the report
};

}  // namespace jt::compare_detail
