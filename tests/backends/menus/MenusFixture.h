#pragma once

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <vector>

#include "backends/atspi/support/SourceFixture.h"
#include "backends/linux/atspi/menus/AtspiMenus.h"
#include "backends/menus/ToldCommands.h"

namespace jumplark::atspi {

inline constexpr uint64_t kEnabled = bit(state::enabled) | bit(state::sensitive);

/// An application with a menu bar whose menus are closed, the way Qt has them in its tree.
class MenusFixture : public SourceFixture {
 protected:
  explicit MenusFixture(const std::string& toolkit = "Qt", const std::string& version = "6.4.2")
      : SourceFixture(toolkit, version) {
    app.add("frame", "bar", element(role::menuBar, ""));
    menu("bar", "file", "File");
    item("file", "quit", "Quit", "Ctrl+Q");
  }

  FakeElement& add(const std::string& parent, const std::string& id, uint32_t role, const std::string& name,
                   uint64_t states = kEnabled) {
    FakeElement made = element(role, name);
    made.states = states;
    return app.add(parent, id, made.with("Action"));
  }
  /// A menu item with a popup menu of the same id and a "_menu" behind it.
  void menu(const std::string& parent, const std::string& id, const std::string& name) {
    add(parent == "bar" ? parent : parent + "_menu", id, role::menuItem, name);
    add(id, id + "_menu", role::popupMenu, "");
  }
  FakeElement& item(const std::string& parent, const std::string& id, const std::string& name,
                    const std::string& key = "", uint32_t role = role::menuItem, uint64_t states = kEnabled) {
    FakeElement made = element(role, name);
    made.states = states;
    made.keys = key;
    made.actions = {"click"};
    // Complete, since it may be asked for at once.
    return app.add(app.hasElement(parent + "_menu") ? parent + "_menu" : parent, id, made.with("Action"));
  }

  menus::MenuRequest request(menus::TimePoint deadline = menus::later()) {
    return {getpid(), windows.windows[0], deadline};
  }
  std::vector<MenuCommand> commands() { return menus::commandsOf(menus_, request()); }
  std::vector<std::string> lines() { return menus::linesOf(commands()); }
  MenuOutcome perform(const MenuCommand& command, menus::TimePoint deadline = menus::later()) {
    return menus_.perform(command, deadline).value_or(MenuOutcome::gone);
  }

  /// A menu of something in the window: the application's own child for as long as it is open, with new elements.
  void contextMenu() {
    const std::string menu = "context" + std::to_string(++contexts_);
    add("root", menu, role::popupMenu, "", kShown | kEnabled);
    item(menu, menu + "copy", "Copy", "Ctrl+C", role::menuItem, kShown | kEnabled).rect = {40, 60, 20, 10};
    add(menu, menu + "more", fills ? role::menuItem : role::menu, "More", kShown | kEnabled);
    if (!fills) {
      item(menu + "more", menu + "split", "Split");
    }
  }
  void closeContextMenu() {
    for (const char* part : {"", "copy", "more", "split"}) {
      app.remove("context" + std::to_string(contexts_) + part);
    }
  }
  /// It comes to whoever calls it so.
  void called(const std::string& how) {
    hands.push_back(how);
    if (opensPage) {
      opensPage();
    } else if (how == opensContext) {
      contextMenu();
    }
  }
  void showPopup(Rect place) {
    WindowFacts popup = windows.windows[0];
    popup.surface = popup.frame = place;
    popup.isPopup = true;
    windows.popups = {popup};
  }
  std::vector<MenuCommand> open() { return menus_.readOpen(menus::later(), true).commands; }

  std::vector<std::string> hands;
  std::vector<FakeElement*> opens;  ///< what shows after each click
  std::function<void()> fills;      ///< what a click makes of a menu that is empty until then
  Point pointer{500, 500};
  std::string opensContext;
  std::function<void()> opensPage;  ///< instead, whatever calls it
  AtspiMenus menus_{
      source(), windows, [this](const ElementRef&) { return source().last; },
      MenuHands{.click =
                    [this](Point place) {
                      hands.push_back(fmt::format("{},{}", place.x, place.y));
                      if (fills) {
                        fills();
                      }
                      if (!opens.empty()) {
                        opens.front()->states |= bit(state::showing);
                        opens.erase(opens.begin());
                      }
                    },
                .clickSecondary = [this](Point place) { called(fmt::format("right {},{}", place.x, place.y)); },
                .typeMenuKey = [this] { called("Menu"); },
                .typeEscape = [this] { hands.emplace_back("Escape"); },
                .typeKey = [this](int64_t keyCode) { hands.push_back(fmt::format("key {}", keyCode)); },
                .closeMenus =
                    [this] {
                      hands.emplace_back("close");
                      closeContextMenu();
                      windows.popups.clear();
                    },
                .pointer = [this] { return std::optional(pointer); }}};

 private:
  int contexts_ = 0;
};

}  // namespace jumplark::atspi
