#include "input/ZMOForceKeyboardLayoutController.h"
#include "support/RecordedFixture.h"

namespace jumplark::testing {
namespace {

constexpr const char* kKey = ZMOForceKeyboardLayoutController::keyPath;

class ForceKeyboardLayout : public ::testing::Test {
 protected:
  ForceKeyboardLayout() {
    desktop_->inputSources().setLayouts({{"us", "English (US)"}, {"ru", "Russian"}, {"de(neo)", "German (Neo 2)"}});
  }

  void choose(const DefaultsValue& identifier) {
    desktop_->defaults().setValue(kKey, identifier);
    desktop_->queues().runPending();
  }
  std::string current() { return desktop_->inputSources().currentKeyboardLayout().value_or(InputSource()).identifier; }
  size_t selections() { return desktop_->inputSources().selections().size(); }

  RecordedFixture desktop_{R"({"elements":{}})"};
};

TEST_F(ForceKeyboardLayout, theStoredChoiceHoldsFromTheStartAndFollowsTheSettingWhoeverWritesIt) {
  choose("ru");
  ZMOForceKeyboardLayoutController controller;
  ASSERT_TRUE(controller.forceKeyboardLayout().value());
  EXPECT_EQ(controller.forceKeyboardLayout().value()->label(), "Russian");

  std::vector<std::string> told;
  const Token observation = controller.forceKeyboardLayout().observe().subscribe(
      [&](const auto& layout) { told.push_back(layout ? layout->inputSourceID() : "none"); });
  controller.setForceKeyboardLayout(controller.keyboardLayoutForInputSourceID("de(neo)"));
  EXPECT_EQ(desktop_->defaults().storedValue(kKey), "de(neo)");
  EXPECT_EQ(desktop_->defaults().synchronizeCount(), 1);
  EXPECT_EQ(controller.forceKeyboardLayout().value()->inputSourceID(), "ru") << "it follows through the setting";
  desktop_->queues().runPending();
  EXPECT_EQ(controller.forceKeyboardLayout().value()->inputSourceID(), "de(neo)");
  EXPECT_EQ(told, (std::vector<std::string>{"ru", "de(neo)"}));

  for (const DefaultsValue& unusable : {DefaultsValue("fr"), DefaultsValue(7), DefaultsValue()}) {
    choose("us");
    EXPECT_TRUE(controller.forceKeyboardLayout().value());
    choose(unusable);
    EXPECT_FALSE(controller.forceKeyboardLayout().value()) << unusable;
  }
  choose("us");
  controller.setForceKeyboardLayout(std::nullopt);
  EXPECT_TRUE(desktop_->defaults().storedValue(kKey).is_null());
}

TEST_F(ForceKeyboardLayout, withoutAChoiceTheLayoutIsNotTouched) {
  ZMOForceKeyboardLayoutController controller;
  EXPECT_TRUE(controller.activate());
  EXPECT_TRUE(controller.deactivate());
  EXPECT_EQ(selections(), 0U);
  choose("ru");
  EXPECT_TRUE(controller.activate());
  choose(nullptr);  // taken away while it is active
  EXPECT_TRUE(controller.deactivate());
  EXPECT_EQ(current(), "ru");
}

TEST_F(ForceKeyboardLayout, isSelectedWhileActiveAndTheOneBeforeComesBack) {
  choose("ru");
  ZMOForceKeyboardLayoutController controller;
  controller.updateAvailableKeyboardLayouts();
  EXPECT_EQ(controller.availableKeyboardLayouts().size(), 3U);
  EXPECT_FALSE(controller.deactivate()) << "nothing to bring back";
  EXPECT_TRUE(controller.activate());
  EXPECT_EQ(current(), "ru");
  EXPECT_FALSE(controller.activate()) << "active already";
  EXPECT_TRUE(controller.deactivate());
  EXPECT_EQ(current(), "us");
  EXPECT_FALSE(controller.deactivate());
}

TEST_F(ForceKeyboardLayout, aRefusedSelectionIsToldAndTheOneBeforeIsStillBroughtBack) {
  choose("ru");
  ZMOForceKeyboardLayoutController controller;
  desktop_->inputSources().permitSelection(false);
  EXPECT_FALSE(controller.activate());
  EXPECT_FALSE(controller.deactivate());
  desktop_->inputSources().permitSelection(true);
  desktop_->inputSources().setCurrent(InputSource{"ru", "Russian"});
  EXPECT_TRUE(controller.deactivate()) << "tried again";
  EXPECT_EQ(current(), "us");
}

}  // namespace
}  // namespace jumplark::testing
