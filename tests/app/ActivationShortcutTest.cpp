#include "app/AppFixture.h"
#include "app/ShortcutRecord.h"

namespace jumplark::testing {
namespace {

using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr const char* kKey = JLPreferencesController::activationShortcutKey;
const Shortcut kDefault{49, 0x120000};
const Shortcut kControlAltSpace{49, 0xC0000};
const Shortcut kOther{key_code::symbolBase + 'j', modifier_flag::command};

class ActivationShortcut : public AppDesktop {
 protected:
  void start() {
    controller.emplace([this] { return isActive; });
    controller->setupPreferences();
    run();
  }
  void set(const DefaultsValue& record) { AppDesktop::set(kKey, record); }
  std::optional<Shortcut> kept() { return shortcutFromRecord(stored(kKey)); }
  bool press(const Shortcut& shortcut) {
    const bool registered = shortcuts().press(shortcut);
    run();
    return registered;
  }
  RecordedShortcuts& shortcuts() { return desktop->shortcuts(); }

  bool isActive = true;
  std::optional<JLPreferencesController> controller;
};

TEST_F(ActivationShortcut, whatIsNoRecordIsReplacedByTheDefaultAtTheStart) {
  for (const char* broken :
       {R"("Super+Space")", "[49,1]", R"({"KeyCode":49})", R"({"ModifierFlags":1})",
        R"({"KeyCode":-1,"ModifierFlags":262144})", R"({"KeyCode":1.5,"ModifierFlags":262144})",
        R"({"KeyCode":99999999999,"ModifierFlags":262144})", R"({"KeyCode":49,"ModifierFlags":18446744073709551615})",
        // They would take a key from typing: Space with Shift, and with a lock key alone.
        R"({"KeyCode":49,"ModifierFlags":131072})", R"({"KeyCode":49,"ModifierFlags":65536})"}) {
    SCOPED_TRACE(broken);
    controller.reset();
    set(DefaultsValue::parse(broken));
    start();
    EXPECT_THAT(shortcuts().registered(), ElementsAre(kDefault));
    EXPECT_EQ(kept(), kDefault);
  }
}

TEST_F(ActivationShortcut, followsTheSettingWhileItRuns) {
  set(recordOfShortcut(kOther));
  start();
  EXPECT_THAT(shortcuts().registered(), ElementsAre(kOther)) << "what is stored is kept";
  for (const bool takes : {true, false}) {
    isActive = takes;
    EXPECT_TRUE(press(kOther));
  }
  EXPECT_THAT(shortcuts().answers(), ElementsAre(true, false));
  set(recordOfShortcut(kDefault));
  set({{"KeyCode", kOther.keyCode}, {"ModifierFlags", kOther.modifierFlags | 0x10000}, {"Comment", "mine"}});
  EXPECT_THAT(shortcuts().registered(), ElementsAre(kOther)) << "a lock key's bit does not count";
  EXPECT_FALSE(press(kDefault));
  EXPECT_TRUE(press(kOther));
  for (const DefaultsValue& refused : {DefaultsValue("broken"), recordOfShortcut({kOther.keyCode, 0}),
                                       recordOfShortcut({kOther.keyCode, modifier_flag::shift})}) {
    set(refused);
    EXPECT_THAT(shortcuts().registered(), ElementsAre()) << refused;
    EXPECT_FALSE(controller->hasShortcutSet()) << refused;
  }
  const Shortcut functionKey{key_code::symbolBase + 0xFFC9, 0};
  set(recordOfShortcut(functionKey));
  EXPECT_THAT(shortcuts().registered(), ElementsAre(functionKey)) << "nobody types with it";
  set(recordOfShortcut(kDefault));
  EXPECT_EQ(controller->registeredShortcut(), kDefault);
  for (int again = 0; again < 2; ++again) {
    controller->registerShortcut();
    EXPECT_THAT(shortcuts().registered(), ElementsAre()) << "a second registration unregisters for good";
  }
  EXPECT_THAT(alerts(), ElementsAre());
}

TEST_F(ActivationShortcut, ownedByAnotherProgramItIsNamedOnceAndTheFirstFreeOneIsOffered) {
  shortcuts().setTaken(kDefault);
  start();
  ASSERT_EQ(alerts().size(), 1U);
  EXPECT_EQ(alerts()[0].title, "The key combination Super+Shift+Space cannot be used");
  EXPECT_THAT(alerts()[0].text, HasSubstr("Control+Alt+Space is free"));
  EXPECT_THAT(alerts()[0].buttons, ElementsAre("Use Control+Alt+Space", "Not now"));
  run(seconds(60));
  EXPECT_EQ(alerts().size(), 1U);
  answer(0);
  EXPECT_EQ(kept(), kControlAltSpace);
  EXPECT_TRUE(press(kControlAltSpace));
  shortcuts().setKeyMissing(key_code::space);
  set(recordOfShortcut(kDefault));
  ASSERT_EQ(alerts().size(), 1U);
  EXPECT_THAT(alerts()[0].text, HasSubstr("has no such key"));
  EXPECT_THAT(alerts()[0].buttons[0], HasSubstr("Super+key ")) << "one without that key";
  answer(1);
  EXPECT_EQ(kept(), kDefault) << "not now";
  shortcuts().setAllTaken(true);
  set(recordOfShortcut(kOther));
  ASSERT_EQ(alerts().size(), 1U);
  EXPECT_THAT(alerts()[0].buttons, ElementsAre("Not now"));
}

TEST_F(ActivationShortcut, registersWhenItsOwnerGoesOrTheSettingChanges) {
  shortcuts().setTaken(kDefault);
  shortcuts().setOutOfReach(true);
  start();
  EXPECT_THAT(alerts(), ElementsAre()) << "nobody is there yet who could tell";
  shortcuts().setOutOfReach(false);
  run(seconds(10));
  shortcuts().setTaken(kDefault, false);
  run(seconds(10));
  EXPECT_TRUE(press(kDefault)) << "while the message still stands";
  shortcuts().setTaken(kOther);
  set(recordOfShortcut(kOther));
  EXPECT_EQ(alerts().size(), 1U) << "the next message waits for the first to be answered";
  answer(-1);
  run(seconds(10));
  ASSERT_EQ(alerts().size(), 1U);
  EXPECT_THAT(alerts()[0].title, HasSubstr(shortcuts().describe(kOther)));
  set(recordOfShortcut(kDefault));
  shortcuts().setTaken(kOther, false);
  run(seconds(60));
  EXPECT_THAT(shortcuts().registered(), ElementsAre(kDefault)) << "the other one is no longer wanted";
}

}  // namespace
}  // namespace jumplark::testing
