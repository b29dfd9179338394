#include <gmock/gmock.h>

#include "backends/atspi/SourceFixture.h"

namespace jumplark::atspi {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The one application is of GTK 4, in whose window places count from (100, 50).
class Gtk4Source : public SourceFixture {
 protected:
  Gtk4Source() : SourceFixture("GTK", "4.8.3") {}

  // Only its window says that it shows.
  FakeElement& put(const std::string& parent, const std::string& id, uint32_t role, const std::string& name,
                   Rect rect = {0, 0, 10, 10}) {
    FakeElement made = element(role, name, rect);
    made.states = bit(state::visible) | bit(state::sensitive);
    return app.add(parent, id, made);
  }
  FakeElement& putPage(const std::string& stack, const std::string& id) {
    FakeElement& page = put(stack, id, role::panel, "GtkStackPage", {});
    page.interfaces = {"Accessible"};
    return page;
  }
  bool shows(const std::string& id) {
    const FactsPointer facts = read(id);
    return facts && facts->is(state::showing) && facts->extents;
  }
};

TEST_F(Gtk4Source, WhatHasASizeShowsAtItsPlaceInTheWindow) {
  put("frame", "box", role::panel, "", {0, 0, 400, 300});
  put("box", "ok", role::pushButton, "OK", {10, 20, 80, 30});
  put("box", "collapsed", role::form, "", {10, 60, 200, 0});
  put("collapsed", "find", role::entry, "Find", {10, 60, 100, 20});
  prepare();
  EXPECT_TRUE(shows("ok"));
  EXPECT_EQ(read("ok")->extents, (Rect{110, 70, 80, 30}));
  EXPECT_FALSE(shows("collapsed"));
  EXPECT_EQ(read("find"), nullptr);
}

TEST_F(Gtk4Source, OfAStackThePageShowsThatThePointerWouldReach) {
  put("frame", "stack", role::panel, "", {0, 0, 400, 300}).rowHeight = 1000;
  for (const std::string page : {"front", "back", "fresh"}) {
    putPage("stack", page);
    put(page, page + "_box", role::panel, "", page == "fresh" ? Rect{0, 0, 0, 0} : Rect{0, 0, 400, 300});
    put(page + "_box", page + "_button", role::pushButton, page, {20, 20, 50, 20});
  }
  prepare();
  EXPECT_TRUE(shows("front"));
  EXPECT_EQ(read("front")->extents, (Rect{100, 50, 400, 300})) << "the place of what is on it";
  EXPECT_TRUE(shows("front_button"));
  for (const char* hidden : {"back", "back_box", "back_button", "fresh", "fresh_box", "fresh_button"}) {
    EXPECT_FALSE(shows(hidden)) << hidden;
  }
}

TEST_F(Gtk4Source, TheDecorationOfAControlIsTheControl) {
  put("frame", "font", role::pushButton, "GtkButton", {0, 0, 100, 20});
  put("font", "font_box", role::panel, "", {5, 5, 90, 10});
  put("font_box", "family", role::label, "Sans", {5, 5, 50, 10});
  put("font_box", "size", role::label, "12", {60, 5, 20, 10});
  put("frame", "inform", role::pushButton, "_Inform Inform", {0, 30, 100, 20});
  put("inform", "inform_label", role::label, "Inform", {5, 35, 90, 10});
  put("frame", "menu", role::pushButton, "GtkMenuButton", {0, 60, 100, 20});
  put("menu", "inner", role::pushButton, "GtkMenuButton", {5, 65, 90, 10});
  put("inner", "inner_image", role::image, "GtkImage", {5, 65, 10, 10});
  put("frame", "tab", role::pageTab, "Tab", {0, 90, 100, 20});
  put("tab", "tab_label", role::label, "Notes", {5, 95, 50, 10});
  put("tab", "close", role::pushButton, "Close", {60, 95, 10, 10});
  put("frame", "icon_only", role::pushButton, "New", {0, 120, 20, 20});
  put("icon_only", "icon", role::image, "GtkImage", {5, 125, 10, 10});
  prepare();
  EXPECT_EQ(names(), "font inform menu tab close icon_only");
  EXPECT_EQ(read("font")->name, "Sans 12");
  EXPECT_EQ(read("inform")->name, "Inform");
  EXPECT_EQ(read("menu")->name, "");
  EXPECT_EQ(read("tab")->name, "Notes");
  EXPECT_THAT(read("tab")->children, ElementsAre(app.ref("close")));
  EXPECT_EQ(read("icon_only")->name, "New");
  EXPECT_THAT(read("icon_only")->children, IsEmpty());
}

TEST_F(Gtk4Source, AComboBoxHoldsItsEntryAndButtonOrNothing) {
  for (const std::string combo : {"editable", "plain"}) {
    put("frame", combo, role::comboBox, "GtkComboBox", {0, 0, 100, 20});
    put(combo, combo + "_box", role::panel, "", {0, 0, 100, 20});
    put(combo + "_box", combo + "_button", role::pushButton, "GtkToggleButton", {80, 0, 20, 20});
    put(combo + "_button", combo + "_arrow", role::filler, "GtkBuiltinIcon", {85, 5, 10, 10});
  }
  put("editable_box", "entry", role::text, "GtkEntry", {0, 0, 80, 20});
  prepare();
  EXPECT_EQ(names(), "editable editable_button entry plain");
  EXPECT_EQ(read("entry")->parent, app.ref("editable"));
  EXPECT_EQ(read("entry")->name, "");
}

TEST_F(Gtk4Source, NoTextIsAskedWhatLiesAtAPoint) {
  FakeElement& area = put("frame", "area", role::text, "GtkTextView", {0, 0, 200, 100});
  area.states |= bit(state::multiLine);
  area.interfaces = {"Component", "Text"};
  area.text = "Lorem ipsum";
  prepare();
  EXPECT_EQ(read("area")->shortText, "Lorem ipsum");
  EXPECT_FALSE(app.wasAsked("Text.GetOffsetAtPoint area"));
}

TEST_F(Gtk4Source, OnlyWhatTheCacheLacksIsAskedOneByOne) {
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

}  // namespace
}  // namespace jumplark::atspi
