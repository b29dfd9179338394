#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "streams/CombineLatest.h"
#include "streams/NotificationCenter.h"
#include "streams/Stream.h"
#include "streams/StreamsFixture.h"
#include "streams/Subject.h"

namespace jumplark {
namespace {

using std::chrono::milliseconds;
using Ints = std::vector<int>;

class SubscriptionTest : public testing::StreamsFixture {};

TEST_F(SubscriptionTest, NothingIsCalledAfterTheTokenIsGone) {
  const std::vector<std::pair<const char*, std::function<Observable<int>(const Observable<int>&)>>> cases = {
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

TEST_F(SubscriptionTest, AnObserverMayEndItsOwnSubscription) {
  Property<int> property(1);
  Ints values;
  Token token;
  token = property.observe().skip(1).subscribe([&](const int& value) {
    values.push_back(value);
    token.reset();
    property.set(value + 1);
  });
  property.set(2);
  EXPECT_EQ(values, (Ints{2}));
}

TEST_F(SubscriptionTest, EndingASubscriptionElsewhereWaitsForTheRunningCall) {
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

TEST_F(SubscriptionTest, ValuesFromSeveralThreadsArriveOneAtATimeAndTheLastOneLast) {
  Property<int> property(0);
  Property<int> other(0);
  int inside = 0;  // not atomic: calls of one subscription never overlap
  std::pair<int, int> last;
  const Token token = combineLatest(property.observe(), other.observe()).subscribe([&](const auto& pair) {
    ++inside;
    last = pair;
    --inside;
  });
  const auto sender = [](Property<int>& target) {
    return [&target] {
      for (int i = 1; i <= 2000; ++i) {
        target.set(i);
      }
    };
  };
  std::thread first(sender(property));
  std::thread second(sender(other));
  first.join();
  second.join();
  EXPECT_EQ(inside, 0);
  EXPECT_EQ(last, (std::pair(2000, 2000)));
}

TEST_F(SubscriptionTest, OfAStreamRunsItsProducerForEachSubscriberOnly) {
  int runs = 0;
  const auto stream = Stream<int>::create([&runs](const auto& next, const auto& completed) {
    ++runs;
    for (int i = 1; i <= 4; ++i) {
      next(i);
    }
    completed();
  });
  const auto even = stream.filter([](int i) { return i % 2 == 0; }).map([](int i) { return std::to_string(i); });
  EXPECT_EQ(runs, 0);
  EXPECT_EQ(even.collect(), (std::vector<std::string>{"2", "4"}));
  EXPECT_EQ(even.collect(), (std::vector<std::string>{"2", "4"}));
  EXPECT_EQ(runs, 2);
}

TEST(NotificationCenter, ReachesObserversOfTheNameUntilTheirTokenEnds) {
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
