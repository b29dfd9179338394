#include "backends/atspi/support/SourceFixture.h"

namespace jumplark::atspi {
namespace {

// LibreOffice draws most of its window itself, with widgets of the toolkit's around it and in between.
class LibreOffice : public SourceFixture, public ::testing::WithParamInterface<std::pair<const char*, const char*>> {
 protected:
  LibreOffice() : SourceFixture(GetParam().first, GetParam().second) {
    FakeElement root = element(role::application, "soffice");
    root.states = 0;
    root.children = {"frame"};
    root.interfaces = {"Application"};
    app.set("root", root);
  }
};
INSTANTIATE_TEST_SUITE_P(Toolkits, LibreOffice,
                         ::testing::Values(std::pair("gtk", "3.24.38"), std::pair("Qt", "5.15.8"),
                                           std::pair("other", "1")));

TEST_P(LibreOffice, isNotMovedOntoItsMenuBar) {
  add("frame", "menu_bar", role::menuBar, "", {100, 50, 400, 25});
  add("frame", "panel", role::panel, "", {100, 75, 400, 275});
  add("panel", "pane", role::rootPane, "", {100, 50, 400, 275});
  add("pane", "bold", role::toggleButton, "Bold", {110, 52, 30, 30});
  add("pane", "font", role::panel, "Font", {150, 52, 90, 30});
  add("font", "native", role::panel, "", {150, 77, 90, 30});
  add("native", "entry", role::text, "", {150, 77, 60, 30});
  prepare();
  EXPECT_EQ(placeTwice("bold"), (Rect{110, 77, 30, 30}));
  EXPECT_EQ(placeTwice("font"), (Rect{150, 77, 90, 30}));
  EXPECT_EQ(placeTwice("entry"), (Rect{150, 77, 60, 30}));
  EXPECT_EQ(placeTwice("menu_bar"), (Rect{100, 50, 400, 25}));
}

}  // namespace
}  // namespace jumplark::atspi
