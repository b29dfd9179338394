#include <algorithm>
#include <filesystem>
#include <fstream>

#include "desktop/DesktopTest.h"

namespace jumplark::desktop {
namespace {

using testing::IsEmpty;

constexpr uint32_t kColour = 0x20a041;
/// More than fit into the window.
constexpr int kBlankLines = 60;

/// Its last paragraph lies below the window.
std::string writeLetter(const PrivateSession& session) {
  std::string path = session.folder() + "/letter.fodt";
  std::ofstream file(path);
  file << R"(<?xml version="1.0" encoding="UTF-8"?>
<office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0"
 xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0"
 xmlns:style="urn:oasis:names:tc:opendocument:xmlns:style:1.0"
 xmlns:fo="urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0"
 office:version="1.3" office:mimetype="application/vnd.oasis.opendocument.text">
<office:automatic-styles>
 <style:style style:name="green" style:family="paragraph">
  <style:paragraph-properties fo:background-color="#20a041" fo:margin-top="0.5cm"/>
 </style:style>
</office:automatic-styles>
<office:body><office:text>
 <text:p>Plain paragraph.</text:p>
 <text:h text:outline-level="1">Heading of the letter</text:h>
 <text:p text:style-name="green">Green.</text:p>
)";
  for (int i = 0; i < kBlankLines; ++i) {
    file << "<text:p/>";
  }
  file << R"(<text:p>Far below.</text:p></office:text></office:body></office:document>)";
  return path;
}

/// Settings under which nothing comes up by itself.
std::string writeProfile(const PrivateSession& session) {
  const std::string folder = session.folder() + "/office";
  std::filesystem::create_directories(folder + "/user");
  std::ofstream(folder + "/user/registrymodifications.xcu") << R"(<?xml version="1.0" encoding="UTF-8"?>
<oor:items xmlns:oor="http://openoffice.org/2001/registry">
<item oor:path="/org.openoffice.Office.Common/Misc">
<prop oor:name="ShowTipOfTheDay" oor:op="fuse"><value>false</value></prop></item>
</oor:items>)";
  return "file://" + folder;
}

class Office : public testing::Test {
 protected:
  Office() {
    desktop.session.start({"soffice", "--writer", "--norestore", "--nologo", "--nofirststartwizard",
                           "-env:UserInstallation=" + writeProfile(desktop.session), writeLetter(desktop.session)},
                          {{"SAL_USE_VCLPLUGIN", "gtk3"}});
    const SessionWindow window = desktop.session.waitForWindow(
        [](const SessionWindow& candidate) { return candidate.title.starts_with("letter.fodt - "); });
    target = {"--app", "writer"};
    EXPECT_TRUE(desktop.session.activate(window.id));
    EXPECT_TRUE(waitUntil([&] { return !readApplication(desktop.session, "soffice").empty(); }));
  }

  /// What could be chosen, once that has come to hold one thing.
  std::vector<Match> matchesWith(const std::string& role, const std::string& text) {
    std::vector<Match> matches;
    EXPECT_TRUE(waitUntil([&] { return find(matches = look(), role, text); }))
        << role << " '" << text << "' among:" << describe(matches);
    return matches;
  }
  /// While it starts it is busy for longer than anybody waits for an answer, and shows little or nothing.
  std::vector<Match> look() { return desktop.jumplark.matchIfAnswered(target, "."); }
  void act(const std::string& query) {
    EXPECT_TRUE(waitUntil([&] {
      return desktop.jumplark.run({"act", target[0], target[1], query}).status == 0;
    })) << query;
  }
  bool comesToShow(const std::string& title) {
    return waitUntil([&] {
      return desktop.session.findWindow([&](const SessionWindow& window) { return window.title == title; }).has_value();
    });
  }
  std::string valueOf(const std::string& button) {
    const std::vector<Match> matches = look();
    const Match* match = find(matches, "Button", button);
    return match && match->texts.count("Value") ? match->texts.at("Value") : "";
  }
  void expectGreen(const PixelRect& paragraph) {
    const int x = paragraph.x + paragraph.width / 2;
    const auto isGreen = [&](int y) { return desktop.session.pixel(x, y) == kColour; };
    constexpr int kEdge = 3;
    const int bottom = paragraph.y + paragraph.height;
    EXPECT_TRUE(isGreen(bottom - kEdge)) << paragraph;
    EXPECT_FALSE(isGreen(bottom + kEdge)) << paragraph;
  }

