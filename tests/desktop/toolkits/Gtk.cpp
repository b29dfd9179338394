#include "desktop/toolkits/Toolkits.h"

namespace jumplark::desktop {
namespace {

bool isAccent(uint32_t colour) {
  const int red = static_cast<int>(colour >> 16U & 0xFFU);
  const int blue = static_cast<int>(colour & 0xFFU);
  return blue > 150 && blue - red > 80;
}

/// A box with its tick is a square as high as the element, at its left end, in the accent colour.
void expectTheTickOnItsPixels(Application& application) {
  const Matches matches = application.matches();
  const auto ticked = std::ranges::find_if(matches, [](const Match& match) {
    return match.role == "CheckBox" && match.hasText("checkbutton") && match.hasText("1");
  });
  ASSERT_NE(ticked, matches.end()) << describe(matches);
  const PixelRect square{ticked->rect.x, ticked->rect.y, ticked->rect.height, ticked->rect.height};
  const auto isAccentAt = [&](int x, int y) { return isAccent(application.desktop().session.pixel(x, y)); };
  const int left = square.x;
  const int top = square.y;
  const int right = left + square.width - 1;
  const int bottom = top + square.height - 1;
  const int x = left + square.width / 2;
  const int y = top + square.height / 2;
  EXPECT_TRUE(waitUntil([&] { return isAccentAt(left, y); })) << square;
  EXPECT_TRUE(isAccentAt(right, y) && isAccentAt(x, top) && isAccentAt(x, bottom)) << square;
  EXPECT_FALSE(isAccentAt(left - 1, y) || isAccentAt(right + 1, y)) << square;
  EXPECT_FALSE(isAccentAt(x, top - 1) || isAccentAt(x, bottom + 1)) << square;
}

/// The button of the menu has a picture and no text, and stands above all others without one.
void openTheMenuOfThePicture(Application& application) {
  Matches matches = application.matches();
  std::erase_if(matches, [](const Match& match) { return match.role != "Button" || !match.texts.empty(); });
  application.desktop().session.click(
      std::ranges::min(matches, {}, [](const Match& match) { return match.rect.y; }).rect);
}

void openTheUppermostList(Application& application) {
  constexpr int kIntoArrow = 18;
  Matches matches = application.matches();
  std::erase_if(matches, [](const Match& match) { return match.role != "ComboBox"; });
  ASSERT_FALSE(matches.empty());
  const PixelRect box = std::ranges::min(matches, {}, [](const Match& match) { return match.rect.y; }).rect;
  application.desktop().session.click(box.x + box.width - kIntoArrow, box.y + box.height / 2);
}

const std::map<std::string, std::set<std::string>> kRolesOfGtk3 = {
    {"push button", {"Button", "Link"}},
    {"toggle button", {"Button", "MenuButton", "CheckBox"}},
    {"check box", {"CheckBox"}},
    {"radio button", {"RadioButton"}},
    {"page tab", {"RadioButton"}},
    {"combo box", {"ComboBox", "PopUpButton"}},
    {"slider", {"Slider"}},
    {"label", {"StaticText"}},
    {"table cell", {"Cell"}},
    {"menu", {"MenuBarItem"}}};

Subject gtk4(const std::string& name, WindowManager windowManager) {
  const std::vector<std::string> onFirst = {"checkbutton", "Large Title", "link button"};
  const std::vector<std::string> onSecond = {"Row 1", "Inform", "Expander", "File"};
  return {
      .name = name,
      .program = [](const PrivateSession&) { return widgetFactory4(); },
      .shown = {{"RadioButton", {"Page 2", "Page 1", "Page 3", "Beach"}},
                {"RadioButton", {"page 2"}, 3},
                {"CheckBox", {"checkbutton", "radiobutton"}, 6},
                {"Button", {"togglebutton"}, 4},
                {"StaticText", {"togglebutton"}, 0},
                {"Button", {"Sans Regular 12", "Maximize", "Increase", "Decrease"}},
                {"Link", {"link button"}},
                {"StaticText", {"Large Title"}},
                {"TextField", {"comboboxentry", "entry"}, 2},
                {"ComboBox", {"comboboxentry"}, 2},
                {"PopUpButton", {""}, 5},
                {"TextArea", {""}},
                {"TextField", {"Click icon to change mode"}}},
      .hidden = {"Get Busy", "Inspector", "Birthdate", "No rows found", "NEWS!", "Row 1", "Inform", "Expander", "File"},
      .queries = {".", "button"},
      .alsoHolds = {expectTheTickOnItsPixels},
      .steps = {typesInto("click icon", "Click icon to change mode"),
                switchesOne("checkbutton", "checkbutton", "0", "check box", "checked"),
                switchesOne("togglebutton", "togglebutton", "", "push button", "pressed"),
                {"page 2", offers(onSecond, onFirst), pointingAtUppermost("page 2", "Page 2")},
                // What has shown once keeps its size and its place.
                {"page 1", offers(onFirst, onSecond), pointingAtUppermost("page 1", "Page 1")},
                {"", finds("MenuItem", "About Widget Factory"), openTheMenuOfThePicture},
                {"about", titled("About")}},
      .windowManager = windowManager};
}

}  // namespace

std::vector<Subject> gtkSubjects() {
  return {
      {.name = "Gtk3",
       .program = [](const PrivateSession&) { return widgetFactory3(); },
       // The box calls itself after an icon.
       .shown = {{"RadioButton", {"Page 2"}}, {"PopUpButton", {"Andrea"}}, {"Button", {"Increase", "Decrease"}}},
       .hidden = {"Get Busy"},
       .roles = kRolesOfGtk3,
       .atLeast = 60,
       .queries = {".", "button", "page", "lorem"},
       .steps = {typesInto("click icon", "Click icon to change mode"),
                 switchesOne("checkbutton", "checkbutton", "0", "check box", "checked"),
                 {"increase", finds("TextField", "51")},
                 {"middle", finds("MenuItem", "Middle")},
                 {"", finds("PopUpButton", "Middle"), pressing("Escape")},
                 {"right", offers({"Right"}, {"Left"}),
                  opening(clicking("PopUpButton", "Left"), shows("menu item", "Middle")), "Right"},
                 {"", finds("MenuItem", "Mickey Mouse"), openTheUppermostList},
                 {"mickey", finds("ComboBox", "Mickey Mouse")},
                 {"page 2", shows("radio button", "Page 2", "checked"), pointingAtUppermost("page 2", "Page 2")}}},
      {.name = "Gtk3Text",
       .program = mousepad,
       .shown = {{"TextArea", {"This is line 1 of many.…"}}},
       .hidden = {"Find Next"},
       .roles = {{"menu", {"MenuBarItem"}}},
       .atLeast = 6,
       .queries = {".", "search", "line"},
       .steps = {{"search", shows("menu item", "Find Next")},
                 {"", lists("    Edit ▸ Undo  (disabled)"), pressing("Escape")},
                 {"", lists("    Edit ▸ Convert ▸ To Opposite Case  Control+Alt+U")},
                 {"line num", lists("[x] View ▸ Line Numbers"),
                  opening(pressing("alt+v"), shows("menu item", "Line Numbers")), "Line Numbers, View, not checked"},
                 {"dupli", titled("*"), opening(pressing("Menu"), shows("menu item", "Duplicate")),
                  "Duplicate Line / Selection"},
                 {"", titled("Mousepad Preferences"), choosing("preferences")}}},
      {.name = "Gtk4Menus",
       .program =
           [](const PrivateSession&) {
             return Program{.command = {"gtk4-demo-application"}, .busName = "gtk4-demo-application"};
           },
       .shown = {{"MenuBarItem", {"File", "Help"}}},
       .steps = {{"", lists("(o) File ▸ Color ▸ Green  Control+G"), choosing("green")},
                 {"", titled("About"), choosing("about")}}},
      {.name = "Gtk3Links",
       .program =
           [](const PrivateSession&) {
             return Program{.command = {"gtk3-demo", "--run", "links"},
                            .busName = "gtk3-demo",
                            .role = "label",
                            .element = "Some text",
                            .target = {"--app", "gtk3-demo"}};
           },
       .shown = {{"Link", {"keynav", "Google"}}},
       .steps = {{"keynav", offers({"OK"}), pointingAtUppermost("keynav", "keynav")}}},
      gtk4("Gtk4", WindowManager::xfwm4),
      gtk4("Gtk4Composited", WindowManager::xfwm4Compositor)};
}

}  // namespace jumplark::desktop
