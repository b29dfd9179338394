#include <algorithm>
#include <csignal>
#include <functional>

#include "desktop/DesktopTest.h"
#include "desktop/support/RunningProgram.h"

namespace jumplark::desktop {
namespace {

/// A program of one toolkit, which ends at the first warning that it writes.
struct Touchy {
  Arguments command;
  const char* name;         ///< on the accessibility bus
  const char* title;        ///< of its window, on the accessibility bus
  const char* field;        ///< what finds a field of it
  const char* toggle;       ///< what finds something to switch on or off
  const char* toggleState;  ///< how that says that it is on
};

const Touchy kTouchy[] = {
    {{"env", "G_DEBUG=fatal-warnings", "gtk3-widget-factory"},
     "gtk3-widget-factory",
     "",
     "click icon",
     "toggleb",
     "checked"},
    {{"env", "G_DEBUG=fatal-warnings", "gtk4-widget-factory"},
     "gtk4-widget-factory",
     "GTK Widget Factory",
     "click icon",
     "toggleb",
     "pressed"},
    {{"env", "QT_FATAL_WARNINGS=1", JUMPLARK_DEMO_QT6}, DemoProgram::kName, "Demo", "example.org", "wrap", "checked"},
};

class ProgramsThatEndAtWarnings : public testing::Test {
 protected:
  /// Opens the query window, types, and returns where the best match is, once a box is drawn around it.
  PixelRect find(const Touchy& touchy, const std::string& query) {
    const std::vector<Match> matches = desktop.jumplark.match({"--app", touchy.name}, query);
    if (matches.empty()) {
      ADD_FAILURE() << touchy.name << " shows no '" << query << "'";
      return {};
    }
    // Of several that fit alike the one that the pointer is on is meant; the uppermost is not greyed out.
    const PixelRect rect = std::min_element(matches.begin(), matches.end(), [](const Match& a, const Match& b) {
                             return a.rect.y < b.rect.y;
                           })->rect;
    desktop.session.keys({"mousemove", std::to_string(rect.x + 10), std::to_string(rect.y + 10)});
    program.open();
    program.type(query);
    EXPECT_TRUE(program.waitForQuery(query));
    EXPECT_TRUE(waitUntil([&] { return windowsOverTheScreen() >= 1; })) << "no boxes";
    return rect;
  }
  size_t windowsOverTheScreen() const { return program.overlayWindows().size(); }
  /// Lets the pointer rest on what is selected until it is described.
  void discover(const PixelRect& rect) {
    EXPECT_TRUE(waitUntil([&] { return windowsOverTheScreen() == 2; })) << "boxes and a description of the best match";
    desktop.session.keys({"mousemove", std::to_string(rect.x + rect.width / 2), std::to_string(rect.y + 4)});
    EXPECT_TRUE(waitUntil([&] { return windowsOverTheScreen() == 3; })) << "a tinted box, too";
  }
  auto countOf(const Touchy& touchy, const std::function<bool(const AccessibleElement&)>& wanted) {
    const auto elements = readApplication(desktop.session, touchy.name, Reading::all);
    return std::count_if(elements.begin(), elements.end(), wanted);
  }

  void operate(const Touchy& touchy) {
    discover(find(touchy, touchy.field));
    desktop.session.keys({"key", "--delay", "60", "Control_L", "Control_L"});
    EXPECT_TRUE(program.waitUntilClosed());
    EXPECT_TRUE(waitUntil([&] {
      program.type("z");
      return countOf(touchy, [](const auto& e) { return e.text.starts_with("z"); }) > 0;
    })) << "the field has not got the focus";

    const auto isOn = [&](const AccessibleElement& e) { return e.is(touchy.toggleState); };
    const auto before = countOf(touchy, isOn);
    find(touchy, touchy.toggle);
    program.key("Return");
    EXPECT_TRUE(program.waitUntilClosed());
    EXPECT_TRUE(waitUntil([&] { return countOf(touchy, isOn) != before; })) << "nothing has been switched";
  }

  Desktop desktop;
  RunningProgram program{desktop.session};
};

TEST_F(ProgramsThatEndAtWarnings, liveThroughAllThatIsAskedOfThem) {
  for (const Touchy& touchy : kTouchy) {
    SCOPED_TRACE(touchy.name);
    Process& process = startApplication(desktop.session, touchy.command, touchy.name, "frame", touchy.title);
    operate(touchy);
    EXPECT_TRUE(process.running()) << process.err();
    process.kill(SIGKILL);
  }
}

}  // namespace
}  // namespace jumplark::desktop
