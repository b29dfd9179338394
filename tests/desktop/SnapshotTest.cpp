#include <algorithm>
#include <map>
#include <set>

#include "desktop/DesktopTest.h"

namespace jumplark::desktop {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

size_t countOf(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
    ++count;
  }
  return count;
}

std::string describe(const PixelRect& rect) {
  return "[" + std::to_string(rect.x) + "," + std::to_string(rect.y) + " " + std::to_string(rect.width) + "x" +
         std::to_string(rect.height) + "]";
}

// The role that a part of the demonstration window must have; none for parts that nobody chooses.
std::string roleOf(const DemoPart& part) {
  static const std::map<std::string, std::string> kRoles = {{"QPushButton", "Button"}, {"QToolButton", "Button"},
                                                            {"QCheckBox", "CheckBox"}, {"QRadioButton", "RadioButton"},
                                                            {"QLabel", "StaticText"},  {"QSlider", "Slider"},
                                                            {"menu", "MenuBarItem"},   {"tab", "RadioButton"},
                                                            {"item", "Cell"},          {"QComboBox", "PopUpButton"}};
  static const std::set<std::string> kFields = {"Name", "Email", "Password"};
  if (part.kind == "QLineEdit") {
    return kFields.count(part.name) ? "TextField" : "";
  }
  if (part.name == "Typeface") {
    return "ComboBox";
  }
  const auto role = kRoles.find(part.kind);
  return role == kRoles.end() ? "" : role->second;
}

// Check boxes and radio buttons say where their box and text are, not the empty space beside them.
const Match* findPart(const std::vector<Match>& matches, const std::string& role, const DemoPart& part) {
  if (part.kind != "QCheckBox" && part.kind != "QRadioButton") {
    return findAt(matches, role, part.rect);
  }
  const Match* match = find(matches, role, part.name);
  const bool inside = match && match->rect.x == part.rect.x && part.rect.contains(match->rect.x, match->rect.y) &&
                      match->rect.width <= part.rect.width && match->rect.height <= part.rect.height;
  return inside ? match : nullptr;
}

// What each page shows, and how many of its things a person could choose at least.
class DemoPage : public testing::TestWithParam<std::pair<std::string, size_t>> {};

TEST_P(DemoPage, holdsExactlyWhatShowsWithItsRoleTextAndPixels) {
  const auto [page, atLeast] = GetParam();
  Desktop desktop;
  DemoProgram demo(desktop.session, page);
  const std::vector<DemoPart> parts = demo.parts();
  const std::vector<Match> matches = desktop.jumplark.everything(kDemo);

  std::set<std::string> shownNames;
  std::vector<std::string> missing;
  size_t expected = 0;
  for (const DemoPart& part : parts) {
    const std::string role = roleOf(part);
    if (!part.shown || role.empty() || part.name.empty()) {
      continue;
    }
    ++expected;
    shownNames.insert(part.name);
    const Match* match = findPart(matches, role, part);
    // The text of a field is what is typed in it, and its label's text is with the label.
    const bool hasOwnText = role != "TextField" && role != "ComboBox" && role != "PopUpButton" && role != "Slider";
    if (!match || (hasOwnText && !match->hasText(part.name))) {
      missing.push_back(role + " '" + part.name + "' at " + describe(part.rect));
    }
  }
  EXPECT_GE(expected, atLeast);
  EXPECT_THAT(missing, IsEmpty()) << "among:" << describe(matches);
  EXPECT_EQ(find(matches, "Cell", "3") != nullptr, page == "Table") << "the headers of rows";

  const std::set<std::string> texts = allTexts(matches);
  std::vector<std::string> unseen;
  for (const DemoPart& part : parts) {
    if (!part.shown && !part.name.empty() && !shownNames.count(part.name) && texts.count(part.name)) {
      unseen.push_back(part.name);
    }
  }
  EXPECT_THAT(unseen, IsEmpty()) << "these do not show";
  for (const char* closed : {"New", "Open...", "Save", "report.txt", "Undo", "Zoom In", "Show Grid", "About"}) {
    EXPECT_EQ(texts.count(closed), 0U) << closed << " is in a closed menu";
  }
}

INSTANTIATE_TEST_SUITE_P(Demo, DemoPage,
                         testing::Values(std::pair("Form", 35), std::pair("Table", 30), std::pair("Tree", 15),
                                         std::pair("List", 18), std::pair("Scrolled", 20)),
                         [](const auto& info) { return info.param.first; });

TEST(Snapshot, holdsTheMenuBarOnceAndNoPassword) {
  Desktop desktop;
  const DemoProgram demo(desktop.session);
  const Finished tree = desktop.jumplark.run({"tree", "--app", DemoProgram::kName});
  ASSERT_EQ(tree.status, 0) << tree.err;
  EXPECT_EQ(countOf(tree.out, "Role=\"MenuBar\""), 1U) << tree.out;
  EXPECT_EQ(countOf(tree.out, "Role=\"MenuBarItem\""), 4U) << tree.out;
  EXPECT_THAT(tree.out, Not(HasSubstr("correct horse")));
  EXPECT_THAT(tree.out, HasSubstr("Subrole=\"SecureTextField\""));

  const std::vector<Match> matches = desktop.jumplark.everything(kDemo);
  for (const char* title : {"File", "Edit", "View", "Help"}) {
    EXPECT_EQ(std::count_if(matches.begin(), matches.end(), [&](const Match& match) { return match.hasText(title); }),
              1)
        << title << " among" << describe(matches);
  }
}

