#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "backends/recorded/VirtualQueues.h"
#include "streams/NotificationCenter.h"
#include "streams/Stream.h"

namespace jumplark {
namespace {

Platform platformWith(Queues& queues) {
  Platform platform;
  platform.queues = &queues;
  return platform;
}

TEST(Stream, RunsItsProducerForEachSubscriberOnly) {
  VirtualQueues queues;
  const Token installed = Platform::install(platformWith(queues));
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
