#include "backends/linux/atspi/source/RecentReads.h"

namespace jumplark::atspi {

void RecentReads::start() {
  const std::lock_guard lock(mutex_);
  facts_.clear();
  frames_.clear();
  end_ = Clock::now() + kFresh;
}

void RecentReads::end() {
  const std::lock_guard lock(mutex_);
  facts_.clear();
  frames_.clear();
  end_ = {};
}

void RecentReads::add(const FactsPointer& facts) {
  const std::lock_guard lock(mutex_);
  if (facts && isFresh()) {
    facts_[facts->ref] = facts;
  }
}

void RecentReads::addFrames(const ElementRef& application, const MatchedFrames& frames) {
  const std::lock_guard lock(mutex_);
  if (isFresh()) {
    frames_[application] = frames;
  }
}

FactsPointer RecentReads::find(const ElementRef& element) const {
  const std::lock_guard lock(mutex_);
  const auto found = facts_.find(element);
  return found != facts_.end() && isFresh() ? found->second : nullptr;
}

std::optional<MatchedFrames> RecentReads::frames(const ElementRef& application) const {
  const std::lock_guard lock(mutex_);
  const auto found = frames_.find(application);
  return found != frames_.end() && isFresh() ? std::optional(found->second) : std::nullopt;
}

}  // namespace jumplark::atspi
