#include <gmock/gmock.h>

#include "backends/atspi/support/SourceFixture.h"

namespace jumplark::atspi {
namespace {

class Gtk3 : public SourceFixture {
 protected:
  Gtk3() : SourceFixture("gtk", "3.24.38") {}
};

TEST_F(Gtk3, givesWhatIsOpenToTheWindowInFront) {
  add("frame", "box", role::comboBox, "Left", {110, 60, 100, 20});
  add("box", "list", role::menu, "", {110, 80, 100, 60});
  add("list", "right", role::menuItem, "Right", {110, 100, 100, 20});
  add("frame", "closed", role::comboBox, "On", {110, 140, 100, 20});
  add("closed", "closed_list", role::menu, "", {110, 140, 100, 20});
  add("root", "context", role::window, "", {450, 300, 80, 90});
  add("context", "context_menu", role::menu, "", {450, 300, 80, 90});
  add("frame", "button", role::toggleButton, "Settings", {300, 60, 20, 20});
  add("button", "undock", role::menuItem, "Undock", {300, 80, 90, 20});
  add("button", "more", role::menu, "More", {300, 100, 90, 20});
  add("button", "dock", role::menuItem, "Dock").states = 0;
  prepare();
  EXPECT_EQ(names(), "box closed closed_list button dock context context_menu list right undock more");
  EXPECT_EQ(read("list")->parent, app.ref("frame"));
  EXPECT_EQ(read("context")->parent, app.ref("frame"));
  EXPECT_EQ(read("closed_list")->parent, app.ref("closed"));
  EXPECT_EQ(read("undock")->parent, app.ref("frame"));
  EXPECT_EQ(read("more")->role, role::menuItem) << "opens a menu, and is none";
}

// A tool item carries the words for the button that it is made of, and a group of them says nothing of its members.
TEST_F(Gtk3, callsWhatHasNoWordsAsWhatHoldsItAlone) {
  add("frame", "bar", role::panel, "Bar", {100, 50, 400, 34});
  add("bar", "item", role::panel, "", {110, 50, 30, 34}).description = "Styles (Ctrl+2)";
  add("item", "styles", role::toggleButton, "", {110, 50, 30, 34});
  add("bar", "font", role::panel, "Font Name", {150, 50, 120, 34});
  add("font", "box", role::filler, "", {150, 51, 120, 32});
  add("box", "entry", role::text, "", {150, 51, 90, 32}).text = "Sans";
  add("box", "arrow", role::toggleButton, "", {240, 51, 30, 32});
  add("frame", "caption", role::label, "Next style:", {100, 310, 90, 34}).labelFor = {"chooser"};
  add("frame", "chooser", role::filler, "", {200, 310, 200, 34});
  add("chooser", "choose", role::toggleButton, "", {200, 310, 200, 34});
  add("bar", "pair", role::panel, "Zoom", {280, 50, 60, 34});
  add("pair", "in", role::pushButton, "", {280, 50, 30, 34});
  add("pair", "out", role::pushButton, "", {310, 50, 30, 34});
  add("frame", "tall", role::panel, "Canvas", {100, 100, 400, 200});
  add("tall", "low", role::pushButton, "", {100, 100, 400, 30});
  prepare();
  EXPECT_EQ(read("styles")->description, "Styles (Ctrl+2)");
  EXPECT_EQ(read("entry")->name, "Font Name");
  EXPECT_EQ(read("arrow")->name, "Font Name");
  EXPECT_THAT(read("choose")->labelledBy, ::testing::ElementsAre(app.ref("caption")));
  for (const char* id : {"in", "out", "low"}) {
    EXPECT_EQ(read(id)->name, "") << id;
  }
}

}  // namespace
}  // namespace jumplark::atspi
