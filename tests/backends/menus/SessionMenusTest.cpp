#include <gmock/gmock.h>
#include <systemd/sd-bus.h>

#include <mutex>

#include "backends/atspi/support/PrivateBus.h"
#include "backends/linux/menus/DBusMenus.h"
#include "backends/linux/menus/GtkMenus.h"
#include "backends/menus/ToldCommands.h"

namespace jumplark::menus {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct FakeAddresses final : WindowMenus {
  WindowMenuAddresses menusOf(WindowId) override { return addresses; }
  WindowMenuAddresses addresses;
};

/// An application that tells its menus on a bus, and what was done to them.
class SessionMenus : public ::testing::Test {
 protected:
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

  bool start(sd_bus_message* message) const {
    uint32_t group = 0;
    sd_bus_message_read(message, "au", 1, &group);
    if (group == 0) {
      return sd_bus_reply_method_return(message, "a(uuaa{sv})", 1, 0, 0, 1, 2, "label", "s", "_View", ":submenu",
                                        "(uu)", 1, 0) >= 0;
    }
    return sd_bus_reply_method_return(
               message, "a(uuaa{sv})", 3,                                                                      //
               1, 0, 4,                                                                                        //
               2, "label", "s", "Style", ":section", "(uu)", 1, 1,                                             //
               2, "label", "s", "Colours", ":submenu", "(uu)", 1, 2,                                           //
               3, "label", "s", "About", "action", "s", "app.about", "accel", "s", "F1",                       //
               2, "label", "s", "Again", ":submenu", "(uu)", 1, 0,                                             //
               1, 1, 5,                                                                                        //
               3, "label", "s", "_Bold", "action", "s", "win.bold", "accel", "s", "<Primary>b",                //
               2, "label", "s", "Print…", "action", "s", "win.print",                                          //
               2, "label", "s", "Missing", "action", "s", "win.missing",                                       //
               3, "label", "s", "Hidden", "action", "s", "win.missing", "hidden-when", "s", "action-missing",  //
               1, ":section", "(uu)", 1, 1,                                                                    //
               1, 2, 2,                                                                                        //
               3, "label", "s", "red", "action", "s", "win.colour", "target", "s", "red",                      //
               3, "label", "s", "green", "action", "s", "win.colour", "target", "s", "green") >= 0;
  }
  bool answer(sd_bus_message* message) {
    const std::string member = sd_bus_message_get_member(message);
    const std::string path = sd_bus_message_get_path(message);
    if (member == "Start" && path == "/bar") {
      return start(message);
    }
    if (member == "DescribeAll" && path == "/app") {
      return sd_bus_reply_method_return(message, "a{s(bgav)}", 1, "about", 1, "", 0) >= 0;
    }
    if (member == "DescribeAll") {
      return sd_bus_reply_method_return(message, "a{s(bgav)}", 3, "bold", 1, "", 1, "b", 1, "print", 0, "", 0, "colour",
                                        1, "s", 1, "s", "green") >= 0;
    }
    const char* name = "";
    sd_bus_message_read(message, "s", &name);
    if (member == "Describe" && std::string(name) != gone) {
      return sd_bus_reply_method_return(message, "(bgav)", std::string(name) != "print" || canPrint ? 1 : 0,
                                        std::string(name) == "colour" ? "s" : "", 0) >= 0;
    }
    if (member == "Activate") {
      const char* target = "";
      if (sd_bus_message_enter_container(message, 'a', "v") > 0 && sd_bus_message_at_end(message, 0) == 0) {
        sd_bus_message_read(message, "v", "s", &target);
      }
      note(path + " " + name + " " + target);
      return silent || sd_bus_reply_method_return(message, "") >= 0;
    }
    return false;
  }

  // Set while nothing is under way.
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

TEST_F(GtkMenusTest, whatDoesNotAnswerEnds) {
  known = commands(source);
  application.hang();
  EXPECT_THAT(commands(source, Clock::now() + std::chrono::milliseconds(50)), IsEmpty());
  EXPECT_EQ(perform(source, "View>About F1", Clock::now() + std::chrono::milliseconds(50)), MenuOutcome::failed);
  windows.addresses = {};
  EXPECT_THAT(commands(source), IsEmpty());
  windows.addresses.gtkBusName = "no name";
  windows.addresses.gtkMenuBarPath = "no path";
  EXPECT_THAT(commands(source), IsEmpty());
}

class DBusMenusTest : public SessionMenus {
 protected:
  static constexpr const char* kItem = "(ia{sv}av)";

