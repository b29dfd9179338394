#include <algorithm>

#include "backends/atspi/support/VocabularyFixture.h"

namespace jumplark::atspi {
namespace {

class Attributes : public AtspiVocabulary {};

TEST_F(Attributes, titlesAnElementByItsNameElseByItsCaption) {
  source.add("named", role::pushButton, "win").name = "Open";
  source.add("caption", role::label, "win").name = "Volume";
  source.add("slider", role::slider, "win").labelledBy = {source.ref("caption")};
  source.add("bare", role::pushButton, "win").name = "  ";
  EXPECT_EQ(text("named", "AXTitle"), "Open");
  EXPECT_EQ(text("slider", "AXTitle"), "Volume");
  EXPECT_EQ(get("slider", "AXTitleUIElement").value.element()->text(), source.ref("caption").text());
  EXPECT_EQ(text("bare", "AXTitle"), kNoValue);
  EXPECT_EQ(text("caption", "AXTitle"), kUnsupported);
  EXPECT_EQ(text("named", "AXTitleUIElement"), kUnsupported);
}

TEST_F(Attributes, saysNoValueInsteadOfEmptyTexts) {
  source.add("field", role::entry, "win").interfaces |= interface_bit::text;
  for (const char* name : {"AXValue", "AXDescription", "AXPlaceholderValue", "AXRoleDescription"}) {
    EXPECT_EQ(text("field", name), kNoValue) << name;
  }
  EXPECT_EQ(text("field", "AXRows"), kUnsupported);
  EXPECT_EQ(text("field", "AXNothingOfTheKind"), kUnsupported);
}

struct ValueCase {
  const char* what;
  uint32_t number;
  std::initializer_list<int> states;
  const char* value;
};

const ValueCase kValues[] = {
    {"check box", role::checkBox, {}, "0"},
    {"checked box", role::checkBox, {state::checked}, "1"},
    {"box in between", role::checkBox, {state::checked, state::indeterminate}, "2"},
    {"pressed toggle", role::toggleButton, {state::pressed}, "1"},
    {"push button", role::pushButton, {}, "-25205"},
    {"chosen tab", role::pageTab, {state::selected}, "1"},
    {"open expander", role::toggleButton, {state::expandable, state::expanded}, "1"},
    {"radio menu item", role::radioMenuItem, {state::checked}, "1"},
};

TEST_F(Attributes, readsTheStateOfControlsAsTheirValue) {
  int number = 0;
  for (const auto& one : kValues) {
    const std::string id = "v" + std::to_string(number++);
    FakeSource::set(source.add(id, one.number, "win"), one.states);
    EXPECT_EQ(text(id, "AXValue"), one.value) << one.what;
  }
}

TEST_F(Attributes, readsNumbersAndTextsAsValues) {
  auto& slider = source.add("slider", role::slider, "win");
  slider.interfaces |= interface_bit::value;
  slider.currentValue = 0.5;
  auto& spin = source.add("spin", role::spinButton, "win");
  spin.interfaces |= interface_bit::value;
  spin.currentValue = 7;
  source.add("item", role::menuItem, "win").interfaces |= interface_bit::value;
  EXPECT_EQ(text("item", "AXValue"), kUnsupported) << "what nobody sees";
  auto& field = source.add("field", role::entry, "win");
  field.interfaces |= interface_bit::text;
  field.shortText = "typed \xEF\xBF\xBC";
  auto& label = source.add("label", role::label, "win");
  label.interfaces |= interface_bit::text;
  label.shortText = "Shown";
  auto& plain = source.add("plain", role::staticText, "win");
  plain.name = "Named";
  source.add("popup", role::comboBox, "win").name = "Large";
  source.add("combo", role::comboBox, "win");
  auto& entry = source.add("entry", role::entry, "combo");
  entry.interfaces |= interface_bit::text;
  entry.shortText = "12 pt";
  EXPECT_EQ(text("slider", "AXValue"), "0.5");
  EXPECT_EQ(text("spin", "AXValue"), "7");
  EXPECT_EQ(text("field", "AXValue"), "typed ");
  EXPECT_EQ(text("label", "AXValue"), "Shown");
  EXPECT_EQ(text("plain", "AXValue"), "Named");
  EXPECT_EQ(text("popup", "AXValue"), "Large");
  EXPECT_EQ(text("combo", "AXValue"), "12 pt");
}

TEST_F(Attributes, neverReadsAPassword) {
  auto& secret = source.add("secret", role::passwordText, "win");
  secret.interfaces |= interface_bit::text | interface_bit::value;
  secret.shortText = "hunter2";
  EXPECT_EQ(text("secret", "AXValue"), kUnsupported);
  EXPECT_EQ(text("secret", "AXVisibleCharacterRange"), kUnsupported);
  EXPECT_EQ(platform.copyParameterizedAttributeValue(source.ref("secret"), "AXStringForRange", Range{0, 7}).error,
            AccessibilityError::parameterizedAttributeUnsupported);
  const auto names = platform.copyAttributeNames(source.ref("secret")).value;
  EXPECT_EQ(std::count(names.begin(), names.end(), "AXValue"), 0);
}

TEST_F(Attributes, putsAFieldsOwnNameWhereItIsSearched) {
  source.add("field", role::entry, "win").name = "Find";
  source.add("other", role::entry, "win").name = "City";
  source.at("other").description = "Where you live";
  source.at("other").attributes["placeholder-text"] = "Berlin";
  EXPECT_EQ(text("field", "AXDescription"), "Find");
  EXPECT_EQ(text("other", "AXDescription"), "Where you live");
  EXPECT_EQ(text("other", "AXPlaceholderValue"), "Berlin");
}

TEST_F(Attributes, takesAWindowsPlaceFromTheXServerWithoutItsShadow) {
  EXPECT_EQ(get("win", "AXSize").value, AttributeValue(Size{400, 300}));
  auto& window = windows.windows.front();
  window.frame = {95, 75, 410, 330};
  EXPECT_EQ(get("win", "AXPosition").value, AttributeValue(Point{95, 75}));
  window.surface = {100, 100, 400, 300};
  window.tellsShadow = true;
  window.shadow = {10, 10, 5, 15};
  EXPECT_EQ(get("win", "AXPosition").value, AttributeValue(Point{110, 105}));
  EXPECT_EQ(get("win", "AXSize").value, AttributeValue(Size{380, 280}));
}

TEST_F(Attributes, enumeratesASnapshotWithoutMessages) {
  source.add("panel", role::panel, "win");
  source.add("button", role::pushButton, "panel").name = "Go";
  auto& field = source.add("field", role::entry, "panel");
  field.interfaces |= interface_bit::text;
  auto& hidden = source.add("hidden", role::panel, "panel");
  FakeSource::hide(hidden);
  platform.prepareSnapshot(source.ref("app"), true);
  source.messages = 0;
  for (const char* id : {"win", "panel", "button", "field"}) {
    platform.copyAttributeNames(source.ref(id));
    platform.copyMultipleAttributeValues(source.ref(id), {"AXTitle", "AXValue", "AXDescription", "AXPlaceholderValue"});
    for (const char* name :
         {"AXRole", "AXSubrole", "AXPosition", "AXSize", "AXParent", "AXWindow", "AXTitleUIElement"}) {
      get(id, name);
    }
    list(id, "AXVisibleChildren");
    list(id, "AXChildren");
  }
  EXPECT_EQ(source.messages, 0);
}

TEST_F(Attributes, countsTextInUtf16Units) {
  // Ten lines of which the middle is visible; the clef is one code point and two units.
  std::string all;
  for (int line = 0; line < 40; ++line) {
    all +=
        "\xF0\x9D\x84\x9E"
        "abc\n";
  }
  auto& area = source.add("area", role::text, "win");
  FakeSource::set(area, {state::multiLine});
  area.interfaces |= interface_bit::text;
  area.characterCount = 200;
  area.shortText = all.substr(0, 80);
  source.longTexts[area.ref] = all;
  source.visibleText_ = {10, 15};
  const auto range = get("area", "AXVisibleCharacterRange").value;
  EXPECT_EQ(range, AttributeValue(Range{12, 6}));
  const auto string = [&](Range wanted) {
    return platform.copyParameterizedAttributeValue(source.ref("area"), "AXStringForRange", wanted);
  };
  EXPECT_EQ(string(*range.range()).value, AttributeValue("\xF0\x9D\x84\x9E"
                                                         "abc\n"));
  EXPECT_EQ(string({14, 3}).value, AttributeValue("abc"));
  EXPECT_EQ(string({12, 1}).value, AttributeValue("")) << "half a character";
  EXPECT_EQ(string({Range::kNotFound, -1}).error, AccessibilityError::illegalArgument);
  EXPECT_EQ(string({1000, 5}).error, AccessibilityError::illegalArgument);
}

TEST_F(Attributes, readsTheVisibleTextOnceASnapshot) {
  auto& area = source.add("area", role::text, "win");
  FakeSource::set(area, {state::multiLine});
  area.interfaces |= interface_bit::text;
  area.characterCount = 300;
  source.longTexts[area.ref] = std::string(300, 'x');
  source.visibleText_ = {100, 120};
  platform.prepareSnapshot(source.ref("app"), true);
  const auto range = get("area", "AXVisibleCharacterRange").value;
  source.messages = 0;
  EXPECT_EQ(platform.copyParameterizedAttributeValue(source.ref("area"), "AXStringForRange", range).value,
            AttributeValue(std::string(20, 'x')));
  EXPECT_EQ(get("area", "AXVisibleCharacterRange").value, range);
  EXPECT_EQ(source.messages, 0);
}

TEST_F(Attributes, performsTheActionsThatAreThere) {
  source.add("button", role::pushButton, "win").actionNames = {"click", "ShowMenu"};
  source.add("label", role::label, "win");
  const ElementRef button = source.ref("button");
  EXPECT_EQ(platform.performAction(button, "AXPress"), AccessibilityError::success);
  EXPECT_EQ(platform.performAction(button, "AXShowMenu"), AccessibilityError::success);
  EXPECT_EQ(platform.performAction(button, "AXRaise"), AccessibilityError::actionUnsupported);
  EXPECT_EQ(platform.performAction(source.ref("label"), "AXPress"), AccessibilityError::actionUnsupported);
  EXPECT_EQ(source.done, (std::vector<std::string>{"action app/button 0", "action app/button 1"}));
  EXPECT_EQ(platform.performAction(source.ref("win"), "AXRaise"), AccessibilityError::success);
  EXPECT_EQ(windows.activations, (std::vector<std::pair<WindowId, bool>>{{1, true}}));
}

TEST_F(Attributes, raisesAWindowWithoutAskingItsApplicationOnceASnapshotHasPlacedIt) {
  platform.prepareSnapshot(source.ref("app"), false);
  platform.endSnapshot();
  source.liveError = AccessibilityError::cannotComplete;
  EXPECT_EQ(platform.performAction(source.ref("win"), "AXRaise"), AccessibilityError::success);
  EXPECT_EQ(windows.activations, (std::vector<std::pair<WindowId, bool>>{{1, true}}));
}

TEST_F(Attributes, passesErrorsOfTheApplicationOn) {
  source.liveError = AccessibilityError::cannotComplete;
  EXPECT_EQ(get("win", "AXTitle").error, AccessibilityError::cannotComplete);
  EXPECT_EQ(platform.attributeValueCount(source.ref("win"), "AXChildren").error, AccessibilityError::cannotComplete);
  EXPECT_EQ(platform.performAction(source.ref("win"), "AXPress"), AccessibilityError::cannotComplete);
}

}  // namespace
}  // namespace jumplark::atspi
