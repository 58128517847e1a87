#pragma once

// Properties of two nodes, in any order.

#include <string>
#include <vector>

#include "inspect/compare/Objects.h"
#include "inspect/compare/Report.h"
#include "inspect/compare/Segments.h"

namespace jt::compare_detail {

/// True for objects that a conversion to another generation leaves out.
bool isOfOneGeneration(const JtSceneObject& object);

class PropertyComparison {
 public:
  PropertyComparison(const Forms& forms, Report& report, SegmentComparison& segments)
      : forms_(forms), report_(report), segments_(segments) {}

  void compare(PairId pair, const JtNode& a, const JtNode& b);
  /// Compares what pointers point at, as far as it is a node; to be called when all nodes have been
  /// paired.
  void comparePointers();

 private:
  struct Entry {
    const JtPropAtom* key = nullptr;
    const JtPropAtom* value = nullptr;
    std::string text;  ///< of the key; filled in when the order differs
  };
  struct Pointer {
    PairId pair;
    std::string key;
    std::int32_t a;
    std::int32_t b;
  };

  static void entriesOf(const JtNode& node, std::vector<Entry>& out);
  static void sortByKey(std::vector<Entry>& entries);
  void compareSorted(PairId pair);
  void compareValues(PairId pair, const Entry& a, const Entry& b);
  void compareLate(PairId pair, const std::string& key, const Entry& a, const Entry& b);
  void tellLonely(PairId pair, const Entry& entry, bool inA);
  void report(PairId pair, const Entry& entry, const ComparedValue& a, const ComparedValue& b);

  const Forms& forms_;
  Report& report_;
  SegmentComparison& segments_;
  std::vector<Pointer> pointers_;
  std::vector<Entry> entriesA_;
  std::vector<Entry> entriesB_;
};

}  // namespace jt::compare_detail
