#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <functional>
#include <mutex>
#include <string>

#include "backends/atspi/support/PrivateBus.h"
#include "backends/linux/menus/DBusMenus.h"
#include "backends/linux/menus/GtkMenus.h"
#include "backends/menus/ToldCommands.h"

namespace jumplark::menus {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Appender = std::function<void(sd_bus_message*)>;

struct FakeAddresses final : WindowMenus {
  WindowMenuAddresses menusOf(WindowId) override { return addresses; }
  WindowMenuAddresses addresses;
};

void reply(sd_bus_message* question, const Appender& append) {
  sd_bus_message* answer = nullptr;
  sd_bus_message_new_method_return(question, &answer);
  append(answer);
  sd_bus_send(nullptr, answer, nullptr);
  sd_bus_message_unref(answer);
}

/// An application that tells its menus on a bus, and what was done to them.
class SessionMenus : public ::testing::Test {
 protected:
  using Handler = std::function<bool(sd_bus_message* message, const std::string& member)>;

  std::vector<std::string> lines(MenuSource& source) { return linesOf(commands(source)); }
  std::vector<MenuCommand> commands(MenuSource& source, TimePoint deadline = later()) {
    return commandsOf(source, {1, {}, deadline});
  }
  void note(const std::string& what) {
    const std::lock_guard lock(mutex_);
    done_.push_back(what);
  }
  std::vector<std::string> done() {
    const std::lock_guard lock(mutex_);
    return done_;
  }
  MenuOutcome perform(MenuSource& source, const std::string& line, TimePoint deadline = later()) {
    for (const MenuCommand& command : known) {
      if (oneLine(command) == line) {
        return source.perform(command, deadline).value_or(MenuOutcome::gone);
      }
    }
    ADD_FAILURE() << "no " << line;
    return MenuOutcome::gone;
  }

  atspi::PrivateBus bus;
  FakeAddresses windows;
  std::vector<MenuCommand> known;  ///< perform() chooses among these

 private:
  std::mutex mutex_;
  std::vector<std::string> done_;
};

class GtkMenusTest : public SessionMenus {
 protected:
  GtkMenusTest() { windows.addresses = {application.uniqueName(), "/bar", "/appmenu", "/app", "/win", {}, {}}; }

