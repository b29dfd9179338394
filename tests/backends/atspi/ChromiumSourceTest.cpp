#include <gmock/gmock.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "SourceFixture.h"
#include "backends/linux/atspi/AtspiRoles.h"
#include "backends/linux/atspi/ChromiumReader.h"
#include "desktop/support/Process.h"

namespace jumplark::atspi {
namespace {

/// A browser with one page.
class Browser : public SourceFixture {
 protected:
  Browser() : browser(bus, "Chromium", "120") {
    browser.add("root", "frame", element(role::frame, "Window", {100, 50, 400, 300}));
    browser.add("frame", "view", element(role::panel, "", {100, 100, 400, 250}));
    browser.add("view", "page", element(role::documentWeb, "Page", {100, 100, 400, 250}));
  }
  void addLinks(const std::string& page) {
    for (int i = 0; i < 3; ++i) {
      browser.add(page, "link" + std::to_string(i), element(role::link, "link", {100, 100, 50, 20}));
    }
  }
  /// Calls back when the page has been looked at again some times after the browser was asked to wake up.
  void someTimeAfterWaking(const std::function<void()>& callback) {
    browser.beforeEachAnswer([this, callback](const std::string& id, const std::string& member) {
      if (id == "view" && member == "GetChildren" && browser.wasAsked("Accessible.GetAttributes frame") &&
          ++looks == 3) {
        callback();
      }
    });
  }
  void read() { source().prepareSnapshot(browser.root(), true); }

  FakeApplication browser;
  std::atomic<int> looks{0};
};

TEST_F(Browser, ThatSleepsIsWokenAndReadWhenItsPageHasFilled) {
  someTimeAfterWaking([this] { addLinks("page"); });
  read();
  EXPECT_NE(source().snapshotFacts(browser.ref("link2")), nullptr);
}

TEST_F(Browser, WhosePageIsReplacedByTheOneThatFillsIsReadWithThat) {
  someTimeAfterWaking([this] {
    browser.remove("page");
    browser.add("view", "filled", element(role::documentWeb, "Page", {100, 100, 400, 250}));
    addLinks("filled");
  });
  read();
  EXPECT_NE(source().snapshotFacts(browser.ref("link2")), nullptr);
  EXPECT_EQ(source().snapshotFacts(browser.ref("page")), nullptr);
}

TEST_F(Browser, IsWaitedForOnceForEachBlankPage) {
  someTimeAfterWaking([] {});
  read();
  const int waiting = looks;
  EXPECT_GT(waiting, 3);
  read();
  EXPECT_LE(looks, waiting + 1);
}

TEST_F(Browser, TellsEachThingOnceAndNoEmptyTexts) {
  addLinks("page");
  browser.add("link0", "face", element(role::staticText, "link", {100, 100, 50, 20}));
  browser.add("link1", "box", element(role::section, "", {100, 100, 50, 20}));
  browser.add("box", "inner", element(role::pushButton, "Inner", {100, 100, 50, 20}));
  browser.add("page", "space", element(role::staticText, " \xC2\xA0", {150, 100, 5, 20}));
  browser.add("page", "entry", element(role::listItem, "", {120, 200, 50, 20}));
  browser.add("entry", "bullet", element(role::staticText, "\xE2\x80\xA2 ", {100, 200, 7, 20}));
  browser.add("entry", "words", element(role::staticText, "Words", {120, 200, 50, 20}));
  read();
  ASSERT_NE(source().snapshotFacts(browser.ref("link0")), nullptr);
  EXPECT_FALSE(browser.wasAsked("Component.GetExtents face"));
  EXPECT_NE(source().snapshotFacts(browser.ref("inner")), nullptr) << "a link may hold more than its text";
  EXPECT_EQ(source().snapshotFacts(browser.ref("space")), nullptr);
  EXPECT_EQ(source().snapshotFacts(browser.ref("bullet")), nullptr);
  EXPECT_NE(source().snapshotFacts(browser.ref("words")), nullptr);
  const auto entry = source().snapshotFacts(browser.ref("entry"));
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->children, std::vector{browser.ref("words")});
}

TEST_F(Browser, OfALongListTellsWhatIsInTheWindow) {
  constexpr int kRows = 3000;
  constexpr int kFirstShown = 1800;
  constexpr int kShown = 12;  // 250 pixels of rows 20 high, and a rest
  browser.add("page", "list", element(role::section, "", {100, 100 - 20.0 * kFirstShown, 400, 20.0 * kRows}));
  for (int i = 0; i < kRows; ++i) {
    FakeElement row = element(role::link, "row", {100, 100 + 20.0 * (i - kFirstShown), 400, 20});
    if (i < kFirstShown || i > kFirstShown + kShown) {
      row.states &= ~(1ULL << state::showing);
    }
    browser.add("list", "row" + std::to_string(i), row);
  }
  read();
  for (const int i : {kFirstShown, kFirstShown + 5, kFirstShown + kShown}) {
    EXPECT_NE(source().snapshotFacts(browser.ref("row" + std::to_string(i))), nullptr) << i;
  }
  EXPECT_FALSE(browser.wasAsked("Accessible.GetChildren list"));
  const auto list = source().snapshotFacts(browser.ref("list"));
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->childCount, kRows);
  EXPECT_LT(list->children.size(), 100U);
}

TEST(BrowserAdvice, IsForBrowsersOnly) {
  EXPECT_EQ(adviceForSilentBrowser(getpid(), nullptr), "");
  EXPECT_EQ(adviceForSilentBrowser(-1, nullptr), "");
}

TEST(BrowserAdvice, IsGivenUntilAPageShowsSomething) {
  namespace fs = std::filesystem;
  std::string pattern = (fs::temp_directory_path() / "jumplark-shell-XXXXXX").string();
  const fs::path folder = mkdtemp(pattern.data());
  // Looks like a browser, and does nothing.
  fs::copy_file("/bin/sleep", folder / "my-shell");
  std::ofstream(folder / "chrome_100_percent.pak") << "pictures";
  const desktop::Process program({(folder / "my-shell").string(), "1000"}, {}, (folder / "run").string());
  const auto advice = [&](const Snapshot* snapshot) { return adviceForSilentBrowser(program.pid(), snapshot); };
  const auto isGiven = testing::HasSubstr("my-shell shows nothing of its pages: start it with --force");

  Snapshot snapshot;
  const auto page = std::make_shared<ElementFacts>();
  page->role = role::documentWeb;
  EXPECT_THAT(advice(nullptr), isGiven) << "not on the bus at all";
  EXPECT_THAT(advice(&snapshot), isGiven) << "without a page";
  snapshot.elements.emplace(makeRef(":1.1", "/page"), page);
  page->states = 1ULL << state::showing;
  EXPECT_THAT(advice(&snapshot), isGiven) << "an empty page";
  page->children = {makeRef(":1.1", "/link")};
  page->states = 0;
  EXPECT_THAT(advice(&snapshot), isGiven) << "another tab's page";
  page->states = 1ULL << state::showing;
  EXPECT_EQ(advice(&snapshot), "");
  fs::remove_all(folder);
}

}  // namespace
}  // namespace jumplark::atspi
