#include <algorithm>

#include "desktop/support/Desktop.h"

namespace jumplark::desktop {
namespace {

std::string write(const PrivateSession& session, const std::string& page) {
  testing::writeFile(session.folder() + "/page.html", "<!DOCTYPE html>" + page);
  return "file://" + session.folder() + "/page.html";
}

TEST(Web, thePartOfALinkThatNothingCoversIsPressed) {
  Desktop desktop;
  const std::string page = write(desktop.session, R"(<title>Blocks</title><style>body { margin: 0 }
    #top { position: fixed; top: 0; left: 0; right: 0; height: 60px; background: #ddd }
    a { display: block; height: 60px; width: 300px }</style><div id='top'>Header</div>
    <script>for (let i = 1; i < 60; i++)
      document.write(`<a href='#' onclick="document.title='Did ${i}'; return false">Block ${i}</a>`);
    scrollTo(0, 215)</script>)");
  Application browser(desktop, chromium(desktop.session, page, "Blocks"));
  const Matches matches = browser.matchesWith("Link", "Block 5");
  EXPECT_TRUE(waitUntil([&] { return !find(browser.matches(), "Link", "Block 4"); }))
      << "what can be seen of it in the window lies below the header";
  const PixelRect window = desktop.session.waitForWindowTitled("Blocks - Chromium").rect;
  for (const Match& match : matches) {
    EXPECT_LE(match.rect.y + match.rect.height, window.y + window.height) << match.rect;
  }
  for (const std::string number : {"5", "9"}) {
    EXPECT_EQ(browser.act("Block " + number).status, 0);
    EXPECT_TRUE(waitUntil([&] { return browser.hasTitle("Did " + number); })) << number;
  }
}

// A row of more siblings than the browser names at once without making everybody wait.
TEST(Web, ofManyLinksThoseInTheWindowShow) {
  Desktop desktop;
  std::string links = "<title>Links</title><style>a { display: inline-block; width: 60px; font-size: 11px }</style>";
  for (int i = 1; i <= 2000; ++i) {
    links.append("<a href='#'>Link ").append(std::to_string(i)).append("</a> ");
  }
  Application browser(desktop, chromium(desktop.session, write(desktop.session, links), "Links"));
  const Matches matches = browser.matchesWith("Link", "Link 1");
  const PixelRect window = desktop.session.waitForWindowTitled("Links - Chromium").rect;
  int count = 0;
  int bottom = 0;
  while (const Match* match = find(matches, "Link", "Link " + std::to_string(count + 1))) {
    ++count;
    bottom = match->rect.y + match->rect.height;
    EXPECT_TRUE(window.contains(match->rect.x, match->rect.y)) << match->rect;
  }
  EXPECT_GE(count, 300);
  EXPECT_EQ(std::ranges::count(matches, "Link", &Match::role), count);
  constexpr int kRow = 30;
  EXPECT_GT(bottom, window.y + window.height - kRow) << "the last one stands at the end of the window";
}

}  // namespace
}  // namespace jumplark::desktop
