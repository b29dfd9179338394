#include <algorithm>
#include <fstream>
#include <map>

#include "desktop/DesktopTest.h"

namespace jumplark::desktop {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const Arguments kBrowser = {"--app", "Chromium"};

/// A browser in a session with one page in front.
class Browser {
 public:
  Browser(Desktop& desktop, const std::string& url, const std::string& title, const Arguments& extra = {})
      : desktop_(desktop) {
    Arguments arguments = {"chromium",
                           "--no-sandbox",
                           "--disable-gpu",
                           "--disable-quic",
                           "--no-first-run",
                           "--disable-background-networking",
                           "--disable-component-update",
                           "--disable-sync",
                           "--window-size=1100,860",
                           "--window-position=20,10",
                           "--user-data-dir=" + desktop.session.folder() + "/browser"};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    arguments.push_back(url);
    desktop.session.start(arguments);
    const SessionWindow window = waitForTitle(title);
    EXPECT_TRUE(desktop.session.activate(window.id));
  }

  SessionWindow waitForTitle(const std::string& beginning) {
    return desktop_.session.waitForWindow(
        [&](const SessionWindow& window) { return window.title.starts_with(beginning); });
  }
  bool showsTitle(const std::string& beginning) {
    return waitUntil([&] {
      return desktop_.session
          .findWindow([&](const SessionWindow& window) { return window.title.starts_with(beginning); })
          .has_value();
    });
  }
  /// What could be chosen, once that has come to hold one thing.
  std::vector<Match> matchesWith(const std::string& role, const std::string& text) {
    std::vector<Match> matches;
    EXPECT_TRUE(waitUntil([&] {
      matches = desktop_.jumplark.everything(kBrowser);
      return find(matches, role, text) != nullptr;
    })) << role
        << " '" << text << "' among:" << describe(matches);
    return matches;
  }