TEST(Snapshot, isOfTheFrontmostApplicationWithoutATarget) {
  Desktop desktop;
  const DemoProgram demo(desktop.session);
  Process& factory = startWidgetFactory(desktop.session);
  EXPECT_TRUE(find(desktop.jumplark.everything({}), "RadioButton", "Page 2"));
  EXPECT_TRUE(find(desktop.jumplark.everything({"--pid", std::to_string(factory.pid())}), "RadioButton", "Page 2"));
  EXPECT_TRUE(find(desktop.jumplark.everything(kDemo), "Button", "OK"));
}

TEST(Snapshot, followsWhatTheUserDoes) {
  Desktop desktop;
  DemoProgram demo(desktop.session, "Tree");
  EXPECT_FALSE(find(desktop.jumplark.everything(kDemo), "Cell", "Apple"));
  ASSERT_EQ(desktop.jumplark.run({"act", "--app", DemoProgram::kName, "fruits"}).status, 0);
  desktop.session.keys({"key", "Right"});
  ASSERT_TRUE(demo.process().waitForLine("expanded Fruits"));
  EXPECT_TRUE(find(desktop.jumplark.everything(kDemo), "Cell", "Apple"));
  desktop.session.keys({"key", "Left"});
  ASSERT_TRUE(demo.process().waitForLine("collapsed Fruits"));
  EXPECT_FALSE(find(desktop.jumplark.everything(kDemo), "Cell", "Apple"));
}

// Of another program's widgets the desktop's accessibility library tells the truth to compare with.
void expectEveryShowingElement(Desktop& desktop, const std::string& application, const std::string& accessibleName,
                               const std::map<std::string, std::set<std::string>>& rolesByTheirs, size_t atLeast) {
  const std::vector<AccessibleElement> elements = readApplication(desktop.session, accessibleName);
  const std::vector<Match> matches = desktop.jumplark.everything({"--app", application});
  constexpr int kSmallestChoice = 5;
  size_t expected = 0;
  std::vector<std::string> missing;
  for (const AccessibleElement& element : elements) {
    const auto roles = rolesByTheirs.find(element.role);
    if (roles == rolesByTheirs.end() || std::min(element.rect.width, element.rect.height) < kSmallestChoice) {
      continue;
    }
    ++expected;
    const auto matching = std::find_if(matches.begin(), matches.end(), [&](const Match& match) {
      return roles->second.count(match.role) && match.rect == element.rect &&
             (element.name.empty() || element.name.ends_with("-symbolic") || match.hasText(element.name) ||
              match.role == "TextField");
    });
    if (matching == matches.end()) {
      missing.push_back(element.role + " '" + element.name + "' at " + describe(element.rect));
    }
  }
  EXPECT_GE(expected, atLeast);
  EXPECT_THAT(missing, IsEmpty()) << "among:" << describe(matches);
}

TEST(Snapshot, holdsWhatTheWidgetFactoryShows) {
  Desktop desktop;
  startWidgetFactory(desktop.session);
  expectEveryShowingElement(desktop, kWidgetFactory, "gtk3-widget-factory",
                            {{"push button", {"Button", "Link"}},
                             {"toggle button", {"Button", "MenuButton", "CheckBox"}},
                             {"check box", {"CheckBox"}},
                             {"radio button", {"RadioButton"}},
                             {"page tab", {"RadioButton"}},
                             {"combo box", {"ComboBox", "PopUpButton"}},
                             {"slider", {"Slider"}},
                             {"label", {"StaticText"}},
                             {"table cell", {"Cell"}}},
                            60);
  const std::vector<Match> matches = desktop.jumplark.everything({"--app", kWidgetFactory});
  EXPECT_FALSE(find(matches, "RadioButton", "Get Busy")) << "it is on another page";
  EXPECT_TRUE(find(matches, "PopUpButton", "Andrea")) << "though the box calls itself after an icon";
}

TEST(Snapshot, holdsWhatKcalcShows) {
  Desktop desktop;
  startKcalc(desktop.session);
  expectEveryShowingElement(desktop, "kcalc", "kcalc", {{"push button", {"Button"}}, {"menu item", {"MenuBarItem"}}},
                            24);
}

TEST(Snapshot, holdsTheLinesOfATextThatShow) {
  Desktop desktop;
  startMousepad(desktop.session, writeLongText(desktop.session));
  const std::vector<Match> matches = desktop.jumplark.everything({"--app", "mousepad"});
  const auto area =
      std::find_if(matches.begin(), matches.end(), [](const Match& match) { return match.role == "TextArea"; });
  ASSERT_NE(area, matches.end()) << describe(matches);
  ASSERT_EQ(area->texts.count("VisibleText"), 1U);
  EXPECT_THAT(area->texts.at("VisibleText"), AllOf(HasSubstr("Line 1\n"), HasSubstr("Line 10\n"),
                                                   Not(HasSubstr("Line 100")), Not(HasSubstr("Line 300"))));
  expectEveryShowingElement(desktop, "mousepad", "mousepad", {{"menu", {"MenuBarItem"}}}, 6);
  EXPECT_FALSE(std::any_of(matches.begin(), matches.end(), [](const Match& match) { return match.role == "MenuItem"; }))
      << "the menus are closed:" << describe(matches);
}

}  // namespace
}  // namespace jumplark::desktop
