#pragma once

#include "backends/recorded/RecordedQueryWindow.h"
#include "query/engine/JLQueryEngine.h"
#include "query/engine/PreferencesWindow.h"
#include "selection/JLElementSelectionController.h"
#include "support/DesktopText.h"
#include "support/RecordedFixture.h"
#include "support/RecordedMetrics.h"
#include "tree/JLElementNode.h"

namespace jumplark::testing {

using std::chrono::milliseconds;
using Strings = std::vector<std::string>;

/// An editor (1) in front of a mail program (2) and of this program (3, with an untitled window).
inline const std::string kEditorDesktop = DesktopText::of(R"(
  editor AXApplication bundle=org.example.editor AXFocusedWindow=@w
    w AXWindow 100,100/600,400 AXTitle="Text" !AXRaise
      save AXButton 120,250/100,24 AXTitle="Save"
      saveas AXButton 120,200/100,24 AXTitle="Save\u0020as"
      search AXButton 120,150/100,24 AXTitle="Search"
      name AXTextField 120,300/100,24 AXTitle="Name" AXDescription="Name"
  mail AXApplication bundle=org.example.mail AXFocusedWindow=@mw
    mw AXWindow 800,100/500,700 !AXRaise
      send AXButton 850,150/80,24 AXTitle="Send"
  own AXApplication bundle=jumplark AXFocusedWindow=@ow
    ow AXWindow 0,0/10,10
)",
                                                          R"("screens":[[0,0,1440,900]],"pointer":[700,50],)");

inline KeyEvent key(int64_t code, uint64_t flags = 0, const std::string& character = "") {
  return {code, flags, character, character, false};
}

struct FakePreferences : PreferencesWindow {
  void showPreferencesWindow() override { ++shown; }
  void hidePreferencesWindow() override { ++hidden; }
  int shown = 0;
  int hidden = 0;
};

/// The engine over a recorded desktop in virtual time, with the user in front of it.
class EngineFixture {
 public:
  explicit EngineFixture(const std::string& json = kEditorDesktop) : desktop(json) {
    onMain([this] {
      engine = std::make_unique<JLQueryEngine>();
      engine->setPreferencesWindow(&preferences);
    });
    advance(200);
  }
  ~EngineFixture() {
    EXPECT_EQ(window().callsOffMainThread(), 0);
    onMain([this] { engine.reset(); });
  }
  EngineFixture(const EngineFixture&) = delete;
  EngineFixture& operator=(const EngineFixture&) = delete;

  void onMain(const std::function<void()>& action) { desktop.onMainThread(action); }
  void advance(int time) { desktop->queues().advance(milliseconds(time)); }
  RecordedQueryWindow& window() { return *desktop->views().queryWindow(); }

  /// What the user does, word by word: +50 (lets milliseconds pass), 'text (types it), shortcut, tap (of Control),
  /// elsewhere (clicks there), menusclose, and names of keys.
  void user(const std::string& words) {
    std::istringstream stream(words);
    for (std::string word; stream >> word;) {
      if (word[0] == '+') {
        advance(std::stoi(word));
      } else if (word == "shortcut") {
        engine->hotkeyPressed();
      } else if (word == "tap") {
        for (const uint64_t flags : {modifier_flag::control, uint64_t{0}}) {
          desktop->input().injectFlags(flags);
          advance(50);
        }
      } else {
        onMain([&] { useWindow(word); });
      }
    }
  }

  bool isActive() const { return engine->isActive().value(); }
  std::string completedQuery() const { return engine->completedQuery().value().text.value_or("(none)"); }
  size_t shownBoxes() { return desktop->views().overlay().shownLayers().size(); }
  size_t reports(const std::string& event) const { return metrics.eventsNamed(event).size(); }
  Strings matches() const {
    Strings titles;
    for (const auto& match : engine->selectionController().elementMatchesByScore()) {
      titles.push_back(match.node()->element()->title().value_or(""));
    }
    return titles;
  }
  std::string selected() const {
    const int64_t index = engine->selectionController().currentIndex();
    return index < 0 ? "" : matches()[static_cast<size_t>(index)];
  }
  /// Where the button went down; top-left origin.
  std::vector<Point> clicks() {
    std::vector<Point> found;
    for (const auto& posted : desktop->input().postedMouseEvents()) {
      if (posted.event.type == event_type::leftMouseDown) {
        found.push_back(posted.event.position);
      }
    }
    return found;
  }

  RecordedFixture desktop;
  RecordedMetrics metrics;
  FakePreferences preferences;
  std::unique_ptr<JLQueryEngine> engine;

 private:
  void useWindow(const std::string& word) {
    static const std::map<std::string, KeyEvent> kKeys = {{"Return", key(key_code::returnKey)},
                                                          {"Tab", key(key_code::tab)},
                                                          {"Shift-Tab", key(key_code::tab, modifier_flag::shift)},
                                                          {"Escape", key(key_code::escape)},
                                                          {"BackSpace", key(key_code::backspace)},
                                                          {"F5", key(key_code::f5)},
                                                          {"F10", key(key_code::f10)},
                                                          {"Down", key(key_code::down)},
                                                          {"PageDown", key(key_code::pageDown)},
                                                          {"Home", key(key_code::home)},
                                                          {"Control-u", key('u', modifier_flag::control, "u")},
                                                          {"Super-comma", key(',', modifier_flag::command, ",")}};
    if (word[0] == '\'') {
      window().typeText(word.substr(1));
    } else if (word == "elsewhere") {
      window().resignKey();
    } else if (word == "menusclose") {
      window().closeMenus();
    } else {
      window().press(kKeys.at(word));
    }
  }
};

}  // namespace jumplark::testing
