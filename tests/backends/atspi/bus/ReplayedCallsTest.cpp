#include "backends/linux/atspi/bus/ReplayedCalls.h"

#include <gmock/gmock.h>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const AtspiHandle kEntry(":1.7", "/entry");
const AtspiHandle kSecret(":1.7", "/secret");
const AtspiHandle kUnlisted(":1.7", "/unlisted");

/// Answers names by what it was asked, and notes what that was.
class Answering : public CallRunner {
 public:
  std::vector<Reply> run(std::vector<MethodCall> calls, TimePoint /*deadline*/) override {
    std::vector<Reply> replies;
    for (const MethodCall& call : calls) {
      asked.push_back(call.path + ' ' + call.member);
      replies.push_back({AccessibilityError::success, "answer " + std::to_string(asked.size())});
      if (std::string_view(call.member) == "GetItems") {
        replies.back().value = std::vector<CacheItem>{item("/entry", role::entry), item("/secret", role::passwordText)};
      }
    }
    return replies;
  }

  std::vector<std::string> asked;

 private:
  static CacheItem item(const char* path, uint32_t role) {
    CacheItem item;
    item.element = makeRef(":1.7", path);
    item.role = role;
    return item;
  }
};

MethodCall nameOf(const AtspiHandle& element) {
  return calls::name(element).call;
}

MethodCall textOf(const AtspiHandle& element) {
  return calls::text(element, 0, 5).call;
}

ReplayedCalls::Calls lastTime(std::vector<MethodCall> calls) {
  return std::make_shared<const std::vector<MethodCall>>(std::move(calls));
}

std::string answer(CallRunner& runner, const MethodCall& call) {
  return std::get<std::string>(runner.run({call}, Clock::now())[0].value);
}

TEST(ReplayedCalls, answersFromWhatWasAskedAtOnceAndAsksTheRest) {
  Answering application;
  ReplayedCalls replayed(application, lastTime({nameOf(kEntry), nameOf(kEntry), nameOf(kSecret)}), Clock::now());
  const auto before = application.asked;
  EXPECT_EQ(before.size(), 3U) << "all is under way before anybody asks";
  const auto replies = replayed.run({nameOf(kUnlisted), nameOf(kSecret), nameOf(kEntry)}, Clock::now());
  EXPECT_THAT(application.asked, ElementsAre(before[0], before[1], before[2], "/unlisted Get"));
  EXPECT_EQ(std::get<std::string>(replies[0].value), "answer 4");
  EXPECT_EQ(std::get<std::string>(replies[1].value), "answer 3");
  EXPECT_EQ(std::get<std::string>(replies[2].value), "answer 1");
  // Who asks twice wants to know anew.
  EXPECT_EQ(answer(replayed, nameOf(kEntry)), "answer 2");
  EXPECT_EQ(answer(replayed, nameOf(kEntry)), "answer 5");
  EXPECT_EQ(replayed.asked().size(), 5U);
}

TEST(ReplayedCalls, neverAskForTheContentOfWhatIsOrMayBeASecret) {
  const MethodCall cache = calls::cacheItems(":1.7").call;
  const std::vector<MethodCall> all = {textOf(kSecret),   calls::characterCount(kSecret).call,
                                       textOf(kUnlisted), calls::currentValue(kSecret).call,
                                       textOf(kEntry),    cache};
  Answering application;
  ReplayedCalls replayed(application, lastTime(all), Clock::now());
  replayed.run({nameOf(kEntry)}, Clock::now());
  EXPECT_THAT(application.asked, ElementsAre("/org/a11y/atspi/cache GetItems", "/entry GetText", "/entry Get"));

  Answering withoutCache;
  ReplayedCalls blind(withoutCache, lastTime({textOf(kEntry), textOf(kSecret)}), Clock::now());
  blind.begin({}, Clock::now())();
  EXPECT_THAT(withoutCache.asked, IsEmpty());
}

TEST(Replays, beginEarlyAndGoOnWithThat) {
  Answering application;
  Replays replays(application);
  EXPECT_THAT(replays.take(":1.7", Clock::now())->asked(), IsEmpty());
  replays.keep(":1.7", {nameOf(kEntry)});

  replays.begin(":1.7", Clock::now());
  EXPECT_EQ(application.asked.size(), 1U);
  EXPECT_EQ(answer(*replays.take(":1.7", Clock::now()), nameOf(kEntry)), "answer 1");
  // What was begun is used once, and for its application only.
  EXPECT_EQ(answer(*replays.take(":1.7", Clock::now()), nameOf(kEntry)), "answer 2");
  replays.begin(":1.7", Clock::now());
  replays.take(":1.8", Clock::now());
  EXPECT_EQ(application.asked.size(), 3U);
  replays.drop();
  EXPECT_EQ(answer(*replays.take(":1.7", Clock::now()), nameOf(kEntry)), "answer 4");
}

}  // namespace
}  // namespace jumplark::atspi
