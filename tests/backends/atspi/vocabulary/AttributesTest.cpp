#include "backends/atspi/support/VocabularyFixture.h"

namespace jumplark::atspi {
namespace {

class Attributes : public AtspiVocabulary {};

TEST_F(Attributes, titlesAnElementByItsNameElseByItsCaption) {
  add("frame", "named", role::pushButton).name = "Open";
  add("frame", "caption", role::label).name = "Volume";
  add("frame", "slider", role::slider).labelledBy = {"caption"};
  add("frame", "bare", role::pushButton).name = "  ";
  EXPECT_EQ(text("named", "AXTitle"), "Open");
  EXPECT_EQ(text("slider", "AXTitle"), "Volume");
  EXPECT_EQ(text("slider", "AXTitleUIElement"), "caption");
  EXPECT_EQ(text("bare", "AXTitle"), kNoValue);
  EXPECT_EQ(text("caption", "AXTitle"), kUnsupported);
  EXPECT_EQ(text("named", "AXTitleUIElement"), kUnsupported);
}

TEST_F(Attributes, saysNoValueInsteadOfEmptyTexts) {
  add("frame", "field", role::entry).with("Text");
  for (const char* name : {"AXValue", "AXDescription", "AXPlaceholderValue", "AXRoleDescription"}) {
    EXPECT_EQ(text("field", name), kNoValue) << name;
  }
  EXPECT_EQ(text("field", "AXRows"), kUnsupported);
  EXPECT_EQ(text("field", "AXNothingOfTheKind"), kUnsupported);
}

TEST_F(Attributes, haveTheStateNumberOrTextOfAControlAsItsValue) {
  const struct {
    const char* what;
    uint32_t number;
    std::string value;
    std::initializer_list<int> states = {};
    const char* interface = "Component";
    const char* name = "";
    std::string text = "";
  } cases[] = {
      {"check box", role::checkBox, "0"},
      {"checked box", role::checkBox, "1", {state::checked}},
      {"box in between", role::checkBox, "2", {state::checked, state::indeterminate}},
      {"pressed toggle", role::toggleButton, "1", {state::pressed}},
      {"push button", role::pushButton, kUnsupported},
      {"chosen tab", role::pageTab, "1", {state::selected}},
      {"open expander", role::toggleButton, "1", {state::expandable, state::expanded}},
      {"radio menu item", role::radioMenuItem, "1", {state::checked}},
      {"slider", role::slider, "0.5", {}, "Value"},
      {"spin button", role::spinButton, "0.5", {}, "Value"},
      {"menu item, whose number nobody sees", role::menuItem, kUnsupported, {}, "Value"},
      {"field", role::entry, "typed ", {}, "Text", "", "typed \xEF\xBF\xBC"},
      {"label", role::label, "Shown", {}, "Text", "", "Shown"},
      {"plain text", role::staticText, "Named", {}, "Component", "Named"},
      {"cell of a spreadsheet", role::tableCell, "apple", {}, "Text", "AB12", "apple"},
      {"cell that says its text already", role::tableCell, kNoValue, {}, "Text", "B2", "B2"},
      {"cell with a name", role::tableCell, kNoValue, {}, "Text", "Berlin", "Paris"},
      {"closed list", role::comboBox, "Large", {}, "Component", "Large"},
      {"password", role::passwordText, kUnsupported, {}, "Text", "", "hunter2"},
  };
  int number = 0;
  for (const auto& one : cases) {
    const std::string id = "v" + std::to_string(number++);
    FakeElement& made = add("frame", id, one.number, one.name).being(one.states).with(one.interface);
    made.value = 0.5;
    made.text = one.text;
    EXPECT_EQ(text(id, "AXValue"), one.value) << one.what;
  }
  add("frame", "combo", role::comboBox);
  add("combo", "entry", role::entry).saying("12 pt");
  EXPECT_EQ(text("combo", "AXValue"), "12 pt");
}

TEST_F(Attributes, putsAFieldsOwnNameWhereItIsSearched) {
  add("frame", "field", role::entry).name = "Find";
  FakeElement& other = add("frame", "other", role::entry, "City");
  other.description = "Where you live";
  other.attributes["placeholder-text"] = "Berlin";
  EXPECT_EQ(text("field", "AXDescription"), "Find");
  EXPECT_EQ(text("other", "AXDescription"), "Where you live");
  EXPECT_EQ(text("other", "AXPlaceholderValue"), "Berlin");
}

TEST_F(Attributes, takesTheMarkUpOffToolTips) {
  const std::pair<const char*, std::string> cases[] = {
      {"<p style='white-space:pre'>Save &amp; close</p>", "Save & close"},
      {"<html><head/><body><p>One</p><p>two</p></body></html>", "One\ntwo"},
      {"Press <b>twice</b>", "Press twice"},
      {"Undo (<Control>z)", "Undo (<Control>z)"},
      {"a <b and c", "a <b and c"},
      {"AT&amp;T", "AT&amp;T"},
      {"<img src='x.png'/>", "<img src='x.png'/>"},
  };
  for (const auto& [told, shown] : cases) {
    add("frame", "tip", role::pushButton).description = told;
    EXPECT_EQ(text("tip", "AXDescription"), shown);
  }
}

TEST_F(Attributes, takesAWindowsPlaceFromTheXServerWithoutItsShadow) {
  EXPECT_EQ(get("frame", "AXSize").value, AttributeValue(Size{400, 300}));
  auto& window = windows.windows.front();
  window.frame = {95, 75, 410, 330};
  EXPECT_EQ(get("frame", "AXPosition").value, AttributeValue(Point{95, 75}));
  window.surface = {100, 100, 400, 300};
  window.tellsShadow = true;
  window.shadow = {10, 10, 5, 15};
  EXPECT_EQ(get("frame", "AXPosition").value, AttributeValue(Point{110, 105}));
  EXPECT_EQ(get("frame", "AXSize").value, AttributeValue(Size{380, 280}));
}

TEST_F(Attributes, enumeratesASnapshotWithoutMessages) {
  add("frame", "panel", role::panel);
  add("panel", "button", role::pushButton).name = "Go";
  add("panel", "field", role::entry).with("Text");
  add("panel", "hidden", role::panel).states = bit(state::visible);
  snapshot();
  const int before = app.peer().received();
  for (const char* id : {"frame", "panel", "button", "field"}) {
    platform.copyAttributeNames(app.ref(id));
    platform.copyMultipleAttributeValues(app.ref(id), {"AXTitle", "AXValue", "AXDescription", "AXPlaceholderValue"});
    for (const char* name :
         {"AXRole", "AXSubrole", "AXPosition", "AXSize", "AXParent", "AXWindow", "AXTitleUIElement"}) {
      get(id, name);
    }
    list(id, "AXVisibleChildren");
    list(id, "AXChildren");
  }
  EXPECT_EQ(app.peer().received(), before);
}

TEST_F(Attributes, countsTextInUtf16Units) {
  // Lines of which the middle is visible; the clef is one code point and two units.
  const std::string line = "𝄞abc\n";
  std::string all;
  while (all.size() < 320) {
    all += line;
  }
  add("frame", "area", role::text).being({state::multiLine}).saying(all).visibleText = {10, 14};
  const auto range = get("area", "AXVisibleCharacterRange").value;
  EXPECT_EQ(range, AttributeValue(Range{12, 6}));
  const auto string = [&](Range wanted) {
    return platform.copyParameterizedAttributeValue(app.ref("area"), "AXStringForRange", wanted);
  };
  EXPECT_EQ(string(*range.range()).value, AttributeValue(line));
  EXPECT_EQ(string({14, 3}).value, AttributeValue("abc"));
  EXPECT_EQ(string({12, 1}).value, AttributeValue("")) << "half a character";
  EXPECT_EQ(string({Range::kNotFound, -1}).error, AccessibilityError::illegalArgument);
  EXPECT_EQ(string({1000, 5}).error, AccessibilityError::illegalArgument);
}

TEST_F(Attributes, readsTheVisibleTextOnceASnapshot) {
  add("frame", "area", role::text).being({state::multiLine}).saying(std::string(300, 'x')).visibleText = {100, 119};
  snapshot();
  const auto range = get("area", "AXVisibleCharacterRange").value;
  const int before = app.peer().received();
  EXPECT_EQ(platform.copyParameterizedAttributeValue(app.ref("area"), "AXStringForRange", range).value,
            AttributeValue(std::string(20, 'x')));
  EXPECT_EQ(get("area", "AXVisibleCharacterRange").value, range);
  EXPECT_EQ(app.peer().received(), before);
}

TEST_F(Attributes, performsTheActionsThatAreThere) {
  add("frame", "button", role::pushButton).with("Action").actions = {"click", "ShowMenu"};
  add("frame", "label", role::label);
  const ElementRef button = app.ref("button");
  EXPECT_EQ(platform.performAction(button, "AXPress"), AccessibilityError::success);
  EXPECT_EQ(platform.performAction(button, "AXShowMenu"), AccessibilityError::success);
  EXPECT_EQ(platform.performAction(button, "AXRaise"), AccessibilityError::actionUnsupported);
  EXPECT_EQ(platform.performAction(app.ref("label"), "AXPress"), AccessibilityError::actionUnsupported);
  EXPECT_EQ(app.done(), (std::vector<std::string>{"0 button", "1 button"}));
}

TEST_F(Attributes, raisesAWindowWithoutAskingItsApplicationOnceASnapshotHasPlacedIt) {
  EXPECT_EQ(platform.performAction(app.ref("frame"), "AXRaise"), AccessibilityError::success);
  snapshot();
  platform.endSnapshot();
  app.peer().hang();
  EXPECT_EQ(platform.performAction(app.ref("frame"), "AXRaise"), AccessibilityError::success);
  EXPECT_EQ(windows.activations, (std::vector<std::pair<WindowId, bool>>{{7, true}, {7, true}}));
}

}  // namespace
}  // namespace jumplark::atspi
