#include "app/AppFixture.h"
#include "app/JLUpdateChecker.h"

namespace jumplark::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr const char* kAddress = "https://updates.example.org/updates/12.xml";

std::string item(const std::string& version) {
  return "<item><description>Notes of " + version + "</description><link>https://example.org/" + version +
         "</link><enclosure version='" + version + "'/></item>";
}

/// The program has version 1.2.
class UpdateChecker : public AppDesktop {
 protected:
  UpdateChecker() { desktop->facts().applicationFacts.version = "1.2"; }

  void serveItems(const std::string& items) { serve(200, "<rss><channel>" + items + "</channel></rss>"); }
  void start(const std::string& address = kAddress) {
    checker.emplace();
    checker->setFeedAddress(address);
  }
  void ask() {
    checker->checkForUpdates();
    run(1s);
  }
  void press(const std::string& button) {
    const auto& buttons = window()->model.buttons;
    const auto at = std::ranges::find(buttons, button);
    ASSERT_NE(at, buttons.end()) << button;
    desktop->appViews().answerUpdate(static_cast<int>(at - buttons.begin()));
    run();
  }
  std::shared_ptr<RecordedAppViews::ShownUpdate> window() { return desktop->appViews().update(); }
  size_t requests() { return desktop->http().requests().size(); }

  std::optional<JLUpdateChecker> checker;
};

TEST_F(UpdateChecker, tellsTheUserWhatCameOfTheQuestion) {
  const std::tuple<const char*, std::string, const char*, const char*> cases[] = {
      {"newer", item("1.1") + item("1.10") + item("1.9"), "A new version of Jumplark is available",
       "Jumplark 1.10 is available. This is version 1.2."},
      {"the same", item("1.2.0"), "Jumplark is up to date", "Version 1.2 is the newest one."},
      {"older", item("1.1"), "Jumplark is up to date", "Version 1.2 is the newest one."},
      {"not final", item("1.3-beta"), "Jumplark is up to date", "Version 1.2 is the newest one."},
      {"no feed", "<", "Jumplark could not look for updates", "What the update server sent cannot be read."},
  };
  start();
  for (const auto& [what, items, title, text] : cases) {
    SCOPED_TRACE(what);
    serveItems(items);
    ask();
    ASSERT_TRUE(window());
    EXPECT_EQ(window()->model.title, title);
    EXPECT_EQ(window()->model.text, text);
    EXPECT_TRUE(window()->tookKeyboard);
    desktop->appViews().answerUpdate(-1);
    run();
    EXPECT_FALSE(window());
  }
  desktop->http().setResponder(nullptr);
  ask();
  EXPECT_THAT(window()->model.text, HasSubstr("cannot be reached"));
  for (const HttpRequest& request : desktop->http().requests()) {
    EXPECT_EQ(request.address, kAddress);
    EXPECT_TRUE(request.encryptedOnly);
  }
}

TEST_F(UpdateChecker, offersWhereTheVersionIsToBeHad) {
  serveItems(item("1.3"));
  start();
  ask();
  EXPECT_EQ(window()->model.notes, "Notes of 1.3");
  EXPECT_THAT(window()->model.buttons, ElementsAre("Open Download Page", "Remind Me Later", "Skip This Version"));
  ask();
  EXPECT_EQ(requests(), 1U) << "it is on screen already";
  EXPECT_EQ(window()->timesShown, 3);
  press("Open Download Page");
  EXPECT_THAT(desktop->services().opened, ElementsAre("https://example.org/1.3"));
  EXPECT_FALSE(window());
  serveItems("<item><link>http://example.org/</link><enclosure version='1.4'/></item>");
  ask();
  EXPECT_THAT(window()->model.buttons, ElementsAre("Remind Me Later", "Skip This Version"));
}

TEST_F(UpdateChecker, canBeCancelledWhileItWaits) {
  serveItems(item("1.3"));
  desktop->http().setDelay(10s);
  start();
  ask();
  EXPECT_TRUE(window()->model.isBusy);
  press("Cancel");
  EXPECT_FALSE(window());
  run(1min);
  EXPECT_FALSE(window()) << "the late answer is nobody's";
  // What was pressed before the answer came does not count for what it brought.
  checker->checkForUpdates();
  run(9s);
  desktop->queues().mainQueue().post([this] { desktop->appViews().answerUpdate(0); });
  run(1min);
  EXPECT_TRUE(desktop->services().opened.empty());
}

TEST_F(UpdateChecker, asksByItselfOnceADayAndOnlyWhereThatIsSwitchedOn) {
  serveItems(item("1.2"));
  start();
  run(72h);
  EXPECT_EQ(requests(), 0U);
  ask();
  EXPECT_FALSE(window()->model.isOptionOn);
  window()->callbacks.optionToggled(true);
  run(1s);
  EXPECT_TRUE(window()->model.isOptionOn);
  press("OK");
  run(60h);
  EXPECT_EQ(requests(), 1U + 3U);
  EXPECT_FALSE(window()) << "no news";
  checker.reset();
  start();
  run(1h);
  EXPECT_EQ(requests(), 4U) << "another start is no other day";
  desktop->http().setResponder(nullptr);
  run(24h);
  EXPECT_FALSE(window()) << "no complaint either";

  serveItems(item("1.3"));
  run(24h);
  ASSERT_TRUE(window());
  EXPECT_FALSE(window()->tookKeyboard);
  press("Skip This Version");
  run(24h);
  EXPECT_FALSE(window());
  ask();
  EXPECT_THAT(window()->model.text, HasSubstr("1.3")) << "but the user is told";
  press("Remind Me Later");
  serveItems(item("1.3") + item("1.4"));
  run(24h);
  ASSERT_TRUE(window());
  EXPECT_THAT(window()->model.text, HasSubstr("1.4"));
  press("Remind Me Later");
  desktop->defaults().setValue(JLUpdateChecker::automaticKey, false);
  const size_t before = requests();
  run(72h);
  EXPECT_EQ(requests(), before);
}

TEST_F(UpdateChecker, withoutAnAddressNothingIsAsked) {
  desktop->defaults().setValue(JLUpdateChecker::automaticKey, true);
  start("");
  run(72h);
  EXPECT_FALSE(window());
  ask();
  EXPECT_THAT(window()->model.text, HasSubstr("does not look for updates"));
  EXPECT_EQ(window()->model.option, "");
  EXPECT_EQ(requests(), 0U);
}

}  // namespace
}  // namespace jumplark::testing