  static void item(sd_bus_message* m, const Appender& append) {
    sd_bus_message_open_container(m, 'a', "{sv}");
    append(m);
    sd_bus_message_close_container(m);
  }
  static void text(sd_bus_message* m, const char* name, const char* value) {
    sd_bus_message_append(m, "{sv}", name, "s", value);
  }
  static void action(sd_bus_message* m, const char* label, const char* name, const char* accelerator = "") {
    item(m, [&](sd_bus_message* in) {
      text(in, "label", label);
      text(in, "action", name);
      text(in, "accel", accelerator);
    });
  }
  static void link(sd_bus_message* m, const char* kind, const char* label, uint32_t group, uint32_t menu) {
    item(m, [&](sd_bus_message* in) {
      text(in, "label", label);
      sd_bus_message_append(in, "{sv}", kind, "(uu)", group, menu);
    });
  }
  static void menu(sd_bus_message* m, uint32_t group, uint32_t number, const Appender& items) {
    sd_bus_message_open_container(m, 'r', "uuaa{sv}");
    sd_bus_message_append(m, "uu", group, number);
    sd_bus_message_open_container(m, 'a', "a{sv}");
    items(m);
    sd_bus_message_close_container(m);
    sd_bus_message_close_container(m);
  }
  void menus(sd_bus_message* m, uint32_t group) const {
    if (group == 0) {
      menu(m, 0, 0, [](sd_bus_message* in) { link(in, ":submenu", "_View", 1, 0); });
    } else if (group == 1) {
      menu(m, 1, 0, [this](sd_bus_message* in) {
        link(in, ":section", "Style", 1, 1);
        link(in, ":submenu", "Colours", 2, 0);
        action(in, "About", "app.about", "F1");
        link(in, ":submenu", "Again", 1, 0);
        for (int i = 0; i < extra; ++i) {
          action(in, "More", "app.about");
        }
      });
      menu(m, 1, 1, [](sd_bus_message* in) {
        action(in, "_Bold", "win.bold", "<Primary>b");
        action(in, "Print…", "win.print");
        action(in, "Missing", "win.missing");
        item(in, [](sd_bus_message* hidden) {
          text(hidden, "label", "Hidden");
          text(hidden, "action", "win.missing");
          text(hidden, "hidden-when", "action-missing");
        });
        link(in, ":section", "", 1, 1);
      });
    } else if (group == 2) {
      menu(m, 2, 0, [](sd_bus_message* in) {
        for (const char* colour : {"red", "green"}) {
          item(in, [&](sd_bus_message* radio) {
            text(radio, "label", colour);
            text(radio, "action", "win.colour");
            text(radio, "target", colour);
          });
        }
      });
    }
  }
  /// (bgav), of the actions of the window.
  void describe(sd_bus_message* m, const std::string& name) const {
    const int enabled = name != "print" || canPrint ? 1 : 0;
    sd_bus_message_open_container(m, 'r', "bgav");
    sd_bus_message_append(m, "bg", enabled, name == "colour" ? "s" : "");
    if (name == "bold") {
      sd_bus_message_append(m, "av", 1, "b", 1);
    } else if (name == "colour") {
      sd_bus_message_append(m, "av", 1, "s", "green");
    } else {
      sd_bus_message_append(m, "av", 0);
    }
    sd_bus_message_close_container(m);
  }
  bool answer(sd_bus_message* message) {
    const std::string member = sd_bus_message_get_member(message);
    const std::string path = sd_bus_message_get_path(message);
    const char* name = "";
    if (member == "Start" && path == "/bar") {
      std::vector<uint32_t> groups;
      const void* data = nullptr;
      size_t bytes = 0;
      sd_bus_message_read_array(message, 'u', &data, &bytes);
      const auto* first = static_cast<const uint32_t*>(data);
      groups.assign(first, first + bytes / sizeof(uint32_t));
      reply(message, [&](sd_bus_message* m) {
        sd_bus_message_open_container(m, 'a', "(uuaa{sv})");
        for (const uint32_t group : groups) {
          menus(m, group);
        }
        sd_bus_message_close_container(m);
      });
    } else if (member == "DescribeAll") {
      const std::vector<std::string> names =
          path == "/win" ? std::vector<std::string>{"bold", "print", "colour"} : std::vector<std::string>{"about"};
      reply(message, [&](sd_bus_message* m) {
        sd_bus_message_open_container(m, 'a', "{s(bgav)}");
        for (const std::string& one : names) {
          sd_bus_message_open_container(m, 'e', "s(bgav)");
          sd_bus_message_append(m, "s", one.c_str());
          describe(m, one);
          sd_bus_message_close_container(m);
        }
        sd_bus_message_close_container(m);
      });
    } else if (member == "Describe" && sd_bus_message_read(message, "s", &name) > 0 && std::string(name) != gone) {
      reply(message, [&](sd_bus_message* m) { describe(m, name); });
    } else if (member == "Activate" && sd_bus_message_read(message, "s", &name) > 0) {
      const char* target = "";
      if (sd_bus_message_enter_container(message, 'a', "v") > 0 && sd_bus_message_at_end(message, 0) == 0) {
        sd_bus_message_read(message, "v", "s", &target);
      }
      note(path + " " + name + " " + target);
      return silent || sd_bus_reply_method_return(message, "") >= 0;
    } else {
      return false;
    }
    return true;
  }

