#include "desktop/toolkits/Toolkits.h"

namespace jumplark::desktop {
namespace {

/// Of the page that both show.
const std::vector<Coloured> kColoured = {{"Button", "Fixed Button", 0x11e0e0},
                                         {"Link", "an inline link", 0xffe011},
                                         {"Button", "Plain Button", 0x20a041},
                                         {"Button", "Aria Button", 0xa0c1ff},
                                         {"Button", "Inner Button", 0xe08181}};

void expectATextOfEachThing(Application& application) {
  for (const Match& match : application.matches()) {
    EXPECT_FALSE(match.texts.empty()) << match.role << " without a text at " << match.rect;
  }
}

Subject inChromium(const std::string& name, const Arguments& extra) {
  return {.name = name,
          .program =
              [extra](const PrivateSession& session) {
                Program program = chromium(session, "controls.html", "Controls");
                program.command.insert(program.command.end() - 1, extra.begin(), extra.end());
                return program;
              },
          .shown = {{"Button",
                     {"Plain Button", "Fixed Button", "Disabled Button", "Aria Button", "Aria Switch", "Inner Button",
                      "Reload", "New Tab", "Bookmark this tab"}},
                    {"MenuButton", {"Popup Button"}},
                    {"Link",
                     {"Fixed Home", "an inline link", "Picture Link", "Listed Link", "Cell Link", "Clipped First",
                      "Inner Link"}},
                    {"StaticText", {"Heading One", "Listed words", "Column Head", "Cell Words"}},
                    {"StaticText", {"Your name "}, 0},
                    {"CheckBox", {"Aria Checkbox", "I agree"}},
                    {"TextField", {"typed name", "Look for things", "Secret", "7", "Address and search bar"}},
                    {"RadioButton", {"Small size", "Large size", "First Tab", "Second Tab", "Controls…"}},
                    {"PopUpButton", {"Crimson"}},
                    {"Slider", {"Volume"}},
                    {"Image", {"A grey picture"}},
                    {"TextArea", {"some notes"}}},
          .hidden = {"Far Below", "Far Button", "Never Shown", "Invisible Button", "Inner Hidden", "Clipped Third",
                     "Turquoise", " "},
          .coloured = kColoured,
          .slack = 2,
          .hasPassword = true,
          .alsoHolds = {expectATextOfEachThing},
          .steps = {{"plain button", titled("Did plain")},
                    {"inline link", titled("Did inline")},
                    {"i agree", titled("Did agree true")},
                    {"large size", titled("Did large")},
                    {"aria button", titled("Did aria button")},
                    {"aria checkbox", titled("Did aria checkbox")},
                    {"second tab", titled("Did second tab")},
                    {"picture link", titled("Did picture link")},
                    {"inner button", titled("Did inner")},
                    {"fixed button", titled("Did header")},
                    {"typed name", titled("Did name")},
                    {"fixed button", titled("Did header")},
                    // The page scrolls below its header.
                    {"", offers({"Far Button", "Far Below", "Fixed Home"}, {"Plain Button"}), pressing("End")},
                    {"far button", titled("Did far")}}};
}

// Plain words are no elements of their own in this browser, and a box does not tell what is chosen in it.
Subject firefox() {
  return {.name = "Firefox",
          .program =
              [](const PrivateSession&) {
                return Program{.command = {"firefox-esr", "--no-remote", "--new-instance",
                                           "file://" JUMPLARK_PAGES "/controls.html"},
                               .busName = "Firefox",
                               .title = "Controls"};
              },
          .shown = {{"Button", {"Plain Button", "Reload"}},
                    {"StaticText", {"Heading One", "Some plain words with…", "after it"}},
                    {"StaticText", {"Your name…", " I agree"}, 0},
                    {"Link", {"an inline link", "Listed Link", "Cell Link"}},
                    {"Cell", {"Listed words…", "Cell Words…", "before…"}},
                    {"TextField", {"typed name"}},
                    {"CheckBox", {"I agree…"}},
                    {"PopUpButton", {"Crimson"}}},
          .hidden = {"Never Shown", "Far Below"},
          .coloured = kColoured,
          .slack = 2,
          .hasPassword = true,
          .steps = {{"inline link", titled("Did inline")},
                    {"plain button", titled("Did plain")},
                    {"crimson", finds("MenuItem", "Turquoise")},
                    {"turquoise", titled("Did Turquoise")}}};
}

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

std::vector<Subject> webSubjects() {
  return {inChromium("Chromium", {}), inChromium("ChromiumAwake", {"--force-renderer-accessibility"}), firefox()};
}

}  // namespace jumplark::desktop
