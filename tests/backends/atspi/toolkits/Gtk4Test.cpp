#include <systemd/sd-bus.h>

#include "backends/atspi/support/SourceFixture.h"

namespace jumplark::atspi {
namespace {

/// The one application is of GTK 4, in whose window places count from (100, 50).
class Gtk4 : public SourceFixture {
 protected:
  Gtk4() : SourceFixture("GTK", "4.8.3") {}

  // Only its window says that it shows.
  FakeElement& put(const std::string& parent, const std::string& id, uint32_t role, const std::string& name,
                   Rect rect = {0, 0, 10, 10}) {
    FakeElement made = element(role, name, rect);
    made.states = bit(state::visible) | bit(state::sensitive);
    return app.add(parent, id, made);
  }
};

TEST_F(Gtk4, isAskedOneByOneOnlyWhatItsCacheLacks) {
  put("frame", "box", role::panel, "", {0, 0, 400, 200});
  put("box", "known", role::pushButton, "Known", {0, 0, 50, 20});
  put("frame", "grown", role::panel, "", {0, 200, 400, 100});
  put("grown", "old", role::pushButton, "Old", {0, 200, 50, 20});
  put("grown", "new", role::pushButton, "New", {60, 200, 50, 20});
  app.cache({"frame", "box", "known", "grown", "old"});
  prepare();
  EXPECT_EQ(names(), "box known grown old new");
  EXPECT_EQ(read("known")->name, "Known");
  EXPECT_EQ(read("known")->role, role::pushButton);
  EXPECT_EQ(read("known")->extents, (Rect{100, 50, 50, 20}));
  EXPECT_EQ(read("new")->name, "New");
  for (const char* call : {"Accessible.GetState known", "Accessible.GetChildren box", "Accessible.GetState old"}) {
    EXPECT_FALSE(app.wasAsked(call)) << call;
  }
  for (const char* call : {"Accessible.GetState new", "Accessible.GetChildren grown"}) {
    EXPECT_TRUE(app.wasAsked(call)) << call;
  }
}

TEST_F(Gtk4, placesPopoversBelowTheirControlsWhereNobodyTellsOfThem) {
  windows.windows.front().knowsItsPlace = false;
  app.at("frame").rect = {0, 0, 400, 300};
  put("frame", "button", role::pushButton, "GtkMenuButton", {177, 6, 36, 34});
  put("button", "popover", role::menu, "GtkPopoverMenu", {177, 6, 264, 287});
  put("popover", "busy", role::menuItem, "Get Busy", {198, 26, 222, 30});
  prepare();
  EXPECT_EQ(read("busy")->extents, (Rect{184, 110, 222, 30}));
  EXPECT_EQ(live().get(app.ref("busy"), facts::extents)->extents, (Rect{184, 110, 222, 30}));
}

// As later versions tell it: counted from the surface, which begins above and left of the window, and without paddings.
TEST_F(Gtk4, placesPopoversThatLieInTheWindowsSurface) {
  windows.windows.front().knowsItsPlace = false;
  app.at("frame").rect = {0, 0, 400, 300};
  put("frame", "around", role::panel, "", {60, 0, 40, 30}).being({state::expanded});
  put("around", "button", role::toggleButton, "", {60, 0, 40, 30});
  put("around", "popover", role::menu, "", {34, 40, 132, 90});
  put("popover", "contents", role::panel, "", {37, 54, 126, 72});
  put("contents", "items", role::panel, "", {37, 54, 114, 60});
  put("items", "busy", role::menuItem, "Get Busy", {37, 54, 114, 30});
  put("items", "style", role::menuItem, "Style", {37, 84, 114, 30});
  put("items", "entry", role::listItem, "").being({state::selected});  // which the keyboard is not on there
  const auto expectAt = [&](const Rect& popover, const Rect& item) {
    const auto snapshot = prepare();
    EXPECT_EQ(read("popover")->extents, popover);
    EXPECT_EQ(read("style")->extents, item);
    EXPECT_EQ(live().get(app.ref("style"), facts::extents)->extents, item);
    ASSERT_EQ(snapshot->popovers.size(), 1U);
    EXPECT_EQ(snapshot->popovers[0].opener, app.ref("button"));
    EXPECT_FALSE(read("entry")->is(state::selected));
  };
  expectAt({121, 77, 132, 90}, {130, 127, 114, 30});  // where it overlaps its control a little
  WindowFacts& popup = windows.popups.emplace_back(windows.windows.front());
  popup.surface = {120, 71, 132, 96};  // with a margin above it
  expectAt({120, 77, 132, 90}, {129, 127, 114, 30});
}

TEST_F(Gtk4, callsItemsOfMenusAsLabelsSayThatAreNoChildren) {
  app.at("label") = element(role::invalid, "").saying("Get Busy");
  put("frame", "item", role::checkMenuItem, "").labelledBy = {"label"};
  put("frame", "named", role::menuItem, "Style").labelledBy = {"label"};
  prepare();
  EXPECT_EQ(read("item")->name, "Get Busy");
  EXPECT_EQ(read("named")->name, "Style");
}

TEST_F(Gtk4, readsLabelsWithoutTheUnderscoresOfTheirMnemonics) {
  put("frame", "first", role::label, "_Name").saying("Name");
  put("frame", "later", role::label, "Full _Name").saying("Full Name");
  put("frame", "own", role::label, "snake_case").saying("snake_case");
  put("frame", "both", role::label, "__init").saying("_init");
  put("frame", "other", role::label, "_Name").saying("Something else");
  prepare();
  EXPECT_EQ(read("first")->name, "Name");
  EXPECT_EQ(read("later")->name, "Full Name");
  EXPECT_EQ(read("own")->name, "snake_case");
  EXPECT_EQ(read("both")->name, "_init");
  EXPECT_EQ(read("other")->name, "_Name");
}

TEST_F(Gtk4, labelsNoControlByAPartOfIt) {
  put("frame", "caption", role::label, "Volume", {0, 0, 50, 20});
  put("frame", "volume", role::slider, "GtkScale", {60, 0, 50, 20}).labelledBy = {"caption", "picture"};
  app.at("picture").parent = "volume";  // which does not count it among its children
  app.cache({"frame", "caption", "volume", "picture"});
  prepare();
  ASSERT_EQ(read("volume")->labelledBy.size(), 1U);
  EXPECT_EQ(read("volume")->labelledBy[0], app.ref("caption"));
}

TEST_F(Gtk4, isNotAskedForTheLengthOfAShortEntry) {
  const auto entry = [&](const std::string& id, const std::string& text) {
    put("frame", id, role::entry, "GtkEntry", {0, 0, 100, 20}).saying(text);
  };
  entry("empty", "");
  entry("short", "Lorem ipsum");
  entry("long", std::string(1500, 'x'));
  entry("strict", "exactly");
  app.answerInstead([](sd_bus_message* message, const std::string& id, const std::string& member) {
    int32_t start = 0;
    int32_t end = 0;
    if (id != "strict" || member != "GetText" || sd_bus_message_read(message, "ii", &start, &end) < 0) {
      return false;
    }
    return sd_bus_reply_method_return(message, "s", end == 7 ? "exactly" : "") >= 0;
  });
  prepare();
  for (const char* id : {"empty", "short", "long", "strict"}) {
    EXPECT_EQ(read(id)->shortText, app.at(id).text) << id;
    EXPECT_EQ(read(id)->characterCount, static_cast<int64_t>(app.at(id).text.size())) << id;
  }
  EXPECT_EQ(app.timesAsked("Properties.Get short") + 1, app.timesAsked("Properties.Get long")) << "its length";
}

}  // namespace
}  // namespace jumplark::atspi
