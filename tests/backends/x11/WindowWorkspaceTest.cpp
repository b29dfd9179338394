#include "backends/linux/windows/WindowWorkspace.h"

#include <gmock/gmock.h>

#include "backends/linux/x11/DesktopWatcher.h"
#include "backends/linux/x11/X11Screens.h"
#include "backends/x11/X11Fixture.h"
#include "support/TemporaryFolder.h"

namespace jumplark {
namespace {

namespace fs = std::filesystem;
using desktop::waitUntil;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using testing::writeFile;

/// Windows are those of copies of this process.
const std::string kProgram = fs::canonical("/proc/self/exe").filename();

/// Writes a desktop entry with these lines.
void writeEntry(const fs::path& path, const std::string& lines) {
  writeFile(path, "[Desktop Entry]\nType=Application\n" + lines);
}

class DesktopEntriesTest : public ::testing::Test {
 protected:
  testing::TemporaryFolder temporary_;
  fs::path folder_ = temporary_.path();
  fs::path apps_ = folder_ / "applications";
};

TEST_F(DesktopEntriesTest, findsAnApplicationByIdByClassAndByFileName) {
  writeFile(apps_ / "org.example.Editor.desktop",
            "[Desktop Action New]\nName=New Window\n[Desktop Entry]\nType=Application\nName=Editor\n"
            "Name[de]=Schreiber\nName[de_AT]=Schreiberl\nStartupWMClass=WeirdClass\n");
  writeEntry(apps_ / "kde" / "org.kde.viewer.desktop", "Name = View\\ser\\\\\n");
  writeFile(apps_ / "link.desktop", "[Desktop Entry]\nType=Link\nName=Link\n");
  const struct {
    const char* locale;
    const char* applicationId;
    const char* className;
    const char* instanceName;
    const char* id;
    const char* name;
  } cases[] = {
      {"de_CH.UTF-8", "org.example.Editor", "Other", "other", "org.example.Editor", "Schreiber"},
      {"de_CH.UTF-8", "", "weirdclass", "x", "org.example.Editor", "Schreiber"},
      {"de_CH.UTF-8", "", "x", "WeirdClass", "org.example.Editor", "Schreiber"},
      {"de_AT@euro", "", "Editor", "editor", "org.example.Editor", "Schreiberl"},
      {"", "", "Editor", "", "org.example.Editor", "Editor"},
      {"", "", "Viewer", "", "kde-org.kde.viewer", "View er\\"},
      {"", "", "", "", "", ""},
      {"", "link", "link", "link", "", ""},
  };
  for (const auto& c : cases) {
    const auto entry = DesktopEntries({folder_}, c.locale).forWindow(c.applicationId, c.className, c.instanceName);
    EXPECT_EQ(entry.value_or(DesktopEntry()).id, c.id) << c.className;
    EXPECT_EQ(entry.value_or(DesktopEntry()).name, c.name) << c.className;
  }
}

TEST_F(DesktopEntriesTest, findsApplicationsByTheProgramThatTheyRun) {
  const fs::path program = fs::canonical(folder_) / "office";
  writeFile(program, "");
  const std::string exec = "Exec=env LANG=C \"" + program.string() + "\" --calc %U\n";
  writeEntry(apps_ / "calc.desktop", "Name=Calc\nName[de]=Tabellen\n" + exec);
  writeEntry(apps_ / "hidden.desktop", "Hidden=true\n" + exec);
  writeEntry(apps_ / "other.desktop", "Exec=sh -c office\n");
  DesktopEntries entries({folder_}, "de");
  for (const fs::path& path : {program, fs::path(program.string() + ".bin")}) {
    const auto found = entries.forProgram(path);
    ASSERT_EQ(found.size(), 1U) << path;
    EXPECT_EQ(found[0].name + ", " + found[0].plainName, "Tabellen, Calc");
  }
  EXPECT_THAT(entries.forProgram({}), IsEmpty());
  EXPECT_EQ(entries.forProgram(fs::canonical("/bin/sh")).at(0).id, "other");
}

TEST_F(DesktopEntriesTest, theFirstFolderWinsMayHideAnEntryAndIsLookedAtAgainWhenItChanges) {
  writeEntry(folder_ / "system/applications/a.desktop", "Name=System A\n");
  writeEntry(folder_ / "system/applications/b.desktop", "Name=System B\n");
  writeEntry(apps_ / "a.desktop", "Name=My A\n");
  writeEntry(apps_ / "b.desktop", "Name=B\nHidden=true\n");
  DesktopEntries entries({folder_, folder_ / "system", folder_ / "absent"}, "C");
  EXPECT_EQ(entries.forWindow("a", "", "")->name, "My A");
  EXPECT_FALSE(entries.forWindow("b", "", ""));
  fs::last_write_time(apps_, fs::file_time_type{});
  EXPECT_FALSE(entries.forWindow("later", "", ""));
  writeEntry(apps_ / "later.desktop", "Name=Later\n");
  EXPECT_TRUE(entries.forWindow("later", "", ""));
}

class WindowWorkspaceTest : public X11Test {
 protected:
  WindowWorkspaceTest() : X11Test(desktop::WindowManager::xfwm4) {
    writeEntry(data_ / "applications/org.example.Editor.desktop", "Name=Editor\nStartupWMClass=editor-class\n");
    writeEntry(data_ / "applications/other.desktop",
               "Name=Otherwise\nExec=" + fs::canonical("/proc/self/exe").string() + "\n");
  }
  std::vector<int32_t> frontToBack() {
    std::vector<int32_t> result;
    std::ranges::transform(workspace_.applicationsFrontToBack(), std::back_inserter(result), &RunningApplication::pid);
    return result;
  }
  bool becomesFrontmost(const WindowClient& client) {
    return waitUntil([&] {
      const auto app = workspace_.frontmostApplication();
      return app && app->pid == client.pid() && windows_->activeWindow() == client.window();
    });
  }

