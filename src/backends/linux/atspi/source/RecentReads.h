#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "backends/linux/atspi/bus/MethodCall.h"
#include "backends/linux/atspi/element/ElementFacts.h"
#include "backends/linux/atspi/reading/FrameMatching.h"

namespace jumplark::atspi {

/// The frames of an application as they were told a moment ago, each with its window where it has one.
struct MatchedFrames {
  std::vector<FrameFacts> frames;
  std::vector<MatchedFrame> matched;
  bool hasWindows = false;
};

/// What was read a moment ago, so that it is not asked again for each attribute. Holds for 300 ms from start(); empty
/// before and after. May be used from any thread.
class RecentReads {
 public:
  static constexpr std::chrono::milliseconds kFresh{300};

  void start();
  void end();
  /// Nothing happens unless reads are being remembered.
  void add(const FactsPointer& facts);
  void addFrames(const ElementRef& application, const MatchedFrames& frames);
  FactsPointer find(const ElementRef& element) const;
  std::optional<MatchedFrames> frames(const ElementRef& application) const;

 private:
  bool isFresh() const { return Clock::now() < end_; }

  mutable std::mutex mutex_;  ///< leaf
  TimePoint end_{};
  std::unordered_map<ElementRef, FactsPointer, ElementRefHash> facts_;
  std::unordered_map<ElementRef, MatchedFrames, ElementRefHash> frames_;
};

}  // namespace jumplark::atspi