  // Set while nothing is under way.
  int extra = 0;
  bool canPrint = false;
  bool silent = false;
  std::string gone;
  atspi::FakePeer application{bus.address(), "", [this](sd_bus_message* m) { return answer(m); }};
  GtkMenus source{windows, bus.address()};
};

TEST_F(GtkMenusTest, menusReadAsTheirWindowWouldShowThem) {
  EXPECT_THAT(lines(source), ElementsAre("View>Bold Control+B [x]", "View>Print… disabled", "View>Missing disabled",
                                         "View>Colours>red ( )", "View>Colours>green (o)", "View>About F1"))
      << "each once, though they hold each other";
}

TEST_F(GtkMenusTest, aCommandActivatesItsActionWithItsTarget) {
  known = commands(source);
  EXPECT_EQ(perform(source, "View>Colours>red ( )"), MenuOutcome::done);
  EXPECT_EQ(perform(source, "View>About F1"), MenuOutcome::done);
  EXPECT_EQ(perform(source, "View>Print… disabled"), MenuOutcome::disabled);
  canPrint = true;
  EXPECT_EQ(perform(source, "View>Print… disabled"), MenuOutcome::done) << "what it is now counts";
  gone = "bold";
  EXPECT_EQ(perform(source, "View>Bold Control+B [x]"), MenuOutcome::gone);
  silent = true;
  EXPECT_EQ(perform(source, "View>About F1"), MenuOutcome::done) << "its dialog is open";
  EXPECT_THAT(done(), ElementsAre("/win colour red", "/app about ", "/win print ", "/app about "));
  EXPECT_EQ(source.perform({{"x"}, {}, {}, false, true, false, nullptr}, later()), std::nullopt);
}

TEST_F(GtkMenusTest, whatIsTooLongOrDoesNotAnswerEnds) {
  known = commands(source);
  extra = 100'000;
  EXPECT_EQ(commands(source).size(), Menus::kMostCommands);
  application.hang();
  EXPECT_THAT(commands(source, Clock::now() + std::chrono::milliseconds(50)), IsEmpty());
  EXPECT_EQ(perform(source, "View>About F1", Clock::now() + std::chrono::milliseconds(50)), MenuOutcome::failed);
  windows.addresses = {};
  EXPECT_THAT(commands(source), IsEmpty());
  windows.addresses.gtkBusName = "no name";
  windows.addresses.gtkMenuBarPath = "no path";
  EXPECT_THAT(commands(source), IsEmpty());
}

/// One item of a menu of com.canonical.dbusmenu.
struct FakeItem {
  int32_t id = 0;
  std::string label;
  std::vector<FakeItem> children = {};
  std::string toggle = {};
  bool isOn = false;
  bool isEnabled = true;
  bool isVisible = true;
  bool isMenu = false;
  const char* key = nullptr;
  bool isSeparator = false;
};

class DBusMenusTest : public SessionMenus {
 protected:
  static void properties(sd_bus_message* m, const FakeItem& item) {
    sd_bus_message_open_container(m, 'a', "{sv}");
    sd_bus_message_append(m, "{sv}", "label", "s", item.label.c_str());
    if (!item.toggle.empty()) {
      sd_bus_message_append(m, "{sv}", "toggle-type", "s", item.toggle.c_str());
      sd_bus_message_append(m, "{sv}", "toggle-state", "i", item.isOn ? 1 : 0);
    }
    if (!item.isEnabled) {
      sd_bus_message_append(m, "{sv}", "enabled", "b", 0);
    }
    if (!item.isVisible) {
      sd_bus_message_append(m, "{sv}", "visible", "b", 0);
    }
    if (item.isMenu || !item.children.empty()) {
      sd_bus_message_append(m, "{sv}", "children-display", "s", "submenu");
    }
    if (item.isSeparator) {
      sd_bus_message_append(m, "{sv}", "type", "s", "separator");
    }
    if (item.key) {
      sd_bus_message_append(m, "{sv}", "shortcut", "aas", 1, 2, "Control", item.key);
    }
    sd_bus_message_close_container(m);
  }
  static void layout(sd_bus_message* m, const FakeItem& item) {  // NOLINT(misc-no-recursion)
    sd_bus_message_open_container(m, 'r', "ia{sv}av");
    sd_bus_message_append(m, "i", item.id);
    properties(m, item);
    sd_bus_message_open_container(m, 'a', "v");
    for (const FakeItem& child : item.children) {
      sd_bus_message_open_container(m, 'v', "(ia{sv}av)");
      layout(m, child);
      sd_bus_message_close_container(m);
    }
    sd_bus_message_close_container(m);
    sd_bus_message_close_container(m);
  }
  static FakeItem* find(FakeItem& item, int32_t id) {  // NOLINT(misc-no-recursion)
    FakeItem* found = item.id == id ? &item : nullptr;
    for (FakeItem& child : item.children) {
      found = found ? found : find(child, id);
    }
    return found;
  }
  bool answer(sd_bus_message* message) {
    const std::string member = sd_bus_message_get_member(message);
    int32_t id = 0;
    const char* event = "";
    if (member == "GetMenuForWindow") {
      return sd_bus_reply_method_return(message, "so", sd_bus_message_get_destination(message), "/menu") >= 0;
    }
    if (member == "GetLayout" && sd_bus_message_read(message, "i", &id) > 0) {
      reply(message, [&](sd_bus_message* m) {
        sd_bus_message_append(m, "u", 1);
        layout(m, *find(root, id));
      });
      return true;
    }
    if (member == "AboutToShow" && sd_bus_message_read(message, "i", &id) > 0) {
      note("made " + std::to_string(id));
      find(root, id)->children = {{40, "Made", {}}};
      return sd_bus_reply_method_return(message, "b", 1) >= 0;
    }
    if (member == "GetGroupProperties" && sd_bus_message_read(message, "ai", 1, &id) > 0) {
      reply(message, [&](sd_bus_message* m) {
        sd_bus_message_open_container(m, 'a', "(ia{sv})");
        if (const FakeItem* item = find(root, id)) {
          sd_bus_message_open_container(m, 'r', "ia{sv}");
          sd_bus_message_append(m, "i", id);
          properties(m, *item);
          sd_bus_message_close_container(m);
        }
        sd_bus_message_close_container(m);
      });
      return true;
    }
    if (member == "Event" && sd_bus_message_read(message, "is", &id, &event) > 0) {
      note(event + (" " + std::to_string(id)));
      return sd_bus_reply_method_return(message, "") >= 0;
    }
    return false;
  }