  /// Menus with a command each, each in the one before.
  static void nested(sd_bus_message* m, int menus) {  // NOLINT(misc-no-recursion)
    sd_bus_message_open_container(m, 'v', kItem);
    sd_bus_message_open_container(m, 'r', "ia{sv}av");
    sd_bus_message_append(m, "ia{sv}", 1, 2, "label", "s", "Menu", "children-display", "s", "submenu");
    sd_bus_message_open_container(m, 'a', "v");
    sd_bus_message_append(m, "v", kItem, 10, 1, "label", "s", "item", 0);
    if (menus > 1) {
      nested(m, menus - 1);
    }
    for (int i = 0; i < 3; ++i) {
      sd_bus_message_close_container(m);
    }
  }
  bool layout(sd_bus_message* message) {
    int32_t id = 0;
    sd_bus_message_read(message, "i", &id);
    if (id == 9) {
      return sd_bus_reply_method_return(message, "u(ia{sv}av)", 1, 9, 0, 1, kItem, 40, 1, "label", "s", "Made", 0) >= 0;
    }
    if (menus > 0) {
      sd_bus_message* m = nullptr;
      sd_bus_message_new_method_return(message, &m);
      sd_bus_message_append(m, "u", 1);
      sd_bus_message_open_container(m, 'r', "ia{sv}av");
      sd_bus_message_append(m, "ia{sv}", 0, 0);
      sd_bus_message_open_container(m, 'a', "v");
      nested(m, menus);
      sd_bus_message_close_container(m);
      sd_bus_message_close_container(m);
      const bool sent = sd_bus_send(nullptr, m, nullptr) >= 0;
      sd_bus_message_unref(m);
      return sent;
    }
    return sd_bus_reply_method_return(
               message, "u(ia{sv}av)", 1, 0, 0, 1, kItem, 1, 1, "label", "s", "_Edit", 6,                         //
               kItem, 2, 3, "label", "s", "_Cut", "enabled", "b", 0, "shortcut", "aas", 1, 2, "Control", "x", 0,  //
               kItem, 3, 2, "label", "s", "line", "type", "s", "separator", 0,                                    //
               kItem, 4, 2, "label", "s", "Hidden", "visible", "b", 0, 0,                                         //
               kItem, 5, 3, "label", "s", "Wrap", "toggle-type", "s", "checkmark", "toggle-state", "i", 1, 0,     //
               kItem, 6, 1, "label", "s", "Modes", 2,                                                             //
               kItem, 7, 3, "label", "s", "Fast", "toggle-type", "s", "radio", "toggle-state", "i", 1, 0,         //
               kItem, 8, 2, "label", "s", "Slow", "toggle-type", "s", "radio", 0,                                 //
               kItem, 9, 2, "label", "s", "Recent", "children-display", "s", "submenu", 0) >= 0;
  }
  bool answer(sd_bus_message* message) {
    const std::string member = sd_bus_message_get_member(message);
    int32_t id = 0;
    const char* event = "";
    if (member == "GetMenuForWindow") {
      return sd_bus_reply_method_return(message, "so", sd_bus_message_get_destination(message), "/menu") >= 0;
    }
    if (member == "GetLayout") {
      return layout(message);
    }
    if (member == "AboutToShow" && sd_bus_message_read(message, "i", &id) > 0) {
      note("made " + std::to_string(id));
      return sd_bus_reply_method_return(message, "b", 1) >= 0;
    }
    if (member == "GetGroupProperties" && sd_bus_message_read(message, "ai", 1, &id) > 0) {
      const auto now = labels.find(id);
      return now == labels.end() ? sd_bus_reply_method_return(message, "a(ia{sv})", 0) >= 0
                                 : sd_bus_reply_method_return(message, "a(ia{sv})", 1, id, 2, "label", "s", now->second,
                                                              "enabled", "b", canCut || id != 2) >= 0;
    }
    if (member == "Event" && sd_bus_message_read(message, "is", &id, &event) > 0) {
      note(event + (" " + std::to_string(id)));
      return sd_bus_reply_method_return(message, "") >= 0;
    }
    return false;
  }

  // Set while nothing is under way.
  std::map<int32_t, const char*> labels{{2, "_Cut"}, {5, "Wrap"}, {7, "Fast"}, {8, "Slow"}};  ///< as they are now
  bool canCut = false;
  int menus = 0;  ///< so many instead, each in the one before
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
  canCut = true;
  EXPECT_EQ(perform(source, "Edit>Cut Control+X disabled"), MenuOutcome::done) << "what it is now counts";
  labels[5] = "Quit without saving";
  EXPECT_EQ(perform(source, "Edit>Wrap [x]"), MenuOutcome::gone) << "the id is another's now";
  labels.erase(7);
  EXPECT_EQ(perform(source, "Edit>Modes>Fast (o)"), MenuOutcome::gone);
  EXPECT_THAT(done(), ElementsAre("made 9", "clicked 8", "clicked 2"));
}

TEST_F(DBusMenusTest, whatIsTooDeepOrDoesNotAnswerEnds) {
  menus = 12;
  EXPECT_EQ(commands(source).size(), 7U) << "eight titles deep at most, the commands' own included";
  application.hang();
  EXPECT_THAT(commands(source, Clock::now() + std::chrono::milliseconds(50)), IsEmpty());
}

}  // namespace
}  // namespace jumplark::menus
