#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"

namespace jumplark::atspi {

/// Asks an application, in one go, all that its last snapshot asked, and serves this snapshot's questions from the
/// answers. Questions that build on the answers to others take a round each; between two rounds GTK draws, and when its
/// window has just lost the keyboard, a picture takes as long as all questions together. Asked at once they come before
/// the first picture. What is new is asked as usual; what nobody asks any more was asked in vain.
///
/// A field may have become a password's since the last time. So texts and values follow the answer of the cache, which
/// tells the roles, while all other questions are still under way; without it they are not replayed.
///
/// Used by one thread at a time.
class ReplayedCalls final : public CallRunner {
 public:
  using Calls = std::shared_ptr<const std::vector<MethodCall>>;

  /// The calls are under way from here on. The runner outlives this and its waits.
  ReplayedCalls(CallRunner& runner, Calls lastTime, TimePoint deadline);

  std::vector<Reply> run(std::vector<MethodCall> calls, TimePoint deadline) override;
  Wait begin(std::vector<MethodCall> calls, TimePoint deadline) override;

  /// All that was asked of this, in that order: what to replay next time.
  const std::vector<MethodCall>& asked() const { return asked_; }

 private:
  /// Some of the calls, under way together.
  struct Part {
    std::vector<size_t> calls;  ///< which of the last time's
    Wait wait;
    std::vector<Reply> replies;
  };
  /// Where the answer to a replayed call will be.
  struct Place {
    Part* part = nullptr;
    size_t index = 0;
  };

  void start(Part& part);
  static const std::vector<Reply>& repliesOf(Part& part);
  /// At the first question: asks for contents, and notes where each answer will be.
  void prepareToAnswer();
  void findPlaces(Part& part);
  /// Each replayed call answers one question; no part for what was not replayed.
  Place claim(const MethodCall& call);

  CallRunner& runner_;
  const Calls lastTime_;
  const TimePoint deadline_;
  bool prepared_ = false;
  Part cache_;
  Part facts_;
  Part contents_;
  std::unordered_map<std::string, std::vector<Place>> places_;  ///< of calls that nobody has asked yet, last first
  std::vector<MethodCall> asked_;
};

/// What to replay, by application, of the last few that were read. Calls may come from any thread.
class Replays {
 public:
  explicit Replays(CallRunner& runner) : runner_(runner) {}

  /// Begins one that take() will be asked for soon. Waits for nothing.
  void begin(const std::string& busName, TimePoint deadline);
  /// What was begun a moment ago, else one that begins now; it replays nothing at the first snapshot.
  std::unique_ptr<ReplayedCalls> take(const std::string& busName, TimePoint deadline);
  /// Forgets what was begun.
  void drop();
  void keep(const std::string& busName, std::vector<MethodCall> asked);

 private:
  ReplayedCalls::Calls lastTime(const std::string& busName) const;

  CallRunner& runner_;
  mutable std::mutex mutex_;
  std::unordered_map<std::string, ReplayedCalls::Calls> asked_;
  std::string begunFor_;
  TimePoint begunAt_;
  std::unique_ptr<ReplayedCalls> begun_;
};

}  // namespace jumplark::atspi
