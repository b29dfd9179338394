#include <gmock/gmock.h>
#include <systemd/sd-bus.h>

#include <atomic>
#include <filesystem>
#include <string>

#include "SourceFixture.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/Snapshot.h"
#include "backends/linux/atspi/toolkits/chromium/Chromium.h"
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
  void read() { source().take(browser.root(), true, {}); }

  FakeApplication browser;
  std::atomic<int> looks{0};
};

TEST_F(Browser, WhosePageIsReplacedByTheOneThatFillsIsReadWithThat) {
  someTimeAfterWaking([this] {
    browser.remove("page");
    browser.add("view", "filled", element(role::documentWeb, "Page", {100, 100, 400, 250}));
    addLinks("filled");
  });
  read();
  EXPECT_NE(source().last->find(browser.ref("link2")), nullptr);
  EXPECT_EQ(source().last->find(browser.ref("page")), nullptr);
}

TEST_F(Browser, IsWaitedForOnceForEachBlankPage) {
  someTimeAfterWaking([] {});
  read();
  const int waiting = looks;
  EXPECT_GT(waiting, 3);
  read();
  EXPECT_LE(looks, waiting + 1);
}

struct Cover {
  const char* what;
  const char* guess;   ///< what the browser says at first lies at a point
  const char* answer;  ///< what the page does
  bool hides;
};

TEST_F(Browser, HidesWhatThePageSaysIsBelowSomethingElse) {
  browser.add("page", "header", element(role::landmark, "", {100, 100, 400, 60}));
  browser.add("header", "home", element(role::link, "home", {110, 105, 50, 20}));
  browser.add("page", "list", element(role::list, "", {100, 60, 400, 600}));
  for (int i = 0; i < 5; ++i) {
    browser.add("list", "link" + std::to_string(i), element(role::link, "link", {200, 85 + 20.0 * i, 50, 20}));
  }
  const std::vector<Cover> covers{{"a header", "link1", "header", true},
                                  {"a link of the header's", "link1", "home", false},
                                  {"a busy page", "link1", "link1", false},
                                  {"what may be the browser's guess", "header", "header", false}};
  std::atomic<int> asked{0};
  std::atomic<const Cover*> now{nullptr};
  std::pair<int32_t, int32_t> last;  // the browser's thread only
  browser.answerInstead([&](sd_bus_message* message, const std::string& id, const std::string& member) {
    std::pair<int32_t, int32_t> point;
    if (id != "page" || member != "GetAccessibleAtPoint" ||
        sd_bus_message_read(message, "ii", &point.first, &point.second) < 0) {
      return false;
    }
    ++asked;
    // Only who asks for the same place again is told what the page has said meanwhile.
    const bool again = std::exchange(last, point) == point;
    const ElementRef hit = browser.ref(again ? now.load()->answer : now.load()->guess);
    return sd_bus_reply_method_return(message, "(so)", handleOf(hit)->busName().c_str(),
                                      handleOf(hit)->path().c_str()) >= 0;
  });
  for (const Cover& cover : covers) {
    SCOPED_TRACE(cover.what);
    now = &cover;
    asked = 0;
    read();
    for (const auto& [id, below] : {std::pair("link0", true), {"link1", true}, {"link2", true}, {"link3", false}}) {
      EXPECT_EQ(source().last->find(browser.ref(id))->extents.has_value(), !(below && cover.hides)) << id;
    }
    EXPECT_TRUE(source().last->find(browser.ref("home"))->extents);
    EXPECT_LE(asked, 4) << "three times, and the last question of the reading before may come late";
  }
  browser.set("header", element(role::landmark, "", {100, 100, 400, 60}));
  asked = 0;
  read();
  EXPECT_EQ(asked, 0) << "nothing holds anything of another";
}

TEST(BrowserAdvice, IsForBrowsersOnly) {
  EXPECT_EQ(Chromium().adviceForSilent(getpid(), nullptr), "");
  EXPECT_EQ(Chromium().adviceForSilent(-1, nullptr), "");
}

TEST(BrowserAdvice, IsGivenUntilAPageShowsSomething) {
  const testing::TemporaryFolder folder;
  // Looks like a browser, and does nothing.
  std::filesystem::copy_file("/bin/sleep", folder / "my-shell");
  testing::writeFile(folder / "chrome_100_percent.pak", "pictures");
  const desktop::Process program({(folder / "my-shell").string(), "1000"}, {}, (folder / "run").string());
  const auto advice = [&](const Snapshot* snapshot) { return Chromium().adviceForSilent(program.pid(), snapshot); };
  SnapshotDraft draft;
  const auto adviceNow = [&] {
    const Snapshot snapshot(draft);
    return advice(&snapshot);
  };
  const auto isGiven = ::testing::HasSubstr("my-shell shows nothing of its pages: start it with --force");

  ElementFacts page;
  page.ref = makeRef(":1.1", "/page");
  page.role = role::documentWeb;
  EXPECT_THAT(advice(nullptr), isGiven) << "not on the bus at all";
  EXPECT_THAT(adviceNow(), isGiven) << "without a page";
  page.states = 1ULL << state::showing;
  draft.elements.add(page);
  EXPECT_THAT(adviceNow(), isGiven) << "an empty page";
  page.children = {makeRef(":1.1", "/link")};
  page.states = 0;
  draft.elements.add(page);
  EXPECT_THAT(adviceNow(), isGiven) << "another tab's page";
  page.states = 1ULL << state::showing;
  draft.elements.add(page);
  EXPECT_EQ(adviceNow(), "");
}

}  // namespace
}  // namespace jumplark::atspi
