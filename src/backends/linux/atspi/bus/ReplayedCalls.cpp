#include "backends/linux/atspi/bus/ReplayedCalls.h"

#include <chrono>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <utility>

#include "backends/linux/atspi/element/FactsWorthReading.h"

namespace jumplark::atspi {
namespace {

/// Answers that are older are not what shows any more.
constexpr auto kFresh = std::chrono::milliseconds(500);
/// Windows that take more questions are read without replay: too much of it would be in vain.
constexpr size_t kMostCalls = 8000;
constexpr size_t kMostApplications = 4;

void append(std::string& key, const Argument& argument) {
  key += '\n';
  std::visit(
      [&key](const auto& value) {
        using T = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<T, std::string>) {
          key += value;
        } else if constexpr (std::is_same_v<T, std::vector<std::string>>) {
          for (const std::string& text : value) {
            key += text + '\t';
          }
        } else if constexpr (std::is_same_v<T, MatchRule>) {
          key += std::to_string(value.states) + '/' + std::to_string(static_cast<int>(value.matchStates));
          for (const uint32_t role : value.roles) {
            key += '/' + std::to_string(role);
          }
        } else {
          key += std::to_string(value);
        }
      },
      argument);
}

std::string keyOf(const MethodCall& call) {
  std::string key = call.path + '\n' + call.interface + '.' + call.member;
  for (const Argument& argument : call.arguments) {
    append(key, argument);
  }
  return key;
}

bool isOf(const MethodCall& call, std::string_view interface) {
  const auto* property = call.arguments.empty() ? nullptr : std::get_if<std::string>(&call.arguments.front());
  return call.interface == interface || (property && *property == interface);
}

bool asksForContent(const MethodCall& call) {
  return isOf(call, "org.a11y.atspi.Text") || isOf(call, "org.a11y.atspi.Value");
}

bool asksForCache(const MethodCall& call) {
  return std::string_view(call.interface) == "org.a11y.atspi.Cache";
}

/// The paths of elements whose content anybody may read.
std::unordered_set<std::string> pathsWithoutSecret(const std::vector<Reply>& cache) {
  std::unordered_set<std::string> paths;
  for (const Reply& reply : cache) {
    const auto* items = std::get_if<std::vector<CacheItem>>(&reply.value);
    for (const CacheItem& item : items ? *items : std::vector<CacheItem>()) {
      ElementFacts facts;
      facts.role = item.role;
      if (!mayHoldSecret(facts)) {
        paths.insert(handleOf(item.element)->path());
      }
    }
  }
  return paths;
}

}  // namespace

ReplayedCalls::ReplayedCalls(CallRunner& runner, Calls lastTime, TimePoint deadline)
    : runner_(runner), lastTime_(std::move(lastTime)), deadline_(deadline) {
  for (size_t i = 0; i < lastTime_->size(); ++i) {
    const MethodCall& call = (*lastTime_)[i];
    Part& part = asksForCache(call) ? cache_ : asksForContent(call) ? contents_ : facts_;
    part.calls.push_back(i);
  }
  start(cache_);
  start(facts_);
}

void ReplayedCalls::start(Part& part) {
  if (part.calls.empty()) {
    return;
  }
  std::vector<MethodCall> calls;
  calls.reserve(part.calls.size());
  for (const size_t call : part.calls) {
    calls.push_back((*lastTime_)[call]);
  }
  part.wait = runner_.begin(std::move(calls), deadline_);
}

void ReplayedCalls::findPlaces(Part& part) {
  for (size_t i = part.calls.size(); i > 0; --i) {
    places_[keyOf((*lastTime_)[part.calls[i - 1]])].push_back({&part, i - 1});
  }
}

const std::vector<Reply>& ReplayedCalls::repliesOf(Part& part) {
  if (part.wait) {
    part.replies = std::exchange(part.wait, {})();
  }
  return part.replies;
}

void ReplayedCalls::prepareToAnswer() {
  if (std::exchange(prepared_, true)) {
    return;
  }
  if (!contents_.calls.empty()) {
    const auto readable = pathsWithoutSecret(repliesOf(cache_));
    std::erase_if(contents_.calls, [&](size_t call) { return !readable.contains((*lastTime_)[call].path); });
    start(contents_);
  }
  for (Part* part : {&cache_, &facts_, &contents_}) {
    findPlaces(*part);
  }
}

ReplayedCalls::Place ReplayedCalls::claim(const MethodCall& call) {
  const auto found = places_.find(keyOf(call));
  if (found == places_.end() || found->second.empty()) {
    return {};
  }
  const Place place = found->second.back();
  found->second.pop_back();
  return place;
}

std::vector<Reply> ReplayedCalls::run(std::vector<MethodCall> calls, TimePoint deadline) {
  return begin(std::move(calls), deadline)();
}

CallRunner::Wait ReplayedCalls::begin(std::vector<MethodCall> calls, TimePoint deadline) {
  prepareToAnswer();
  asked_.insert(asked_.end(), calls.begin(), calls.end());
  std::vector<Place> places;
  std::vector<MethodCall> others;
  places.reserve(calls.size());
  for (MethodCall& call : calls) {
    places.push_back(claim(call));
    if (!places.back().part) {
      others.push_back(std::move(call));
    }
  }
  Wait waitForOthers = others.empty() ? Wait() : runner_.begin(std::move(others), deadline);
  return [places = std::move(places), waitForOthers = std::move(waitForOthers)] {
    std::vector<Reply> asked = waitForOthers ? waitForOthers() : std::vector<Reply>();
    auto next = asked.begin();
    std::vector<Reply> replies;
    replies.reserve(places.size());
    for (const Place& place : places) {
      if (place.part) {
        repliesOf(*place.part);
      }
      replies.push_back(std::move(place.part ? place.part->replies[place.index] : *next++));
    }
    return replies;
  };
}

ReplayedCalls::Calls Replays::lastTime(const std::string& busName) const {
  const auto found = asked_.find(busName);
  return found == asked_.end() ? std::make_shared<const std::vector<MethodCall>>() : found->second;
}

void Replays::begin(const std::string& busName, TimePoint deadline) {
  const std::lock_guard lock(mutex_);
  begun_ = std::make_unique<ReplayedCalls>(runner_, lastTime(busName), deadline);
  begunFor_ = busName;
  begunAt_ = Clock::now();
}

std::unique_ptr<ReplayedCalls> Replays::take(const std::string& busName, TimePoint deadline) {
  const std::lock_guard lock(mutex_);
  if (begun_ && begunFor_ == busName && Clock::now() - begunAt_ < kFresh) {
    return std::move(begun_);
  }
  return std::make_unique<ReplayedCalls>(runner_, lastTime(busName), deadline);
}

void Replays::drop() {
  const std::lock_guard lock(mutex_);
  begun_.reset();
}

void Replays::keep(const std::string& busName, std::vector<MethodCall> asked) {
  const std::lock_guard lock(mutex_);
  if (asked.size() > kMostCalls) {
    asked_.erase(busName);
    return;
  }
  if (asked_.size() >= kMostApplications && !asked_.contains(busName)) {
    asked_.clear();
  }
  asked_[busName] = std::make_shared<const std::vector<MethodCall>>(std::move(asked));
}

}  // namespace jumplark::atspi