  Desktop desktop;
  Arguments target;
};

// Its menu bar, side bar and fields are GTK's; it draws its tool bars, status bar and document itself.
TEST_F(Office, showsEachThingOnceAndDoesWhatAClickWouldDo) {
  matchesWith("StaticText", "Plain paragraph.");
  for (const char* name : {"soffice", "libreoffice-writer", "LibreOffice Writer", "startcenter"}) {
    EXPECT_EQ(desktop.jumplark.run({"match", "--app", name, "bold"}).status, 0) << name;
  }
  const std::vector<Match> matches = matchesWith("Button", "Bold");
  EXPECT_THAT(notThereOnce(matches, {{"MenuBarItem", "File"},
                                     {"MenuBarItem", "Help"},
                                     {"Button", "Close Document"},
                                     {"Button", "Save"},
                                     {"Button", "Bold"},
                                     {"Button", "Justified"},
                                     {"TextField", "Font Size"},
                                     {"Button", "Font Size"},
                                     {"Button", "Sidebar Settings"},
                                     {"Button", "Styles (Ctrl+Alt+2)"},
                                     {"StaticText", "Plain paragraph."},
                                     {"StaticText", "Heading of the letter"},
                                     {"StaticText", "Green."},
                                     {"StaticText", "Default Page Style"}}),
              IsEmpty())
      << "among:" << describe(matches);
  const std::set<std::string> texts = allTexts(matches);
  for (const char* hidden : {"Far below.", "Select All", "Close Sidebar"}) {
    EXPECT_EQ(texts.count(hidden), 0U) << hidden << " does not show" << describe(matches);
  }
  if (const Match* green = find(matches, "StaticText", "Green.")) {
    expectGreen(green->rect);
  }

  EXPECT_TRUE(waitUntil([&] { return valueOf("Bold") == "0"; }));
  act("bold");
  EXPECT_TRUE(waitUntil([&] { return valueOf("Bold") == "1"; }));

  act("tools");
  EXPECT_TRUE(waitUntil([&] {
    return desktop.session.findWindow([](const SessionWindow& window) { return window.overrideRedirect; }).has_value();
  })) << "the menu opens";
  desktop.session.keys({"key", "Escape"});
  act("sidebar settings");
  matchesWith("MenuItem", "Close Sidebar");
  act("close sidebar");
  EXPECT_TRUE(waitUntil([&] {
    const std::vector<Match> now = look();
    return find(now, "Button", "Bold") && !find(now, "Button", "Sidebar Settings");
  }));

  act("find and replace");
  ASSERT_TRUE(comesToShow("Find and Replace"));
  const std::vector<Match> dialog = matchesWith("Button", "Close");
  EXPECT_THAT(notThereOnce(dialog, {{"StaticText", "Find:"},
                                    {"CheckBox", "Match case"},
                                    {"DisclosureTriangle", "Other options"},
                                    {"Button", "Find All"},
                                    {"Button", "Close"}}),
              IsEmpty())
      << "among:" << describe(dialog);
  EXPECT_FALSE(find(dialog, "Button", "Bold")) << "the window behind";
  act("close");
  EXPECT_TRUE(waitUntil([&] {
    return !desktop.session.findWindow([](const SessionWindow& window) { return window.title == "Find and Replace"; });
  }));
}

}  // namespace
}  // namespace jumplark::desktop