 private:
  Desktop& desktop_;
};

std::string controlsPage() {
  return "file://" JUMPLARK_PAGES "/controls.html";
}

/// A page of links "Link 1", "Link 2" and so on, all in one row of siblings.
std::string writeLinks(const PrivateSession& session, int count) {
  std::string path = session.folder() + "/links.html";
  std::ofstream file(path);
  file << "<!DOCTYPE html><title>Links</title><style>a { display: inline-block; width: 60px; font-size: 11px }</style>";
  for (int i = 1; i <= count; ++i) {
    file << "<a href='#" << i << "'>Link " << i << "</a> ";
  }
  return "file://" + path;
}

class Page : public testing::TestWithParam<Arguments> {};

TEST_P(Page, showsEachThingOnceAndNothingThatDoesNotShow) {
  Desktop desktop;
  Browser browser(desktop, controlsPage(), "Controls", GetParam());
  const std::vector<Match> matches = browser.matchesWith("Button", "Plain Button");

  const std::pair<const char*, const char*> expected[] = {
      {"Link", "Fixed Home"},
      {"Button", "Fixed Button"},
      {"StaticText", "Heading One"},
      {"Link", "an inline link"},
      {"Button", "Plain Button"},
      {"Button", "Disabled Button"},
      {"MenuButton", "Popup Button"},
      {"Button", "Aria Button"},
      {"CheckBox", "Aria Checkbox"},
      {"Button", "Aria Switch"},
      {"TextField", "typed name"},
      {"TextField", "Look for things"},
      {"TextField", "Secret"},
      {"CheckBox", "I agree"},
      {"RadioButton", "Small size"},
      {"RadioButton", "Large size"},
      {"PopUpButton", "Crimson"},
      {"Slider", "Volume"},
      {"TextField", "7"},
      {"RadioButton", "First Tab"},
      {"RadioButton", "Second Tab"},
      {"Image", "A grey picture"},
      {"Link", "Picture Link"},
      {"TextArea", "some notes"},
      {"Link", "Listed Link"},
      {"StaticText", "Listed words"},
      {"StaticText", "Column Head"},
      {"StaticText", "Cell Words"},
      {"Link", "Cell Link"},
      {"Link", "Clipped First"},
      {"Button", "Inner Button"},
      {"Link", "Inner Link"},
      {"Button", "Reload"},
      {"Button", "New Tab"},
      {"RadioButton", "Controls"},
      {"TextField", "Address and search bar"},
      {"StaticText", "Your name "},
      {"Button", "Bookmark this tab"},
  };
  std::vector<std::string> wrong;
  for (const auto& [role, text] : expected) {
    const auto count = std::count_if(matches.begin(), matches.end(), [&, r = role, t = text](const Match& match) {
      return match.role == r && (match.hasText(t) || (t == std::string("Controls") && match.texts.count("Title") &&
                                                      match.texts.at("Title").starts_with(t)));
    });
    if (count != 1) {
      wrong.push_back(std::to_string(count) + " of " + role + " '" + text + "'");
    }
  }
  EXPECT_THAT(wrong, IsEmpty()) << "among:" << describe(matches);

  const std::set<std::string> texts = allTexts(matches);
  for (const char* hidden : {"Far Below", "Far Button", "Never Shown", "Invisible Button", "Inner Hidden",
                             "Clipped Third", "Turquoise", " "}) {
    EXPECT_EQ(texts.count(hidden), 0U) << hidden << " does not show";
  }
  for (const Match& match : matches) {
    EXPECT_FALSE(match.texts.empty()) << match.role << " without a text at " << match.rect;
  }
  const Finished tree = desktop.jumplark.run({"tree", "--app", "Chromium"});
  EXPECT_THAT(tree.out, AllOf(Not(HasSubstr("correct horse")), HasSubstr("Subrole=\"SecureTextField\""),
                              HasSubstr("Subrole=\"SearchField\"")));
}

TEST_P(Page, hasItsBoxesOnTheRightPixels) {
  Desktop desktop;
  Browser browser(desktop, controlsPage(), "Controls", GetParam());
  const std::vector<Match> matches = browser.matchesWith("Button", "Plain Button");
  const std::map<std::string, std::pair<const char*, uint32_t>> colours = {{"Fixed Button", {"Button", 0x11e0e0}},
                                                                           {"an inline link", {"Link", 0xffe011}},
                                                                           {"Plain Button", {"Button", 0x20a041}},
                                                                           {"Aria Button", {"Button", 0xa0c1ff}},
                                                                           {"Inner Button", {"Button", 0xe08181}}};
  for (const auto& [text, roleAndColour] : colours) {
    SCOPED_TRACE(text);
    const char* role = roleAndColour.first;
    const uint32_t colour = roleAndColour.second;
    const Match* match = find(matches, role, text);
    ASSERT_TRUE(match) << describe(matches);
    const PixelRect& r = match->rect;
    constexpr int kIn = 2;
    constexpr int kOut = 3;
    const auto shows = [&](int x, int y) { return desktop.session.pixel(x, y) == colour; };
    EXPECT_TRUE(waitUntil([&] { return shows(r.x + kIn, r.y + kIn); })) << r;
    EXPECT_TRUE(shows(r.x + r.width - 1 - kIn, r.y + r.height - 1 - kIn)) << r;
    EXPECT_FALSE(shows(r.x - kOut, r.y + r.height / 2)) << r;
    EXPECT_FALSE(shows(r.x + r.width + kOut, r.y + r.height / 2)) << r;
    EXPECT_FALSE(shows(r.x + r.width / 2, r.y - kOut)) << r;
    EXPECT_FALSE(shows(r.x + r.width / 2, r.y + r.height + kOut)) << r;
  }
}

INSTANTIATE_TEST_SUITE_P(Chromium, Page, testing::Values(Arguments{}, Arguments{"--force-renderer-accessibility"}),
                         [](const auto& info) { return std::string(info.param.empty() ? "Asleep" : "Forced"); });

TEST(Chromium, doesWhatAClickWouldDo) {
  Desktop desktop;
  Browser browser(desktop, controlsPage(), "Controls");
  browser.matchesWith("Button", "Plain Button");
  const std::pair<const char*, const char*> cases[] = {
      {"plain button", "Did plain"},    {"inline link", "Did inline"},        {"i agree", "Did agree true"},
      {"large size", "Did large"},      {"aria button", "Did aria button"},   {"aria checkbox", "Did aria checkbox"},
      {"second tab", "Did second tab"}, {"picture link", "Did picture link"}, {"inner button", "Did inner"},
      {"fixed button", "Did header"},   {"typed name", "Did name"},
  };
  for (const auto& [query, title] : cases) {
    const Finished finished = desktop.jumplark.run({"act", "--app", "Chromium", query});
    EXPECT_EQ(finished.status, 0) << finished.err;
    EXPECT_TRUE(browser.showsTitle(title)) << query << ": " << finished.out;
  }
}

TEST(Chromium, followsThePageAsItScrolls) {
  Desktop desktop;
  Browser browser(desktop, controlsPage(), "Controls");
  browser.matchesWith("Button", "Plain Button");
  desktop.session.keys({"key", "End"});
  const std::vector<Match> matches = browser.matchesWith("Button", "Far Button");
  EXPECT_TRUE(find(matches, "Link", "Far Below"));
  EXPECT_TRUE(find(matches, "Link", "Fixed Home")) << "the header stays";
  EXPECT_FALSE(find(matches, "Button", "Plain Button")) << describe(matches);
  ASSERT_EQ(desktop.jumplark.run({"act", "--app", "Chromium", "far button"}).status, 0);
  EXPECT_TRUE(browser.showsTitle("Did far"));
}

/// A page that has been scrolled until "Block 5" is half below its fixed header.
std::string writeBlocks(const PrivateSession& session) {
  std::string path = session.folder() + "/blocks.html";
  std::ofstream(path) << R"(<!DOCTYPE html><title>Blocks</title><style>body { margin: 0 }
    #top { position: fixed; top: 0; left: 0; right: 0; height: 60px; background: #ddd }
    a { display: block; height: 60px; width: 300px }</style><div id='top'>Header</div>
    <script>for (let i = 1; i < 60; i++)
      document.write(`<a href='#' onclick="document.title='Did ${i}'; return false">Block ${i}</a>`);
    scrollTo(0, 215)</script>)";
  return "file://" + path;
}

