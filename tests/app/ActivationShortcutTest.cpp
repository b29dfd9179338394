#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "app/JLPreferencesController.h"
#include "app/ShortcutRecord.h"
#include "platform/Input.h"
#include "support/RecordedFixture.h"

namespace jumplark {
namespace {

using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::RecordedFixture;

constexpr const char* kKey = JLPreferencesController::activationShortcutKey;
const Shortcut kDefault{49, 0x120000};
const Shortcut kControlAltSpace{49, 0xC0000};
const Shortcut kOther{key_code::symbolBase + 'j', modifier_flag::command};

class ActivationShortcut : public ::testing::Test {
 protected:
  void start() {
    controller_.emplace([this] {
      ++presses_;
      return isActive_;
    });
    controller_->setupPreferences();
    run();
  }
  void run(std::chrono::nanoseconds duration = {}) { desktop_->queues().advance(duration); }
  void set(const DefaultsValue& record) {
    desktop_->defaults().setValue(kKey, record);
    run();
  }
  bool press(const Shortcut& shortcut) {
    const bool registered = shortcuts().press(shortcut);
    run();
    return registered;
  }
  RecordedShortcuts& shortcuts() { return desktop_->shortcuts(); }
  const std::vector<Alert>& alerts() { return desktop_->views().alerts(); }
  void answer(int button) {
    desktop_->views().answerAlert(button);
    run();
  }

