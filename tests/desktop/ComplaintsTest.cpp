#include <algorithm>

#include "desktop/Use.h"
#include "desktop/toolkits/Toolkits.h"

namespace jumplark::desktop {
namespace {

/// A program of one toolkit, which ends at the first warning that it writes.
struct Touchy {
  Program program;
  Environment environment;
  const char* field;      ///< what finds a field of it
  const char* fieldText;  ///< and a text of that
  const char* toggle;     ///< what finds something to switch on or off
  const char* toggleText;
  const char* toggleState;  ///< how that says that it is on
};

class Complaints : public ::testing::Test {
 protected:
  /// Opens the query window and types, and returns where the uppermost match is, once boxes are drawn.
  void find(Application& application, const std::string& query, const std::string& text) {
    pointingAtUppermost(query, text)(application);
    program.open();
    program.query(query);
    EXPECT_TRUE(waitUntil([&] { return program.overlayWindows() == 2; }))
        << "boxes and a description of the best match";
  }
  void operate(Application& application, const Touchy& touchy);

  Desktop desktop;
  RunningProgram program{desktop.session};
};

void Complaints::operate(Application& application, const Touchy& touchy) {
  const auto hasElement = [&](const auto& wanted) { return std::ranges::any_of(application.elements(), wanted); };
  const auto countOfOn = [&] {
    return std::ranges::count_if(application.elements(),
                                 [&](const AccessibleElement& e) { return e.is(touchy.toggleState); });
  };
  find(application, touchy.field, touchy.fieldText);
  // The pointer rests on what is selected until it is described.
  const Matches fields = application.matches(touchy.field);
  ASSERT_FALSE(fields.empty());
  desktop.session.pointTo(fields[0].rect.x + fields[0].rect.width / 2, fields[0].rect.y + 4);
  EXPECT_TRUE(waitUntil([&] { return program.overlayWindows() == 3; })) << "a tinted box, too";
  desktop.session.keys({"key", "--delay", "60", "Control_L", "Control_L"});
  EXPECT_TRUE(program.waitUntilClosed());
  EXPECT_TRUE(waitUntil([&] {
    program.type("z");
    return hasElement([](const AccessibleElement& element) { return element.text.starts_with("z"); });
  })) << "the field has not got the focus";

  const auto before = countOfOn();
  find(application, touchy.toggle, touchy.toggleText);
  program.close("Return");
  EXPECT_TRUE(waitUntil([&] { return countOfOn() != before; })) << "nothing has been switched";
}

TEST_F(Complaints, noneComesOfAllThatIsAskedOfAProgram) {
  const Environment gtk = {{"G_DEBUG", "fatal-warnings"}};
  const char* const hint = "Click icon to change mode";
  const Touchy cases[] = {
      {widgetFactory3(), gtk, "click icon", hint, "toggleb", "togglebutton", "checked"},
      {widgetFactory4(), gtk, "click icon", hint, "toggleb", "togglebutton", "pressed"},
      {{.command = {JUMPLARK_DEMO_QT6}, .busName = DemoProgram::kName, .role = "frame", .element = "Demo"},
       {{"QT_FATAL_WARNINGS", "1"}},
       "example.org",
       "you@example.org",
       "wrap",
       "Wrap text",
       "checked"}};
  for (const Touchy& touchy : cases) {
    SCOPED_TRACE(touchy.program.busName);
    Program started = touchy.program;
    started.environment = touchy.environment;
    Application application(desktop, started);
    operate(application, touchy);
    EXPECT_TRUE(application.process().running()) << application.process().err();
  }
}

}  // namespace
}  // namespace jumplark::desktop
