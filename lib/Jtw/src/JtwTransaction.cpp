#include "JtwTransaction.h"

#include <exception>
#include <string>
#include <utility>

#include "JtLastError.h"
#include "JtwRootEdits.h"

using jtw::RootEdits;

namespace {

bool refuse(std::string reason, std::string code = {}) {
  jt::setLastError(std::move(reason), std::move(code));
  return false;
}

}  // namespace

// --- History

JtwHistory::JtwHistory(JtwRoot& root, std::size_t most)
    : link_(RootEdits::linkTo(root)), most_(most) {}

JtwHistory::~JtwHistory() = default;

bool JtwHistory::undo() { return step(done_, undone_, "undone"); }

bool JtwHistory::redo() { return step(undone_, done_, "redone"); }

bool JtwHistory::step(Changes& from, Changes& to, const char* verb) try {
  jt::setLastError({});
  JtwRoot* const root = RootEdits::editable(*link_);
  if (!root) return false;
  if (from.empty()) return refuse(std::string("there is nothing to be ") + verb);
  to.reserve(to.size() + 1);
  if (!RootEdits::writeFramesAndPMIs(*root)) return false;
  if (!from.back()->journal.isCurrent())
    return refuse(std::string("the transaction cannot be ") + verb +
                      ": what it changed was changed again outside of a transaction",
                  "changed_since");
  RootEdits::exchange(*root, *from.back());
  to.push_back(std::move(from.back()));
  from.pop_back();
  return true;
} catch (const std::exception& failure) {
  jt::setLastError(failure, std::string());
  return false;
}

void JtwHistory::reserve() { done_.reserve(done_.size() + 1); }

void JtwHistory::add(std::unique_ptr<jtw::RootChange> change) noexcept {
  undone_.clear();
  done_.push_back(std::move(change));
  if (done_.size() > most_) done_.erase(done_.begin());
}

void JtwHistory::clear() noexcept {
  undone_.clear();
  done_.clear();
}

// --- Transaction

JtwTransaction::JtwTransaction(JtwRoot& root) : link_(RootEdits::linkTo(root)) {}

JtwTransaction::JtwTransaction(JtwHistory& history) : link_(history.link_), history_(&history) {}

JtwTransaction::~JtwTransaction() {
  if (change_) end(true);
}

bool JtwTransaction::begin() try {
  jt::setLastError({});
  JtwRoot* const root = RootEdits::editable(*link_);
  if (!root || !RootEdits::writeFramesAndPMIs(*root)) return false;
  auto change = std::make_unique<jtw::RootChange>();
  RootEdits::capture(*root, *change);
  if (history_) history_->reserve();
  change->journal.start();
  change_ = std::move(change);
  link_->isInTransaction = true;
  return true;
} catch (const std::exception& failure) {
  jt::setLastError(failure, std::string());
  return false;
}

bool JtwTransaction::commit() {
  jt::setLastError({});
  if (!change_) return refuse("no transaction is open");
  const bool isOpen = RootEdits::isOpen(*link_);
  const bool isDone = isOpen && RootEdits::writeFramesAndPMIs(*link_->root);
  end(!isDone);
  return isOpen ? isDone : refuse("the component is not open");
}

bool JtwTransaction::rollBack() {
  jt::setLastError({});
  if (!change_) return refuse("no transaction is open");
  const bool isOpen = RootEdits::isOpen(*link_);
  if (isOpen && RootEdits::isWalked(*link_->root))
    return refuse("a walk over the component is in progress");
  end(true);
  return isOpen || refuse("the component is not open");
}

void JtwTransaction::end(bool isUndone) noexcept {
  std::unique_ptr<jtw::RootChange> change = std::move(change_);
  change->journal.stop();
  link_->isInTransaction = false;
  if (!RootEdits::isOpen(*link_)) return;
  if (isUndone)
    RootEdits::exchange(*link_->root, *change);
  else if (history_ && !RootEdits::isEmpty(*link_->root, *change))
    history_->add(std::move(change));
}