  fs::path data_ = fs::path(session_->folder()) / "data";
  X11Screens screens_{x_, queue_};
  DesktopEntries entries_{{data_}, "C"};
  WindowWorkspace workspace_{*windows_, entries_, &screens_};
};

TEST_F(WindowWorkspaceTest, namesApplications) {
  constexpr desktop::PixelRect kRect{0, 0, 50, 50};
  const WindowClient byId(*session_, kRect, WindowClient::managed,
                          {{"_GTK_APPLICATION_ID", "UTF8_STRING", "org.example.Unknown"}});
  const WindowClient byClass(*session_, kRect, WindowClient::managed, {classProperty("x", "Editor-Class")});
  const WindowClient unknown(*session_, kRect, WindowClient::managed, {classProperty("inst", "Klass")});
  const WindowClient bare(*session_, kRect);
  const auto named = [&](const WindowClient& client) { return workspace_.runningApplicationWithPid(client.pid()); };
  EXPECT_EQ(named(byId), (RunningApplication{byId.pid(), "org.example.Unknown", kProgram}));
  EXPECT_EQ(named(byClass), (RunningApplication{byClass.pid(), "org.example.Editor", "Editor"}));
  EXPECT_EQ(named(unknown), (RunningApplication{unknown.pid(), "Klass", "Klass"}));
  EXPECT_EQ(named(bare), (RunningApplication{bare.pid(), kProgram, kProgram}));
  EXPECT_EQ(workspace_.runningApplicationsWithBundleIdentifier("org.example.Editor"),
            std::vector<RunningApplication>{*named(byClass)});
  const ApplicationNames names = workspace_.namesOf(*named(byClass));
  EXPECT_THAT(names.own, IsSupersetOf<std::string>({"org.example.Editor", "Editor", "x", "Editor-Class", kProgram}));
  EXPECT_THAT(names.ofItsProgram, IsSupersetOf({"other", "Otherwise"}));
  EXPECT_THAT(workspace_.runningApplicationsWithBundleIdentifier("org.example.None"), IsEmpty());
  EXPECT_FALSE(workspace_.runningApplicationWithPid(1));
}

TEST_F(WindowWorkspaceTest, listsApplicationsFrontToBackAndActivatesThem) {
  EXPECT_FALSE(workspace_.frontmostApplication());
  const WindowClient first(*session_, {10, 50, 200, 100});
  const WindowClient second(*session_, {300, 50, 200, 100});
  const WindowClient third(*session_, {600, 50, 200, 100});
  const WindowClient utility(*session_, {900, 50, 90, 90}, WindowClient::managed, {typeProperty("UTILITY")});
  const WindowClient dock(*session_, {0, 0, 400, 30}, WindowClient::managed,
                          {typeProperty("DOCK"), classProperty("p", "Panel")});
  ASSERT_TRUE(workspace_.activate(third.pid(), kActivateIgnoringOtherApps));
  ASSERT_TRUE(becomesFrontmost(third));
  EXPECT_TRUE(waitUntil([&] { return frontToBack() == std::vector{third.pid(), second.pid(), first.pid()}; }));

  EXPECT_TRUE(workspace_.activate(first.pid(), 0));
  EXPECT_TRUE(becomesFrontmost(first));
  session_->keys({"windowminimize", std::to_string(second.window())});
  EXPECT_TRUE(waitUntil([&] { return frontToBack() == std::vector{first.pid(), third.pid()}; }));
  EXPECT_TRUE(workspace_.runningApplicationWithPid(second.pid())) << "it runs all the same";
  EXPECT_TRUE(workspace_.activate(second.pid(), kActivateIgnoringOtherApps));
  EXPECT_TRUE(becomesFrontmost(second));

  EXPECT_FALSE(workspace_.activate(1, kActivateIgnoringOtherApps));
  EXPECT_EQ(workspace_.runningApplicationsWithBundleIdentifier(kDockBundleIdentifier),
            (std::vector{RunningApplication{dock.pid(), "Panel", "Panel"}}));
}

TEST_F(WindowWorkspaceTest, theFocusedWindowsFrameCountsFromBelowAndHasNoShadow) {
  const WindowClient framed(*session_, {50, 80, 300, 200});
  const WindowFacts facts = *windows_->window(framed.window());
  ASSERT_GT(facts.frame.height, 200) << "the window manager's title";
  const auto frame = workspace_.focusedWindowFrame(framed.pid());
  EXPECT_EQ(frame, (Rect{facts.frame.x, 900 - facts.frame.maxY(), facts.frame.width, facts.frame.height}));

  const WindowClient decorated(*session_, {500, 90, 240, 180}, WindowClient::managed,
                               {typeProperty("DIALOG"), {"_GTK_FRAME_EXTENTS", "CARDINAL", "20,20,10,30"}});
  const Rect outer = windows_->window(decorated.window())->frame;
  EXPECT_EQ(workspace_.focusedWindowFrame(decorated.pid()),
            (Rect{outer.x + 20, 900 - outer.maxY() + 30, outer.width - 40, outer.height - 40}));
  session_->keys({"windowminimize", std::to_string(framed.window())});
  EXPECT_TRUE(waitUntil([&] { return !workspace_.focusedWindowFrame(framed.pid()); }));
  EXPECT_FALSE(workspace_.focusedWindowFrame(1));
}

// A window of this process is in front only if no other shows above the rest.
TEST_F(WindowWorkspaceTest, ourOwnWindowIsInFrontWhenItIsTheTopmost) {
  const WindowClient other(*session_, {10, 50, 300, 200});
  ASSERT_TRUE(becomesFrontmost(other));
  const xcb_window_t own = showWindow(*x_, 400, 300, 100);
  ASSERT_TRUE(waitUntil([&] { return windows_->activeWindow() == own; }));
  EXPECT_EQ(workspace_.frontmostApplication()->pid, getpid());
  EXPECT_EQ(frontToBack(), (std::vector{static_cast<int32_t>(getpid()), other.pid()}));
}

TEST_F(WindowWorkspaceTest, tellsWhichApplicationBecomesActive) {
  const auto watcher = DesktopWatcher::create(session_->display(), queue_);
  std::vector<int32_t> active;
  const Token token = watcher->onActiveApplicationChanged([&](int32_t pid) { active.push_back(pid); });
  std::vector<int32_t> expected;
  const auto expectToHearOf = [&](const WindowClient& client) {
    ASSERT_TRUE(session_->activate(client.window()));
    expected.push_back(client.pid());
    ASSERT_TRUE(queue_.runUntil([&] { return active == expected; }));
  };
  const WindowClient first(*session_, {10, 50, 200, 100});
  expectToHearOf(first);
  const WindowClient second(*session_, {300, 50, 200, 100});
  expectToHearOf(second);
  expectToHearOf(first);
}

TEST_F(WindowWorkspaceTest, tellsWhereButtonsArePressedWhileThatIsAskedFor) {
  const auto watcher = DesktopWatcher::create(session_->display(), queue_);
  std::vector<Point> presses;
  session_->keys({"mousemove", "5", "6", "click", "1"});
  Token token = watcher->onButtonPress([&](Point at) { presses.push_back(at); });
  // Another client holds the pointer, as an open menu does.
  xcb_grab_pointer(x_->get(), 0, x_->root(), 0, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE,
                   XCB_CURRENT_TIME);
  ASSERT_TRUE(x_->check(xcb_no_operation_checked(x_->get())));
  session_->keys({"mousemove", "70", "80", "click", "1", "click", "4", "mousemove", "11", "12", "click", "3"});
  EXPECT_TRUE(queue_.runUntil([&] { return presses == std::vector<Point>{{70, 80}, {11, 12}}; }));
  session_->keys({"click", "1"});
  ASSERT_TRUE(waitUntil([&] { return queue_.size() == 1; }));
  token.reset();
  queue_.runAll();
  EXPECT_EQ(presses.size(), 2U);
}

}  // namespace
}  // namespace jumplark
