#include <algorithm>

#include "desktop/Use.h"
#include "desktop/support/GnomeSession.h"
#include "desktop/toolkits/Toolkits.h"

namespace jumplark::desktop {
namespace {

/// The compositors on which the program is whole, in whose points the screen is always as large.
SessionOptions on(WindowManager compositor, int scale = 1) {
  return {.windowManager = compositor,
          .width = Desktop::kWidth * scale,
          .height = Desktop::kHeight * scale,
          .scale = double(scale)};
}

class UseOnWayland : public ::testing::TestWithParam<SessionOptions> {};

TEST_P(UseOnWayland, aTypedQueryBoxesAButtonAndReturnPressesIt) {
  Use use(GetParam());
  const Matches matches = use.demo.matchesWith("Button", "Apply");
  const Match* match = find(matches, "Button", "Apply");
  ASSERT_TRUE(match);
  const PixelRect apply = match->rect;
  const uint32_t plain = boxPixel(use.session(), apply);
  use.program.open();
  use.program.query("apply");
  EXPECT_TRUE(use.boxed(apply, kSelectedColor, plain));
  use.close("Return");
  EXPECT_TRUE(use.demo.says("clicked Apply"));

  use.program.open();
  EXPECT_TRUE(use.program.waitForQuery(""));
  use.close("Escape");
  // The button, which has the focus now, gets what is typed next; at once, or as soon as the compositor says so.
  constexpr Milliseconds kBetweenKeys{1000};
  EXPECT_TRUE(waitUntil([&] {
    use.session().press({"space"});
    return waitUntil([&] { return use.demo.process().countOfLine("clicked Apply") > 1; }, kBetweenKeys);
  }));
}

// Barriers of the shell lie there, which stop a pointer and open the overview when it pushes.
TEST(UseOnGnome, pressesFromTheEdgesOfTheScreensToo) {
  SessionOptions options = on(WindowManager::gnome);
  options.monitors = {{Desktop::kWidth, 0, Desktop::kWidth, Desktop::kHeight}};
  Use use(options);
  auto& session = dynamic_cast<GnomeSession&>(use.session());
  size_t times = 0;
  const auto expectPressedFrom = [&](int x, int y) {
    SCOPED_TRACE(::testing::Message() << x << ", " << y);
    // Slowly, so that the pointer itself does not push.
    session.pointTo(std::clamp(x, 5, Desktop::kWidth - 6), std::max(y, 5));
    session.pointTo(x, y);
    use.program.open();
    use.program.query("apply");
    use.close("Return");
    ++times;
    EXPECT_TRUE(waitUntil([&] { return use.demo.process().countOfLine("clicked Apply") == times; }));
    EXPECT_TRUE(waitUntil([&] { return session.isFree("Return"); }));
  };
  for (const auto& [x, y] : {std::pair(0, 10), {10, 0}, {0, 500}, {Desktop::kWidth - 1, 3}}) {
    expectPressedFrom(x, y);
  }
  // On the other side of the end of the panel.
  session.moveActiveWindow(Desktop::kWidth + 10, 60);
  ASSERT_TRUE(waitUntil([&] { return session.waitForWindowTitled("Demo").rect.x > Desktop::kWidth; }));
  expectPressedFrom(Desktop::kWidth - 2, 3);
}

/// A list or menu that is opened with the pointer.
struct Opened {
  const char* role = nullptr;
  const char* opener = nullptr;
  const char* opened = nullptr;  ///< what the application prints
};
struct Job {
  const char* query;
  const char* told;  ///< of what is chosen, or its beginning
  const char* says;
  Opened in = {};
  bool isOfMenuBar = false;
};

/// An application of one toolkit with a form in it, which prints what is done to it.
struct Form {
  std::string name;
  Arguments command;
  std::string busName;
  std::vector<Job> jobs;
  Environment environment = {};
};
void PrintTo(const Form& form, std::ostream* out) {
  *out << form.name;
}

std::vector<Form> forms() {
  constexpr Opened kCountry{"PopUpButton", "Austria", "opened Country"};
  constexpr Opened kFile{"MenuBarItem", "File", "opened File"};
  const std::vector<Job> qt = {{"wrap", "Wrap text", "checked Wrap text true"},
                               {"name", "Name", "focused Name"},
                               {"country", "Austria", "opened Country"},
                               {"brazil", "Brazil", "combo Country Brazil", kCountry},
                               {"file", "File", "opened File", {}, true},
                               {"save", "Save", "triggered Save", kFile, true},
                               {"list", "List", "tab List"},
                               {"dublin", "Dublin", "selected Dublin"}};
  std::vector<Job> gtk = qt;
  gtk.erase(gtk.begin() + 6);  // it has no pages
  std::vector<Job> gtk4 = gtk;
  gtk4[2] = {"tree", "Tree", "opened Tree"};
  gtk4[3] = {"larch", "Larch", "combo Tree Larch", {"PopUpButton", "Tree", "opened Tree"}};
  gtk4.insert(gtk4.end(), {{"things", "Things", "opened Things"},
                           {"ruler", "Ruler", "triggered Ruler", {"Button", "Things", "opened Things"}}});
  std::vector<Job> qt6 = qt;
  // Of a closed menu, while a list is open.
  qt6.insert(qt6.end() - 2, {"about", "About", "triggered About", {"PopUpButton", "Brazil", "opened Country"}});
  return {{"Qt6", {JUMPLARK_DEMO_QT6, "Form"}, "demo-qt6", qt6},
          {"Qt5", {JUMPLARK_DEMO_QT5, "Form"}, "demo-qt5", qt},
          {"Gtk3", {JUMPLARK_DEMO_GTK, "3"}, "demo-gtk", gtk},
          {"Gtk4", {JUMPLARK_DEMO_GTK, "4"}, "demo-gtk", gtk4},
          {"Gtk3Xwayland", {JUMPLARK_DEMO_GTK, "3"}, "demo-gtk", gtk, {{"GDK_BACKEND", "x11"}}},
          {"Qt6Xwayland", {JUMPLARK_DEMO_QT6, "Form"}, "demo-qt6", qt, {{"QT_QPA_PLATFORM", "xcb"}}}};
}

std::vector<Form> formsOf(const std::vector<std::string>& names) {
  std::vector<Form> chosen = forms();
  std::erase_if(chosen, [&](const Form& form) { return std::ranges::find(names, form.name) == names.end(); });
  return chosen;
}

class FormOnWayland : public ::testing::TestWithParam<std::tuple<WindowManager, Form>> {
 protected:
  static Program program() {
    const Form& form = std::get<Form>(GetParam());
    return {.command = form.command,
            .busName = form.busName,
            .title = "Demo",
            .role = "frame",
            .element = "Demo",
            .environment = form.environment};
  }
  /// What a query finds is used as by hand, by what the application prints.
  static void expectUsed(Application& application) {
    const auto& [compositor, form] = GetParam();
    for (const Job& job : form.jobs) {
      SCOPED_TRACE(job.query);
      if (compositor == WindowManager::kwin && form.name == "Gtk3Xwayland" && job.isOfMenuBar) {
        continue;  // KWin has no shortcuts while such a menu has the keyboard
      }
      ASSERT_NO_FATAL_FAILURE(expectUsed(application, job));
    }
  }