  // Set while nothing is under way.
  FakeItem root{0,
                "",
                {{1,
                  "_Edit",
                  {{2, "_Cut", {}, "", false, false, true, false, "x"},
                   {3, "", {}, "", false, true, true, false, nullptr, true},
                   {4, "Hidden", {}, "", false, true, false},
                   {5, "Wrap", {}, "checkmark", true},
                   {6, "Modes", {{7, "Fast", {}, "radio", true}, {8, "Slow", {}, "radio"}}},
                   {9, "Recent", {}, "", false, true, true, true}}}}};
  atspi::FakePeer application{bus.address(), "com.canonical.AppMenu.Registrar",
                              [this](sd_bus_message* m) { return answer(m); }};
  DBusMenus source{windows, bus.address()};
};

TEST_F(DBusMenusTest, menusReadAsTheirWindowWouldShowThem) {
  EXPECT_THAT(lines(source), ElementsAre("Edit>Cut Control+X disabled", "Edit>Wrap [x]", "Edit>Modes>Fast (o)",
                                         "Edit>Modes>Slow ( )", "Edit>Recent>Made"))
      << "told by the registrar";
  EXPECT_THAT(done(), ElementsAre("made 9")) << "only what is empty is made";
  windows.addresses.menuService = application.uniqueName();
  windows.addresses.menuPath = "/menu";
  EXPECT_EQ(lines(source).size(), 5U) << "told by the window";
}

TEST_F(DBusMenusTest, aCommandIsClicked) {
  known = commands(source);
  EXPECT_EQ(perform(source, "Edit>Modes>Slow ( )"), MenuOutcome::done);
  EXPECT_EQ(perform(source, "Edit>Cut Control+X disabled"), MenuOutcome::disabled);
  find(root, 2)->isEnabled = true;
  EXPECT_EQ(perform(source, "Edit>Cut Control+X disabled"), MenuOutcome::done) << "what it is now counts";
  find(root, 5)->label = "Quit without saving";
  EXPECT_EQ(perform(source, "Edit>Wrap [x]"), MenuOutcome::gone) << "the id is another's now";
  find(root, 6)->children.clear();
  EXPECT_EQ(perform(source, "Edit>Modes>Fast (o)"), MenuOutcome::gone);
  EXPECT_THAT(done(), ElementsAre("made 9", "clicked 8", "clicked 2"));
}

TEST_F(DBusMenusTest, whatIsTooLongTooDeepOrDoesNotAnswerEnds) {
  FakeItem deep{20, "last", {}};
  for (int32_t i = 0; i < 12; ++i) {
    deep = {21 + i, "deeper", {deep, {60 + i, "beside", {}}}};
  }
  root.children = {deep};
  EXPECT_EQ(commands(source).size(), 8U - 1U) << "one beside each menu that is not too deep";
  root.children[0] = {1, "Many", {}};
  for (int32_t i = 0; i < 20'000; ++i) {
    root.children[0].children.push_back({100 + i, "item " + std::string(i == 0 ? 100'000 : 1, 'x'), {}});
  }
  const auto many = commands(source);
  EXPECT_EQ(many.size(), Menus::kMostCommands);
  EXPECT_EQ(many[0].path.back().size(), 200U);
  application.hang();
  EXPECT_THAT(commands(source, Clock::now() + std::chrono::milliseconds(50)), IsEmpty());
}

}  // namespace
}  // namespace jumplark::menus
