// Nodes that only journals keep.

#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

#include "JtChangeJournal.h"
#include "JtPartition.h"

void JtNode::abandoned() const noexcept try {
  if (!jt::ChangeJournal::recording()) return;
  // What would end with the node: nodes of which all owners would. They keep their links to each
  // other; only what goes on living must not name them as parents.
  std::vector<JtNode*> ending{const_cast<JtNode*>(this)};
  std::unordered_map<JtNode*, int> lost;  // references of each node that would go
  std::vector<std::pair<JtNode*, JtNode*>> links;
  for (std::size_t i = 0; i < ending.size(); ++i)
    for (int index = 0; index < jt::numOwnChildren(*ending[i]); ++index) {
      JtNode* const child = jt::ownChild(*ending[i], index);
      links.emplace_back(ending[i], child);
      if (++lost[child] == child->refCount()) ending.push_back(child);
    }
  std::erase_if(
      links, [&lost](const auto& link) { return lost.at(link.second) == link.second->refCount(); });
  for (const auto& [parent, child] : links) {
    recordParents(*child);
    parent->disown(*child);
    detach(*child, *parent);
  }
} catch (const std::bad_alloc&) {  // the node stays a parent
}