 private:
  static void expectUsed(Application& application, const Job& job) {
    const auto count = [&](const std::string& line) { return application.process().linesBeginning(line).size(); };
    const size_t before = count(job.says);
    const auto openAgain = [&](Application& opened) {
      pressing("Escape")(opened);  // what the job before has opened
      const size_t times = count(job.in.opened);
      clicking(job.in.role, job.in.opener)(opened);
      // Otherwise it was still open from the attempt before; the next one opens it.
      waitUntil([&] { return count(job.in.opened) > times; }, std::chrono::seconds(4));
    };
    perform({job.query, {}, job.in.opener ? openAgain : Preparation(), job.told}, application);
    const Process& program = application.desktop().program().process();
    ASSERT_TRUE(waitUntil([&] { return count(job.says) > before; }))
        << application.process().out() << program.out() << program.err();
  }
};

TEST_P(FormOnWayland, isCheckedFocusedOpenedAndChosenFrom) {
  Desktop desktop(std::get<WindowManager>(GetParam()));
  Application application(desktop, program());
  expectUsed(application);
}

class FormOnASecondScreen : public FormOnWayland {};

TEST_P(FormOnASecondScreen, isUsedAsOnTheFirst) {
  SessionOptions options = on(std::get<WindowManager>(GetParam()));
  options.monitors = {{Desktop::kWidth, 0, Desktop::kWidth, Desktop::kHeight}};
  Desktop desktop(options);
  Application application(desktop, program());
  moveToTheOtherScreen(application);
  expectUsed(application);
}

constexpr const char* kNames[] = {"Sway", "KWin", "Gnome", "GnomeInPixels"};

INSTANTIATE_TEST_SUITE_P(Compositors, UseOnWayland,
                         ::testing::Values(on(WindowManager::sway), on(WindowManager::kwin), on(WindowManager::gnome),
                                           on(WindowManager::gnome, 2)),
                         [](const auto& info) { return std::string(kNames[info.index]); });

constexpr WindowManager kCompositors[] = {WindowManager::sway, WindowManager::kwin, WindowManager::gnome};
std::string nameOf(const ::testing::TestParamInfo<FormOnWayland::ParamType>& info) {
  const auto& [compositor, form] = info.param;
  return form.name + kNames[std::ranges::find(kCompositors, compositor) - kCompositors];
}

INSTANTIATE_TEST_SUITE_P(Compositors, FormOnWayland,
                         ::testing::Combine(::testing::ValuesIn(kCompositors), ::testing::ValuesIn(forms())), nameOf);
INSTANTIATE_TEST_SUITE_P(Compositors, FormOnASecondScreen,
                         ::testing::Combine(::testing::ValuesIn(kCompositors),
                                            ::testing::ValuesIn(formsOf({"Qt6", "Gtk3", "Gtk4"}))),
                         nameOf);

}  // namespace
}  // namespace jumplark::desktop
