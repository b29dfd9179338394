#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "backends/recorded/RecordedQueryWindow.h"
#include "overlay/JLElementHighlighter.h"
#include "query/engine/JLQueryEngine.h"
#include "query/engine/JLQueryWindowController.h"
#include "query/engine/PreferencesWindow.h"
#include "selection/JLElementSelectionController.h"
#include "support/OnMainThread.h"
#include "support/RecordedFixture.h"
#include "support/RecordedMetrics.h"
#include "tree/JLElementNode.h"

namespace jumplark::testing {

using std::chrono::milliseconds;

/// An editor (501) in front of a mail program (502) and of this program (900, with an untitled and hidden window). The
/// editor shows Save, Save as, Search (buttons), Name (a text field) and Bold (a check box).
inline std::string editorDesktop(int frontmost = 501) {
  const auto element = [](const std::string& id, const std::string& role, const std::string& title, int y) {
    return "\"" + id + R"(":{"attributes":{"AXRole":")" + role + R"(","AXTitle":")" + title + R"(","AXDescription":")" +
           title + R"(","AXParent":{"ref":"w"},"AXWindow":{"ref":"w"},"AXPosition":{"point":[120,)" +
           std::to_string(y) + R"(]},"AXSize":{"size":[100,24]}},"actions":["AXPress"]},)";
  };
  const auto application = [](int pid, const std::string& name, const std::string& window) {
    return R"({"pid":)" + std::to_string(pid) + R"(,"bundle_id":"org.example.)" + name + R"(","name":")" + name +
           R"(","element":")" + window + R"("})";
  };
  return R"({"screens":[[0,0,1440,900]],"pointer":[700,50],"frontmost":)" + std::to_string(frontmost) +
         R"(,"applications":[)" + application(501, "editor", "e") + "," + application(502, "mail", "m") +
         R"(,{"pid":900,"bundle_id":"jumplark","name":"Jumplark","element":"own"}],"elements":{)" +
         element("save", "AXButton", "Save", 250) + element("saveas", "AXButton", "Save as", 200) +
         element("search", "AXButton", "Search", 150) + element("name", "AXTextField", "Name", 300) +
         element("bold", "AXCheckBox", "Bold", 350) +
         R"("e":{"attributes":{"AXRole":"AXApplication","AXTitle":"editor","AXFocusedWindow":{"ref":"w"},"AXChildren":[{"ref":"w"}]}},
    "w":{"attributes":{"AXRole":"AXWindow","AXTitle":"Text","AXParent":{"ref":"e"},"AXPosition":{"point":[100,100]},
         "AXSize":{"size":[600,400]},"AXChildren":[{"ref":"save"},{"ref":"saveas"},{"ref":"search"},{"ref":"name"},{"ref":"bold"}]},
         "actions":["AXRaise"]},
    "m":{"attributes":{"AXRole":"AXApplication","AXTitle":"mail","AXFocusedWindow":{"ref":"mw"},"AXChildren":[{"ref":"mw"}]}},
    "mw":{"attributes":{"AXRole":"AXWindow","AXTitle":"Mail","AXParent":{"ref":"m"},"AXPosition":{"point":[800,100]},
          "AXSize":{"size":[500,700]},"AXChildren":[{"ref":"send"}]},"actions":["AXRaise"]},
    "send":{"attributes":{"AXRole":"AXButton","AXTitle":"Send","AXParent":{"ref":"mw"},"AXWindow":{"ref":"mw"},
            "AXPosition":{"point":[850,150]},"AXSize":{"size":[80,24]}}},
    "own":{"attributes":{"AXRole":"AXApplication","AXTitle":"Jumplark","AXFocusedWindow":{"ref":"ow"},"AXChildren":[{"ref":"ow"}]}},
    "ow":{"attributes":{"AXRole":"AXWindow","AXParent":{"ref":"own"},"AXPosition":{"point":[0,0]},"AXSize":{"size":[10,10]}}}
  }})";
}

class FakePreferences : public PreferencesWindow {
 public:
  void showPreferencesWindow() override { ++shown; }
  void hidePreferencesWindow() override { ++hidden; }
  int shown = 0;
  int hidden = 0;
};

/// The engine over a recorded desktop in virtual time, with the user in front of it.
class EngineFixture {
 public:
  explicit EngineFixture(const std::string& json = editorDesktop()) : desktop(json) {
    onMain([this] {
      engine = std::make_unique<JLQueryEngine>();
      engine->setPreferencesWindow(&preferences);
    });
    advance(milliseconds(200));
  }
  ~EngineFixture() {
    EXPECT_EQ(window().callsOffMainThread(), 0);
    onMain([this] { engine.reset(); });
  }
  EngineFixture(const EngineFixture&) = delete;
  EngineFixture& operator=(const EngineFixture&) = delete;

  void onMain(const std::function<void()>& action) { onMainThread(desktop, action); }
  void advance(Duration duration) { desktop->queues().advance(duration); }
  RecordedQueryWindow& window() { return *desktop->views().queryWindow(); }

  bool hotkey() { return engine->hotkeyPressed(); }
  /// Shortcut, and the snapshot taken.
  void open() {
    hotkey();
    advance(milliseconds(1));
  }
  void type(const std::string& text) {
    onMain([&] { window().typeText(text); });
  }
  /// Typed, and the quiet interval over.
  void typeAndSettle(const std::string& text) {
    type(text);
    advance(milliseconds(101));
  }
  void press(int64_t keyCode, uint64_t flags = 0) {
    onMain([&] { window().press(keyCode, flags); });
  }
  void pressCharacter(const std::string& character, uint64_t flags) {
    onMain([&] { window().pressCharacter(character, flags); });
  }
  void tapControl() {
    desktop->input().injectFlags(modifier_flag::control);
    advance(milliseconds(50));
    desktop->input().injectFlags(0);
    advance(milliseconds(50));
  }

  std::string completedQuery() const { return engine->completedQuery().value().text.value_or("(none)"); }
  bool isActive() const { return engine->isActive().value(); }
  bool overlayShows() { return !desktop->views().overlay().shownLayers().empty(); }
  std::string titleOf(const JLElementMatch& match) const { return match.node()->element()->title().value_or(""); }
  std::vector<std::string> matches() const {
    std::vector<std::string> titles;
    for (const auto& match : engine->selectionController().elementMatchesByScore()) {
      titles.push_back(titleOf(match));
    }
    return titles;
  }
  std::string selected() const {
    const auto match = engine->selectionController().currentMatch();
    return match ? titleOf(*match) : "";
  }
  /// Where the button went down, top-left origin, with the click state.
  std::vector<MouseEvent> clicks() {
    std::vector<MouseEvent> found;
    for (const auto& posted : desktop->input().postedMouseEvents()) {
      if (posted.event.type == event_type::leftMouseDown) {
        found.push_back(posted.event);
      }
    }
    return found;
  }

  RecordedFixture desktop;
  RecordedMetrics metrics;
  FakePreferences preferences;
  std::unique_ptr<JLQueryEngine> engine;
};

}  // namespace jumplark::testing
