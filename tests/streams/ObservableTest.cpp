#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "streams/CombineLatest.h"
#include "streams/Property.h"
#include "streams/StreamsFixture.h"
#include "streams/Subject.h"

namespace jumplark {
namespace {

using std::chrono::milliseconds;
using Ints = std::vector<int>;

class ObservableTest : public testing::StreamsFixture {};

TEST_F(ObservableTest, OperatorsPassOnWhatTheySay) {
  using Operator = std::function<Observable<int>(const Observable<int>&)>;
  struct Case {
    const char* name;
    Operator apply;
    Ints expected;
    bool completesEarly;
  };
  const std::vector<Case> cases = {
      {"map", [](const auto& o) { return o.map([](int i) { return i * 10; }); }, {10, 10, 20, 30, 30, 10}, false},
      {"filter", [](const auto& o) { return o.filter([](int i) { return i != 1; }); }, {2, 3, 3}, false},
      {"distinct", [](const auto& o) { return o.distinctUntilChanged(); }, {1, 2, 3, 1}, false},
      {"distinct by parity",
       [](const auto& o) { return o.distinctUntilChanged([](int a, int b) { return a % 2 == b % 2; }); },
       {1, 2, 3},
       false},
      {"skip", [](const auto& o) { return o.skip(4); }, {3, 1}, false},
      {"take", [](const auto& o) { return o.take(2); }, {1, 1}, true},
      {"take of the first only",
       [](const auto& o) { return o.filter([](int i) { return i == 3; }).take(1); },
       {3},
       true},
  };
  for (const Case& c : cases) {
    completions_ = 0;
    Subject<int> subject;
    Ints values;
    const Token token = collect(c.apply(subject.observe()), values);
    for (const int value : {1, 1, 2, 3, 3, 1}) {
      subject.send(value);
    }
    EXPECT_EQ(values, c.expected) << c.name;
    EXPECT_EQ(completions_, c.completesEarly ? 1 : 0) << c.name;
    subject.complete();
    subject.send(9);
    EXPECT_EQ(values, c.expected) << c.name;
    EXPECT_EQ(completions_, 1) << c.name;
  }
}

TEST_F(ObservableTest, APropertyGivesThePresentValueAndThenEachOneThatIsSet) {
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

TEST_F(ObservableTest, WhatAnObserverSetsReachesAllObserversAfterTheirPresentCall) {
  Property<int> property(0);
  std::vector<std::string> seen;
  const auto watch = [&](const std::string& name) {
    return property.observe().subscribe([&, name](const int& value) {
      seen.push_back(name + std::to_string(value));
      if (name == "a" && value == 1) {
        property.set(2);
        seen.emplace_back("a1 ends");
      }
    });
  };
  const Token a = watch("a");
  const Token b = watch("b");
  property.set(1);
  EXPECT_EQ(seen, (std::vector<std::string>{"a0", "b0", "a1", "b1", "b2", "a1 ends", "a2"}));
}

TEST_F(ObservableTest, AReplaySubjectGivesLateSubscribersItsLastValueAndItsEnd) {
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

TEST_F(ObservableTest, DebouncePassesAValueAfterTheQuietInterval) {
  struct Step {
    int at;  ///< milliseconds
    int value;
    bool operator==(const Step&) const = default;
  };
  struct Case {
    const char* name;
    std::vector<Step> sent;
    std::vector<Step> expected;
  };
  const std::vector<Case> cases = {
      {"alone", {{0, 1}}, {{100, 1}}},
      {"replaced just before its time", {{0, 1}, {99, 2}}, {{199, 2}}},
      {"passed on before the next", {{0, 1}, {101, 2}}, {{100, 1}, {201, 2}}},
      {"each newer one starts the interval anew", {{0, 1}, {60, 2}, {120, 3}, {180, 4}}, {{280, 4}}},
      {"the same value twice", {{0, 1}, {50, 1}}, {{150, 1}}},
  };
  for (const Case& c : cases) {
    Subject<int> subject;
    std::vector<Step> seen;
    const Duration start = queues_.monotonicNow();
    const auto now = [&] { return static_cast<int>((queues_.monotonicNow() - start) / milliseconds(1)); };
    const Token token = subject.observe().debounce(milliseconds(100), mainQueue()).subscribe([&](const int& value) {
      EXPECT_TRUE(mainQueue().isCurrent());
      seen.push_back({now(), value});
    });
    for (const Step& step : c.sent) {
      queues_.advance(start + milliseconds(step.at) - queues_.monotonicNow());
      subject.send(step.value);
    }
    queues_.advance(milliseconds(500));
    EXPECT_EQ(seen, c.expected) << c.name;
  }
  Subject<int> subject;
  Ints values;
  Token token = collect(subject.observe().debounce(milliseconds(100), mainQueue()), values);
  subject.send(1);
  subject.complete();
  queues_.runPending();
  EXPECT_EQ(values, (Ints{1})) << "completion does not lose the pending one";
  EXPECT_EQ(completions_, 1);
}

TEST_F(ObservableTest, CombineLatestWaitsForBothAndThenFollowsEither) {
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

TEST_F(ObservableTest, TakeUntilEndsWithTheFirstValueOfTheOther) {
  Subject<int> subject;
  Subject<std::string> stop;
  Ints values;
  const Token token = collect(subject.observe().takeUntil(stop.observe()), values);
  subject.send(1);
  stop.send("now");
  stop.send("again");
  subject.send(2);
  EXPECT_EQ(values, (Ints{1}));
  EXPECT_EQ(completions_, 1);
}

}  // namespace
}  // namespace jumplark