TEST(Chromium, pressesThePartOfALinkThatIsNotCovered) {
  Desktop desktop;
  Browser browser(desktop, writeBlocks(desktop.session), "Blocks");
  const std::vector<Match> matches = browser.matchesWith("Link", "Block 5");
  EXPECT_TRUE(waitUntil([&] { return !find(desktop.jumplark.everything(kBrowser), "Link", "Block 4"); }))
      << "what can be seen of it in the window lies below the header";
  const PixelRect window = browser.waitForTitle("Blocks").rect;
  for (const Match& match : matches) {
    EXPECT_LE(match.rect.y + match.rect.height, window.y + window.height) << match.rect;
  }
  for (const std::string number : {"5", "9"}) {
    EXPECT_EQ(desktop.jumplark.run({"act", "--app", "Chromium", "Block " + number}).status, 0);
    EXPECT_TRUE(browser.showsTitle("Did " + number));
  }
}

// The longer page has more siblings than the browser names at once without making everybody wait.
class Links : public testing::TestWithParam<int> {};

TEST_P(Links, showFromTheFirstToTheLastInTheWindow) {
  Desktop desktop;
  Browser browser(desktop, writeLinks(desktop.session, GetParam()), "Links");
  const std::vector<Match> matches = browser.matchesWith("Link", "Link 1");
  const PixelRect window = browser.waitForTitle("Links").rect;
  int count = 0;
  int bottom = 0;
  for (int i = 1; i <= GetParam(); ++i) {
    const Match* match = find(matches, "Link", "Link " + std::to_string(i));
    if (!match) {
      break;
    }
    ++count;
    bottom = match->rect.y + match->rect.height;
    EXPECT_TRUE(window.contains(match->rect.x, match->rect.y)) << match->rect;
  }
  EXPECT_GE(count, 300);
  EXPECT_EQ(std::count_if(matches.begin(), matches.end(), [](const Match& match) { return match.role == "Link"; }),
            count);
  constexpr int kRow = 30;
  EXPECT_GT(bottom, window.y + window.height - kRow) << "the last one stands at the end of the window";
}

INSTANTIATE_TEST_SUITE_P(Chromium, Links, testing::Values(1000, 2000),
                         [](const auto& info) { return "Of" + std::to_string(info.param); });

}  // namespace
}  // namespace jumplark::desktop
