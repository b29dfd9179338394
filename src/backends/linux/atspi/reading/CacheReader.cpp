#include "backends/linux/atspi/reading/CacheReader.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <utility>
#include <variant>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"

namespace jumplark::atspi {
namespace {

/// What a walk of a window of ordinary size takes; and short enough that a silent application is found out as such
/// within the time that one activation may wait for it.
constexpr auto kPatience = std::chrono::milliseconds(300);
constexpr auto kTryOutPatience = std::chrono::seconds(2);
/// An answer that may be asked for before anything else without holding that up.
constexpr auto kQuick = std::chrono::milliseconds(100);
constexpr auto kUnreadablePause = std::chrono::minutes(1);

}  // namespace

CallRunner::Wait CacheReader::begin(CallRunner& runner, const Toolkit& toolkit, const std::string& busName) {
  if (isToBeWalked(toolkit, busName)) {
    return {};
  }
  if (!experiences_.of(busName, [](const Experience& known) { return known.hasQuickCache; })) {
    return {};
  }
  std::vector<MethodCall> calls;
  calls.push_back(calls::cacheItems(busName).call);
  return runner.begin(std::move(calls), Clock::now() + kPatience);
}

AccessibilityResult<std::vector<CacheItem>> CacheReader::ask(CallRunner& runner, const std::string& busName,
                                                             TimePoint deadline) {
  const TimePoint started = Clock::now();
  auto items = callOnce(runner, calls::cacheItems(busName), deadline);
  if (items.ok() && Clock::now() - started < kQuick) {
    experiences_.of(busName, [](Experience& known) { known.hasQuickCache = true; });
  }
  return items;
}

std::shared_ptr<const CachedTree> CacheReader::read(CallRunner& runner, const Toolkit& toolkit,
                                                    const std::string& busName, const std::vector<ElementRef>& frames,
                                                    TimePoint deadline, const CallRunner::Wait& begun) {
  if (isToBeWalked(toolkit, busName)) {
    return nullptr;
  }
  std::vector<Reply> early = begun ? begun() : std::vector<Reply>();
  auto* found = early.empty() ? nullptr : std::get_if<std::vector<CacheItem>>(&early[0].value);
  const bool answered = found && early[0].error == AccessibilityError::success;
  auto items = answered ? AccessibilityResult<std::vector<CacheItem>>(std::move(*found))
                        : ask(runner, busName, std::min(deadline, Clock::now() + kPatience));
  if (items.error == AccessibilityError::cannotComplete) {
    noteSlow(busName);
  } else if (items.error == AccessibilityError::failure) {
    spdlog::debug("The cache of {} cannot be read", busName);
    experiences_.of(busName, [](Experience& known) { known.cacheUnreadableUntil = Clock::now() + kUnreadablePause; });
  }
  if (!items.ok()) {
    return nullptr;
  }
  auto tree = std::make_shared<const CachedTree>(std::move(items.value));
  const bool holdsAny = std::any_of(frames.begin(), frames.end(), [&](const auto& f) { return tree->find(f); });
  return holdsAny ? tree : nullptr;
}

void CacheReader::tryOut(CallRunner& runner, const Toolkit& toolkit, const std::string& busName) {
  if (isToBeWalked(toolkit, busName)) {
    return;
  }
  const TimePoint start = Clock::now();
  const auto items = ask(runner, busName, start + kTryOutPatience);
  if (items.error == AccessibilityError::cannotComplete || Clock::now() - start > kPatience) {
    noteSlow(busName);
  }
}

bool CacheReader::isToBeWalked(const Toolkit& toolkit, const std::string& busName) const {
  return !toolkit.keepsCache() || experiences_.of(busName, [](const Experience& known) {
    return known.hasSlowCache || Clock::now() < known.cacheUnreadableUntil;
  });
}

void CacheReader::noteSlow(const std::string& busName) {
  spdlog::debug("The cache of {} is too slow", busName);
  experiences_.of(busName, [](Experience& known) { known.hasSlowCache = true; });
}

}  // namespace jumplark::atspi
