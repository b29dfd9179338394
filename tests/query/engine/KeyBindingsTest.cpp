#include "query/engine/KeyBindings.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <regex>

#include "input/ZMOModifierTapDetector.h"
#include "query/engine/EngineFixture.h"

namespace jumplark::testing {
namespace {

using namespace modifier_flag;

/// The bindings, and what was asked for.
struct Bound {
  struct Note {
    std::string* asked;
    const char* name;
    void operator()(const auto&... /*event*/) const { *asked += name; }
  };
  RecordedFixture desktop{DesktopText::of("")};
  MainThreadCalls calls;
  ZMOModifierTapDetector taps;
  std::string asked;
  bool listIsShown = false;
  KeyBindings keys{
      {[this](ListKey key) {
         static const char* const kNames[] = {"list",    "back", "down",   "up",     "page down",
                                              "page up", "top",  "bottom", "choose", "none"};
         const bool isUsed = listIsShown || key == ListKey::toggle;
         asked = isUsed ? kNames[static_cast<size_t>(key)] : "";
         return isUsed;
       },
       Note{&asked, "act"}, Note{&asked, "hover"}, Note{&asked, "focus"}, Note{&asked, "end"}, Note{&asked, "next"},
       Note{&asked, "previous"}, Note{&asked, "label"}, Note{&asked, "refresh"}, Note{&asked, "preferences"}},
      taps,
      calls};

  std::string press(const KeyEvent& event) {
    asked.clear();
    keys.keyDown(event);
    return asked;
  }
};

/// The keys at the beginning of each row of a table of the guide, as they read.
Strings keysOfGuide(const std::string& table) {
  std::ifstream file(JUMPLARK_GUIDE);
  std::string page{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  page = page.substr(page.find("id=\"" + table + "\""));
  page.resize(page.find("</table>"));
  const std::regex row("<tr><th scope=\"row\">(.*?)</th>");
  Strings names;
  for (std::sregex_iterator found(page.begin(), page.end(), row), end; found != end; ++found) {
    names.push_back(std::regex_replace((*found)[1].str(), std::regex("<[^>]*>"), ""));
  }
  return names;
}

/// How often each thing is asked for when every key is pressed with some modifiers.
std::map<std::string, int> timesAsked(Bound& bound) {
  std::map<std::string, int> asked;
  for (int64_t code = 0; code < 0x20000; code = code == 0x100 ? key_code::symbolBase : code + 1) {
    const std::string character(1, code > 0x10020 && code < 0x1007F ? static_cast<char>(code) : '\x1');
    for (const uint64_t flags : {uint64_t{0}, shift, command, option, command | shift, control | shift}) {
      ++asked[bound.press(key(code, flags, character))];
    }
  }
  asked.erase("");
  return asked;
}

TEST(KeyBindings, askForWhatTheGuideSaysAndForNothingElse) {
  const std::vector<std::tuple<const char*, KeyEvent, const char*>> cases = {
      {"Return", key(key_code::returnKey), "act"},
      {"Escape", key(key_code::escape), "end"},
      {"Tab", key(key_code::tab, 0x100), "next"},  // with a bit of the keyboard's own
      {"Shift+Tab", key(key_code::tab, shift), "previous"},
      {"F5", key(key_code::f5), "refresh"},
      {"F10", key(key_code::f10), "list"},
      {"Super+R", key(0x10072, command, "r"), "refresh"},
      {"Super+comma", key(0x1002C, command, ","), "preferences"},
      {"Control+letter", key(0x10078, control, "x"), "label"},
      {"Control+BackSpace", key(key_code::backspace, control), "label"},
  };
  Bound bound;
  Strings names = {"Control, tapped", "Control, tapped twice"};
  for (const auto& [inGuide, event, asked] : cases) {
    EXPECT_EQ(bound.press(event), asked) << inGuide;
    names.emplace_back(inGuide);
  }
  EXPECT_THAT(keysOfGuide("query-window-keys"), ::testing::UnorderedElementsAreArray(names));
  EXPECT_EQ(bound.press({0x1043A, command, "к", "r", false}), "refresh") << "a layout without Latin letters";

  EXPECT_EQ(
      timesAsked(bound),
      (std::map<std::string, int>{
          {"act", 6}, {"end", 6}, {"list", 1}, {"next", 1}, {"previous", 1}, {"refresh", 2}, {"preferences", 1}}));
}

TEST(KeyBindings, meanWhatTheGuideSaysWhileTheListOfCommandsShows) {
  const std::vector<std::tuple<const char*, KeyEvent, const char*>> cases = {
      {"Down", key(key_code::down), "down"},
      {"Tab", key(key_code::tab), "down"},
      {"Up", key(key_code::up), "up"},
      {"Shift+Tab", key(key_code::tab, shift), "up"},
      {"Page Down", key(key_code::pageDown), "page down"},
      {"Page Up", key(key_code::pageUp), "page up"},
      {"Home", key(key_code::home), "top"},
      {"End", key(key_code::end), "bottom"},
      {"Return", key(key_code::returnKey, shift), "choose"},
      {"BackSpace", key(key_code::backspace), "back"},
      {"F10", key(key_code::f10), "list"},
  };
  Bound bound;
  bound.listIsShown = true;
  std::string names;
  for (const auto& [inGuide, event, asked] : cases) {
    EXPECT_EQ(bound.press(event), asked) << inGuide;
    names += (names.empty() ? "" : ", ") + std::string(inGuide);
  }
  std::string inGuide;
  for (const std::string& row : keysOfGuide("command-list-keys")) {
    inGuide += (inGuide.empty() ? "" : ", ") + row;
  }
  EXPECT_EQ(inGuide, names);
  EXPECT_EQ(bound.press({key_code::backspace, 0, "", "", true}), "") << "held down to empty the field";
  EXPECT_EQ(timesAsked(bound), (std::map<std::string, int>{{"back", 1},
                                                           {"bottom", 1},
                                                           {"choose", 6},
                                                           {"down", 2},
                                                           {"end", 6},
                                                           {"list", 1},
                                                           {"page down", 1},
                                                           {"page up", 1},
                                                           {"preferences", 1},
                                                           {"refresh", 2},
                                                           {"top", 1},
                                                           {"up", 2}}));
}

}  // namespace
}  // namespace jumplark::testing
