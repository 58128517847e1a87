#include <algorithm>
#include <utility>

#include "JtChangeJournal.h"
#include "scene/Recording.h"

namespace jt {
namespace {

thread_local ChangeJournal* recordingJournal = nullptr;

}  // namespace

ChangeJournal::ChangeJournal() noexcept = default;

ChangeJournal::~ChangeJournal() { stop(); }

ChangeJournal* ChangeJournal::recording() noexcept { return recordingJournal; }

bool ChangeJournal::start() {
  if (recordingJournal) return false;
  members_.emplace();
  values_.clear();
  recordingJournal = this;
  return true;
}

void ChangeJournal::stop() noexcept {
  if (!members_) return;
  if (recordingJournal == this) recordingJournal = nullptr;
  members_.reset();
  mark();
}

void ChangeJournal::swap() noexcept {
  for (const auto& value : values_) value->swap();
  mark();
}

void ChangeJournal::mark() noexcept {
  for (const auto& value : values_) value->mark();
}

bool ChangeJournal::isCurrent() const noexcept {
  return std::ranges::all_of(values_, [](const auto& value) { return value->isCurrent(); });
}

bool ChangeJournal::wants(const void* member) const noexcept {
  return members_ && !members_->find(member);
}

void ChangeJournal::keep(const void* member, std::unique_ptr<Kept> value) {
  values_.push_back(std::move(value));
  try {
    members_->insert(member, true);
  } catch (...) {
    values_.pop_back();
    throw;
  }
}

ChangeJournal::Pause::Pause() noexcept : paused_(std::exchange(recordingJournal, nullptr)) {}

ChangeJournal::Pause::~Pause() { recordingJournal = paused_; }

}  // namespace jt
