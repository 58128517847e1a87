#pragma once

#include <memory>
#include <unordered_set>

#include "JtwExport.h"
#include "RWClassic.h"

class JtwPMI;

/// PMI in order of insertion. What is removed leaves a gap, and many gaps are closed at once:
/// however many are removed, in whatever order, each costs the same. Owns none of the PMI and never
/// looks at one. For one thread at a time.
class JTW_API JtwPMIList {
 public:
  /// All entries. Closes the gaps.
  const RWClassicTValOrderedVector<JtwPMI*>& entries() const noexcept;
  bool empty() const noexcept { return entries_.empty(); }  // never more than half are gaps

  /// Appends, also what is listed already.
  void add(JtwPMI* pmi);
  /// Removes the first entry that is `pmi`; false when there is none.
  /// @param isOnlyEntry `pmi` is known to be listed exactly once, so that it need not be looked for
  bool remove(JtwPMI* pmi, bool isOnlyEntry) noexcept;
  /// Removes every entry that is `pmi`. Takes no memory.
  void removeAll(const JtwPMI* pmi) noexcept;
  /// Removes all entries and returns them.
  RWClassicTValOrderedVector<JtwPMI*> take() noexcept;

 private:
  bool leaveGap(const JtwPMI* pmi) noexcept;

  mutable RWClassicTValOrderedVector<JtwPMI*> entries_;
  // One entry each, of PMI that may be gone. Null where there are none: most lists stay empty.
  mutable std::unique_ptr<std::unordered_set<const JtwPMI*>> gaps_;
};
