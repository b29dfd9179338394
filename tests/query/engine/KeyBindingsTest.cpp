#include "query/engine/KeyBindings.h"

#include <gmock/gmock.h>

#include <fstream>
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

/// The keys at the beginnings of the rows of a table of the guide, as they read, divided at commas.
Strings keysOfGuide(const std::string& table) {
  std::ifstream file(JUMPLARK_GUIDE);
  std::string page{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  page = page.substr(page.find("id=\"" + table + "\""));
  page.resize(page.find("</table>"));
  const std::regex header("<tr><th scope=\"row\">(.*?)</th>");
  Strings names;
  for (std::sregex_iterator found(page.begin(), page.end(), header), end; found != end; ++found) {
    std::istringstream row(std::regex_replace((*found)[1].str(), std::regex("<[^>]*>"), ""));
    for (std::string name; std::getline(row >> std::ws, name, ',');) {
      names.push_back(name);
    }
  }
  return names;
}

/// A key as the guide has it, what it is, and what it asks for.
using Meanings = std::vector<std::tuple<const char*, KeyEvent, const char*>>;

/// `others` are in the guide, too.
void expectWhatTheGuideSays(const std::string& table, const Meanings& keys, Bound& bound, Strings others = {}) {
  for (const auto& [inGuide, event, asked] : keys) {
    EXPECT_EQ(bound.press(event), asked) << inGuide;
    others.emplace_back(inGuide);
  }
  EXPECT_THAT(keysOfGuide(table), ::testing::UnorderedElementsAreArray(others));
}

/// How often each thing is asked for when every key is pressed with some modifiers, "act 6, end 6".
std::string timesAsked(Bound& bound) {
  std::map<std::string, int> asked;
  for (int64_t code = 0; code < 0x20000; code = code == 0x100 ? key_code::symbolBase : code + 1) {
    const std::string character(1, code > 0x10020 && code < 0x1007F ? static_cast<char>(code) : '\x1');
    for (const uint64_t flags : {uint64_t{0}, shift, command, option, command | shift, control | shift}) {
      ++asked[bound.press(key(code, flags, character))];
    }
  }
  std::string text;
  for (const auto& [what, times] : asked) {
    text += what.empty() ? "" : (text.empty() ? "" : ", ") + what + " " + std::to_string(times);
  }
  return text;
}

TEST(KeyBindings, askForWhatTheGuideSaysAndForNothingElse) {
  const Meanings keys = {
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
  expectWhatTheGuideSays("query-window-keys", keys, bound, {"Control", "tapped", "Control", "tapped twice"});
  EXPECT_EQ(bound.press({0x1043A, command, "к", "r", false}), "refresh") << "a layout without Latin letters";
  EXPECT_EQ(timesAsked(bound), "act 6, end 6, list 1, next 1, preferences 1, previous 1, refresh 2");
}

TEST(KeyBindings, meanWhatTheGuideSaysWhileTheListOfCommandsShows) {
  const Meanings keys = {
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
  expectWhatTheGuideSays("command-list-keys", keys, bound);
  EXPECT_EQ(bound.press({key_code::backspace, 0, "", "", true}), "") << "held down to empty the field";
  EXPECT_EQ(timesAsked(bound),
            "back 1, bottom 1, choose 6, down 2, end 6, list 1, page down 1, page up 1, preferences 1, refresh 2, "
            "top 1, up 2");
}

}  // namespace
}  // namespace jumplark::testing
