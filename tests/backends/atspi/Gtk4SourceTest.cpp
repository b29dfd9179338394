#include "backends/atspi/SourceFixture.h"

namespace jumplark::atspi {
namespace {

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
};

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
