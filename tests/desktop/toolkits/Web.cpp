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
                    {"StaticText", {"Heading One", "Listed words", "Column Head", "Cell Words", "Your name "}},
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
                    {"StaticText", {"Heading One", "Some plain words with…", "after it", "Your name…"}},
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

}  // namespace

std::vector<Subject> webSubjects() {
  return {inChromium("Chromium", {}), inChromium("ChromiumAwake", {"--force-renderer-accessibility"}), firefox()};
}

}  // namespace jumplark::desktop