  RecordedFixture desktop_{R"({"elements":{}})"};
  int presses_ = 0;
  bool isActive_ = true;
  std::optional<JLPreferencesController> controller_;
};

TEST_F(ActivationShortcut, AFreshStartStoresTheDefaultAndAValidRecordIsKept) {
  start();
  EXPECT_EQ(desktop_->defaults().storedValue(kKey), (DefaultsValue{{"KeyCode", 49}, {"ModifierFlags", 0x120000}}));
  EXPECT_EQ(desktop_->defaults().synchronizeCount(), 1);
  EXPECT_TRUE(desktop_->defaults().boolean("ShowMenuBarIcon") && desktop_->defaults().boolean("MetricsEnabled"));
  EXPECT_TRUE(desktop_->defaults().storedValue("ShowMenuBarIcon").is_null());
  EXPECT_TRUE(press(kDefault));
  isActive_ = false;
  EXPECT_TRUE(press(kDefault));
  EXPECT_EQ(presses_, 2);
  EXPECT_THAT(shortcuts().answers(), ElementsAre(true, false));

  controller_.reset();
  EXPECT_THAT(shortcuts().registered(), ElementsAre()) << "gone with the controller";
  set(recordOfShortcut(kOther));
  start();
  EXPECT_THAT(shortcuts().registered(), ElementsAre(kOther));
  EXPECT_EQ(desktop_->defaults().synchronizeCount(), 1);
}

TEST_F(ActivationShortcut, WhatIsNoRecordIsReplacedByTheDefaultAtTheStart) {
  for (const char* broken :
       {R"("Super+Space")", "49", "[49,1]", "{}", R"({"KeyCode":49})", R"({"ModifierFlags":1})",
        R"({"KeyCode":-1,"ModifierFlags":262144})", R"({"KeyCode":1.5,"ModifierFlags":262144})",
        R"({"KeyCode":true,"ModifierFlags":262144})", R"({"KeyCode":"49","ModifierFlags":262144})",
        R"({"KeyCode":99999999999,"ModifierFlags":262144})", R"({"KeyCode":49,"ModifierFlags":18446744073709551615})",
        // They would take a key from typing: Space, with Shift, with a lock key alone.
        R"({"KeyCode":49,"ModifierFlags":0})", R"({"KeyCode":49,"ModifierFlags":131072})",
        R"({"KeyCode":49,"ModifierFlags":65536})"}) {
    SCOPED_TRACE(broken);
    controller_.reset();
    set(DefaultsValue::parse(broken));
    start();
    EXPECT_THAT(shortcuts().registered(), ElementsAre(kDefault));
    EXPECT_EQ(shortcutFromRecord(desktop_->defaults().storedValue(kKey)), kDefault);
  }
}

TEST_F(ActivationShortcut, FollowsTheSettingWhileItRuns) {
  start();
  set({{"KeyCode", kOther.keyCode}, {"ModifierFlags", kOther.modifierFlags | 0x10000}, {"Comment", "mine"}});
  EXPECT_THAT(shortcuts().registered(), ElementsAre(kOther)) << "a lock key's bit does not count";
  EXPECT_FALSE(press(kDefault));
  EXPECT_TRUE(press(kOther));
  for (const DefaultsValue& refused : {DefaultsValue("broken"), recordOfShortcut({kOther.keyCode, 0}),
                                       recordOfShortcut({kOther.keyCode, modifier_flag::shift})}) {
    set(refused);
    EXPECT_THAT(shortcuts().registered(), ElementsAre()) << refused;
    EXPECT_FALSE(controller_->hasShortcutSet()) << refused;
  }
  const Shortcut functionKey{key_code::symbolBase + 0xFFC9, 0};
  set(recordOfShortcut(functionKey));
  EXPECT_THAT(shortcuts().registered(), ElementsAre(functionKey)) << "nobody types with it";
  set(recordOfShortcut(kDefault));
  EXPECT_EQ(controller_->registeredShortcut(), kDefault);
  set(nullptr);
  EXPECT_THAT(shortcuts().registered(), ElementsAre());
  EXPECT_THAT(alerts(), ElementsAre());
}

TEST_F(ActivationShortcut, ASecondRegistrationUnregistersForGood) {
  start();
  for (int again = 0; again < 2; ++again) {
    controller_->registerShortcut();
    EXPECT_THAT(shortcuts().registered(), ElementsAre());
  }
  set(recordOfShortcut(kOther));
  EXPECT_FALSE(press(kOther));
}

TEST_F(ActivationShortcut, OwnedByAnotherProgramItIsNamedOnceAndAFreeOneIsOffered) {
  shortcuts().setTaken(kDefault);
  start();
  ASSERT_EQ(alerts().size(), 1U);
  EXPECT_EQ(alerts()[0].title, "The key combination Super+Shift+Space cannot be used");
  EXPECT_THAT(alerts()[0].text, HasSubstr("Control+Alt+Space is free"));
  EXPECT_THAT(alerts()[0].buttons, ElementsAre("Use Control+Alt+Space", "Not now"));
  run(seconds(60));
  EXPECT_EQ(alerts().size(), 1U);
  answer(0);
  EXPECT_EQ(shortcutFromRecord(desktop_->defaults().storedValue(kKey)), kControlAltSpace);
  EXPECT_EQ(desktop_->defaults().synchronizeCount(), 2);
  EXPECT_TRUE(press(kControlAltSpace));
  shortcuts().setTaken(kDefault, false);
  run(seconds(60));
  EXPECT_THAT(shortcuts().registered(), ElementsAre(kControlAltSpace)) << "the first one is no longer wanted";
}

TEST_F(ActivationShortcut, OffersTheFirstThatIsFreeAndNothingWhereNoneIs) {
  shortcuts().setTaken(kDefault);
  shortcuts().setTaken(kControlAltSpace);
  shortcuts().setKeyMissing(key_code::space);
  start();
  ASSERT_EQ(alerts().size(), 1U);
  EXPECT_THAT(alerts()[0].text, HasSubstr("has no such key"));
  EXPECT_THAT(alerts()[0].buttons[0], HasSubstr("Super+key ")) << "one without that key";
  answer(1);
  EXPECT_EQ(shortcutFromRecord(desktop_->defaults().storedValue(kKey)), kDefault) << "not now";
  shortcuts().setAllTaken(true);
  set(recordOfShortcut(kOther));
  ASSERT_EQ(alerts().size(), 1U);
  EXPECT_THAT(alerts()[0].buttons, ElementsAre("Not now"));
  answer(0);
  EXPECT_EQ(shortcutFromRecord(desktop_->defaults().storedValue(kKey)), kOther);
}

TEST_F(ActivationShortcut, RegistersWhenItsOwnerGoesOrTheSettingChanges) {
  shortcuts().setTaken(kDefault);
  start();
  shortcuts().setTaken(kDefault, false);
  run(seconds(10));
  EXPECT_TRUE(press(kDefault)) << "while the message still stands";
  answer(-1);
  EXPECT_THAT(shortcuts().registered(), ElementsAre(kDefault));

  shortcuts().setTaken(kOther);
  set(recordOfShortcut(kOther));
  EXPECT_EQ(alerts().size(), 1U) << "another combination, another message";
  set(recordOfShortcut(kDefault));
  EXPECT_TRUE(press(kDefault));
  shortcuts().setTaken(kOther, false);
  run(seconds(60));
  EXPECT_THAT(shortcuts().registered(), ElementsAre(kDefault));
}

TEST_F(ActivationShortcut, AMessageAboutASecondOneWaitsForTheFirstToBeAnswered) {
  shortcuts().setTaken(kDefault);
  shortcuts().setTaken(kOther);
  start();
  set(recordOfShortcut(kOther));
  EXPECT_EQ(alerts().size(), 1U);
  answer(1);
  run(seconds(10));
  ASSERT_EQ(alerts().size(), 1U);
  EXPECT_THAT(alerts()[0].title, HasSubstr(shortcuts().describe(kOther)));
}

TEST_F(ActivationShortcut, NothingIsTriedOrStoredAfterTheEnd) {
  shortcuts().setTaken(kDefault);
  start();
  controller_.reset();
  shortcuts().setTaken(kDefault, false);
  answer(0);
  run(seconds(60));
  EXPECT_THAT(shortcuts().registered(), ElementsAre());
  EXPECT_EQ(shortcutFromRecord(desktop_->defaults().storedValue(kKey)), kDefault);
}

TEST_F(ActivationShortcut, WithoutADisplayItSettlesForNone) {
  shortcuts().setOutOfReach(true);
  start();
  run(seconds(60));
  EXPECT_THAT(alerts(), ElementsAre());
  EXPECT_EQ(controller_->registeredShortcut(), std::nullopt);
}

}  // namespace
}  // namespace jumplark
