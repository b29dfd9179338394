#include <gtest/gtest.h>

#include "backends/recorded/VirtualQueues.h"
#include "streams/CombineLatest.h"
#include "streams/NotificationCenter.h"
#include "streams/Property.h"
#include "streams/Subject.h"

namespace jumplark {
namespace {

using std::chrono::milliseconds;
using Ints = std::vector<int>;
using Operator = std::function<Observable<int>(const Observable<int>&)>;

/// Queues in virtual time, and what subscriptions have been given.
class Streams : public ::testing::Test {
 protected:
  template <typename T>
  Token collect(const Observable<T>& observable, std::vector<T>& values) {
    return observable.subscribe([&values](const T& value) { values.push_back(value); }, [this] { ++completions_; });
  }
  TaskQueue& mainQueue() { return queues_.mainQueue(); }

  VirtualQueues queues_;
  const Token installed_ = Platform::install({.queues = &queues_});
  int completions_ = 0;
};

TEST_F(Streams, operatorsPassOnWhatTheySay) {
  // Each with what comes out, and whether it completes before its source.
  const std::tuple<const char*, Operator, Ints, bool> cases[] = {
      {"map", [](const auto& o) { return o.map([](int i) { return i * 10; }); }, {10, 10, 20, 30, 30, 10}, false},
      {"filter", [](const auto& o) { return o.filter([](int i) { return i != 1; }); }, {2, 3, 3}, false},
      {"distinct", [](const auto& o) { return o.distinctUntilChanged(); }, {1, 2, 3, 1}, false},
      {"distinct by parity",
       [](const auto& o) { return o.distinctUntilChanged([](int a, int b) { return a % 2 == b % 2; }); },
       {1, 2, 3},
       false},
      {"skip", [](const auto& o) { return o.skip(4); }, {3, 1}, false},
      {"take", [](const auto& o) { return o.take(2); }, {1, 1}, true},
      {"until", [](const auto& o) { return o.takeUntil(o.filter([](int i) { return i == 3; })); }, {1, 1, 2}, true},
      {"debounce",
       [this](const auto& o) { return o.debounce(milliseconds(100), mainQueue()); },
       {1},  // the pending one
       false},
  };
  for (const auto& [name, apply, expected, completesEarly] : cases) {
    completions_ = 0;
    Subject<int> subject;
    Ints values;
    const Token token = collect(apply(subject.observe()), values);
    for (const int value : {1, 1, 2, 3, 3, 1}) {
      subject.send(value);
    }
    EXPECT_EQ(completions_, completesEarly ? 1 : 0) << name;
    subject.complete();
    subject.send(9);
    queues_.runPending();
    EXPECT_EQ(values, expected) << name;
    EXPECT_EQ(completions_, 1) << name;
  }
}

TEST_F(Streams, aPropertyGivesThePresentValueAndThenEachOneThatIsSet) {
  Property<int> property(1);
  Ints values;
  Token token = collect(property.observe(), values);
  property.set(2);
  property.set(2);
  EXPECT_EQ(property.value(), 2);
  token.reset();
  property.set(3);
  EXPECT_EQ(values, (Ints{1, 2, 2}));
  Ints first;
  const Token once = collect(property.observe().take(1), first);
  property.set(4);
  EXPECT_EQ(first, (Ints{3})) << "the value that arrives while the subscription is made counts";
}

TEST_F(Streams, whatAnObserverSetsReachesAllObserversAfterTheirPresentCallAndItMayEndItsSubscription) {
  Property<int> property(0);
  std::vector<std::string> seen;
  Token a;
  a = property.observe().skip(1).subscribe([&](const int& value) {
    seen.push_back("a" + std::to_string(value));
    property.set(value + 1);
    seen.push_back("a" + std::to_string(value) + " ends");
    if (value == 2) {
      a.reset();
    }
  });
  const Token b = property.observe().subscribe([&](const int& value) { seen.push_back("b" + std::to_string(value)); });
  property.set(1);
  EXPECT_EQ(seen, (std::vector<std::string>{"b0", "a1", "b1", "b2", "a1 ends", "a2", "b3", "a2 ends"}));
}

TEST_F(Streams, aReplaySubjectGivesLateSubscribersItsLastValueAndItsEnd) {
  ReplaySubject<int> subject;
  Ints early;
  Ints late;
  const Token a = collect(subject.observe(), early);
  subject.send(1);
  subject.send(2);
  const Token b = collect(subject.observe(), late);
  subject.complete();
  Ints afterwards;
  const Token c = collect(subject.observe(), afterwards);
  EXPECT_EQ(early, (Ints{1, 2}));
  EXPECT_EQ(late, (Ints{2}));
  EXPECT_EQ(afterwards, (Ints{2}));
  EXPECT_EQ(completions_, 3);
}

TEST_F(Streams, debouncePassesAValueAfterTheQuietInterval) {
  using Steps = std::vector<std::pair<int, int>>;  // milliseconds, and a value
  const std::tuple<const char*, Steps, Steps> cases[] = {
      {"alone", {{0, 1}}, {{100, 1}}},
      {"replaced just before its time", {{0, 1}, {99, 2}}, {{199, 2}}},
      {"passed on before the next", {{0, 1}, {101, 2}}, {{100, 1}, {201, 2}}},
      {"each newer one starts the interval anew", {{0, 1}, {60, 2}, {120, 3}, {180, 4}}, {{280, 4}}},
      {"the same value twice", {{0, 1}, {50, 1}}, {{150, 1}}},
  };
  for (const auto& [name, sent, expected] : cases) {
    Subject<int> subject;
    Steps seen;
    const Duration start = queues_.monotonicNow();
    const auto now = [&] { return static_cast<int>((queues_.monotonicNow() - start) / milliseconds(1)); };
    const Token token = subject.observe().debounce(milliseconds(100), mainQueue()).subscribe([&](const int& value) {
      EXPECT_TRUE(mainQueue().isCurrent());
      seen.emplace_back(now(), value);
    });
    for (const auto& [time, value] : sent) {
      queues_.advance(start + milliseconds(time) - queues_.monotonicNow());
      subject.send(value);
    }
    queues_.advance(milliseconds(500));
    EXPECT_EQ(seen, expected) << name;
  }
}

TEST_F(Streams, combineLatestWaitsForBothAndThenFollowsEither) {
  Subject<int> numbers;
  ReplaySubject<std::string> words;
  std::vector<std::pair<int, std::string>> seen;
  const Token token = collect(combineLatest(numbers.observe(), words.observe()), seen);
  numbers.send(1);
  EXPECT_TRUE(seen.empty());
  words.send("a");
  numbers.send(2);
  words.send("b");
  numbers.complete();
  words.send("c");
  EXPECT_EQ(completions_, 0);
  words.complete();
  EXPECT_EQ(completions_, 1);
  EXPECT_EQ(seen, (std::vector<std::pair<int, std::string>>{{1, "a"}, {2, "a"}, {2, "b"}, {2, "c"}}));
}

TEST_F(Streams, nothingIsCalledAfterTheTokenIsGone) {
  const std::pair<const char*, Operator> cases[] = {
      {"directly", [](const auto& o) { return o; }},
      {"posted", [this](const auto& o) { return o.deliverOn(mainQueue()); }},
      {"debounced", [this](const auto& o) { return o.debounce(milliseconds(10), mainQueue()); }},
      {"taken", [](const auto& o) { return o.take(5); }},
      {"combined", [](const auto& o) { return combineLatest(o, o).map([](const auto& pair) { return pair.first; }); }},
      {"until", [](const auto& o) { return o.takeUntil(Subject<int>().observe()); }},
  };
  for (const auto& [name, apply] : cases) {
    Subject<int> subject;
    Ints values;
    auto witness = std::make_shared<int>();
    Token token = apply(subject.observe()).subscribe([&values, witness](const int& value) { values.push_back(value); });
    subject.send(1);
    token.reset();
    subject.send(2);
    const size_t before = values.size();
    queues_.advance(milliseconds(100));
    subject.complete();
    queues_.runPending();
    EXPECT_EQ(values.size(), before) << name;
    EXPECT_EQ(witness.use_count(), 1) << name << ": what the observer held is let go";
  }
}

TEST_F(Streams, endingASubscriptionElsewhereWaitsForTheRunningCall) {
  Subject<int> subject;
  bool inCall = false;
  Ints values;
  Token token = subject.observe().deliverOn(queues_.highPriorityQueue()).subscribe([&](const int& value) {
    inCall = true;
    queues_.sleep(milliseconds(50));
    values.push_back(value);
    inCall = false;
  });
  subject.send(1);
  subject.send(2);
  queues_.advance(milliseconds(10));
  ASSERT_TRUE(inCall);
  token.reset();
  EXPECT_FALSE(inCall);
  queues_.advance(milliseconds(200));
  EXPECT_EQ(values, (Ints{1}));
}

TEST_F(Streams, valuesFromSeveralThreadsArriveOneAtATimeAndTheLastOneLast) {
  Property<int> property(0);
  Property<int> other(0);
  int inside = 0;  // not atomic: calls of one subscription never overlap
  std::pair<int, int> last;
  const Token token = combineLatest(property.observe(), other.observe()).subscribe([&](const auto& pair) {
    ++inside;
    last = pair;
    --inside;
  });
  const auto setAll = [](Property<int>* target) {
    for (int i = 1; i <= 2000; ++i) {
      target->set(i);
    }
  };
  std::thread background(setAll, &property);
  setAll(&other);
  background.join();
  EXPECT_EQ(inside, 0);
  EXPECT_EQ(last, (std::pair(2000, 2000)));
}

TEST(NotificationCenter, reachesObserversOfTheNameUntilTheirTokenEnds) {
  NotificationCenter center;
  std::vector<std::string> heard;
  Token second;
  const Token first = center.observe("A", [&](const Notification&) {
    heard.emplace_back("first");
    second.reset();
  });
  second = center.observe("A", [&](const Notification&) { heard.emplace_back("second"); });
  const Token other = center.observe("B", [&](const Notification&) { heard.emplace_back("other"); });
  center.post({"A", {}, {}});
  EXPECT_EQ(heard, (std::vector<std::string>{"first"})) << "removed by the observer before it";
  Token own;
  own = center.observe("C", [&](const Notification&) {
    heard.emplace_back("own");
    own.reset();
  });
  center.post({"C", {}, {}});
  center.post({"C", {}, {}});
  EXPECT_EQ(heard, (std::vector<std::string>{"first", "own"}));
}

}  // namespace
}  // namespace jumplark
