#include "JtwPMIList.h"

#include <algorithm>
#include <new>
#include <utility>

const RWClassicTValOrderedVector<JtwPMI*>& JtwPMIList::entries() const noexcept {
  if (gaps_) {
    std::erase_if(entries_, [this](const JtwPMI* pmi) { return gaps_->contains(pmi); });
    gaps_ = nullptr;
  }
  return entries_;
}

void JtwPMIList::add(JtwPMI* pmi) {
  // It may have been listed before, or be at the address of one that was.
  if (gaps_ && gaps_->contains(pmi)) entries();
  entries_.push_back(pmi);
}

/// False when there is no memory for a gap.
bool JtwPMIList::leaveGap(const JtwPMI* pmi) noexcept try {
  if (!gaps_) gaps_ = std::make_unique<std::unordered_set<const JtwPMI*>>();
  gaps_->insert(pmi);
  if (gaps_->size() * 2 >= entries_.size()) entries();
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

bool JtwPMIList::remove(JtwPMI* pmi, bool isOnlyEntry) noexcept {
  if (isOnlyEntry && leaveGap(pmi)) return true;
  entries();
  const auto found = std::find(entries_.begin(), entries_.end(), pmi);
  if (found == entries_.end()) return false;
  entries_.erase(found);
  return true;
}

void JtwPMIList::removeAll(const JtwPMI* pmi) noexcept {
  entries();
  std::erase(entries_, pmi);
}

RWClassicTValOrderedVector<JtwPMI*> JtwPMIList::take() noexcept {
  entries();
  return std::exchange(entries_, {});
}
