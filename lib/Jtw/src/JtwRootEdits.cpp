#include "JtwRootEdits.h"

#include <exception>
#include <string>
#include <unordered_set>
#include <utility>

#include "JtLastError.h"
#include "JtTk/JtkwPMIGathering.h"
#include "JtwFrameLists.h"
#include "JtwPMIs.h"
#include "JtwRoot.h"
#include "JtwWrapperTable.h"

namespace jtw {

std::shared_ptr<RootLink> RootEdits::linkTo(JtwRoot& root) {
  if (!root.link_) {
    root.link_ = std::make_shared<RootLink>();
    root.link_->root = &root;
  }
  return root.link_;
}

bool RootEdits::isOpen(const RootLink& link) noexcept {
  return link.root && link.root->partition_ && !link.root->partition_->isClosed();
}

bool RootEdits::isWalked(const JtwRoot& root) noexcept { return root.walks_ > 0; }

JtwRoot* RootEdits::editable(const RootLink& link) {
  const char* obstacle = nullptr;
  if (!isOpen(link))
    obstacle = "the component is not open";
  else if (jt::ChangeJournal::recording())
    obstacle = "a transaction is open: commit it or roll it back first";
  else if (isWalked(*link.root))
    obstacle = "a walk over the component is in progress";
  if (obstacle) jt::setLastError(obstacle);
  return obstacle ? nullptr : link.root;
}

bool RootEdits::writeFramesAndPMIs(JtwRoot& root) try {
  std::unordered_set<JtwCollection*> collections{&root};
  root.forgetCached();
  root.nodesByJtNode_->forEach([&collections](JtNode*, JtwNode* node) {
    node->forgetCached();  // PMI are written in the unit that their node has now
    if (node->isCollection() != 0) collections.insert(static_cast<JtwCollection*>(node));
  });
  for (JtwCollection* collection : collections)
    if (collection->haveFramesChanged() && !storeFramesInTheirForm(*collection)) return false;
  if (!writePMIs(root)) return false;
  for (JtwNode* carrier : root.pmiCarriers()) takeStoredPMIs(*carrier);
  return true;
} catch (const std::exception& failure) {
  jt::setLastError(failure, std::string());
  return false;
}

void RootEdits::capture(const JtwRoot& root, RootChange& change) {
  change.node = jt::Ref<JtNode>(root.jtNode());
  change.group = root.group_;
}

bool RootEdits::isEmpty(const JtwRoot& root, const RootChange& change) {
  return change.journal.isEmpty() && change.node == root.jtNode() && change.group == root.group_;
}

void RootEdits::exchange(JtwRoot& root, RootChange& change) noexcept {
  root.forgetWrappers();
  change.journal.swap();
  const jt::Ref<JtNode> node = std::exchange(change.node, jt::Ref<JtNode>(root.jtNode()));
  root.setJtNode(node.get());
  std::swap(root.group_, change.group);
}

}  // namespace jtw
