#include "desktop/toolkits/Toolkits.h"

namespace jumplark::desktop {
namespace {

/// Starts it with a document of its own, of the kind "text" or "spreadsheet", and settings under which nothing comes up
/// by itself. `target` is the name of the part of the office that has it open.
Program officeWith(const PrivateSession& session, const std::string& file, const std::string& kind,
                   const std::string& styles, const std::string& content, const std::string& target) {
  const std::string path = session.folder() + "/" + file;
  const std::string namespaces = "urn:oasis:names:tc:opendocument:xmlns:";
  testing::writeFile(path, R"(<?xml version="1.0" encoding="UTF-8"?><office:document xmlns:office=")" + namespaces +
                               R"(office:1.0" xmlns:text=")" + namespaces + R"(text:1.0" xmlns:table=")" + namespaces +
                               R"(table:1.0" xmlns:style=")" + namespaces + R"(style:1.0" xmlns:fo=")" + namespaces +
                               R"(xsl-fo-compatible:1.0" xmlns:xlink="http://www.w3.org/1999/xlink"
 office:version="1.3" office:mimetype="application/vnd.oasis.opendocument.)" +
                               kind + "\"><office:automatic-styles>" + styles +
                               "</office:automatic-styles><office:body><office:" + kind + ">" + content +
                               "</office:" + kind + "></office:body></office:document>");
  const std::string profile = session.folder() + "/office";
  testing::writeFile(profile + "/user/registrymodifications.xcu", R"(<?xml version="1.0" encoding="UTF-8"?>
<oor:items xmlns:oor="http://openoffice.org/2001/registry"><item oor:path="/org.openoffice.Office.Common/Misc">
<prop oor:name="ShowTipOfTheDay" oor:op="fuse"><value>false</value></prop></item></oor:items>)");
  return {.command = {"soffice", "--" + target, "--norestore", "--nologo", "--nofirststartwizard",
                      "-env:UserInstallation=file://" + profile, path},
          .busName = "soffice",
          .title = file + " ",  // and a dash, which later ones have longer
          .role = "frame",
          .element = file,
          .target = {"--app", target},
          .environment = {{"SAL_USE_VCLPLUGIN", "gtk3"}}};
}

/// A letter whose last paragraph lies below the window.
Program writer(const PrivateSession& session) {
  std::string blank;
  for (int lines = 0; lines < 60; ++lines) {
    blank += "<text:p/>";
  }
  return officeWith(session, "letter.fodt", "text", R"(<style:style style:name="green" style:family="paragraph">
 <style:paragraph-properties fo:background-color="#20a041" fo:margin-top="0.5cm"/></style:style>)",
                    R"(<text:p>Plain paragraph.</text:p>
 <text:h text:outline-level="1">Heading of the letter</text:h>
 <text:p text:style-name="green">Green.</text:p>
 <text:p>As <text:a xlink:type="simple" xlink:href="https://example.org">the guide</text:a> says.</text:p>)" +
                        blank + "<text:p>Far below.</text:p>",
                    "writer");
}

Program calc(const PrivateSession& session) {
  const auto cell = [](const std::string& text) {
    return R"(<table:table-cell office:value-type="string"><text:p>)" + text + "</text:p></table:table-cell>";
  };
  return officeWith(session, "fruit.fods", "spreadsheet", "",
                    R"(<table:table table:name="Fruit"><table:table-row>)" + cell("apple") + cell("pear") +
                        "</table:table-row></table:table>",
                    "calc");
}

void expectTheGreenParagraphOnItsPixels(Application& application) {
  constexpr int kEdge = 3;
  PixelRect box{};
  // Asked anew each time: an office that has just started may still move and draw its document.
  const auto isOnItsPixels = [&] {
    const Matches matches = application.matches();
    const Match* green = find(matches, "StaticText", "Green.");
    box = green ? green->rect : PixelRect{};
    const auto isGreen = [&](int y) {
      return application.desktop().session.pixel(box.x + box.width / 2, y) == 0x20a041;
    };
    return green && isGreen(box.y + box.height - kEdge) && !isGreen(box.y + box.height + kEdge);
  };
  EXPECT_TRUE(waitUntil(isOnItsPixels)) << box;
}

// Its menu bar, side bar and fields are GTK's; it draws its tool bars, status bar and document itself.
Subject office() {
  return {.name = "Office",
          .program = writer,
          .shown = {{"StaticText", {"Plain paragraph.", "Heading of the letter", "Green.", "Default Page Style"}},
                    {"MenuBarItem", {"File", "Help"}},
                    {"Button",
                     {"Close Document", "Save", "Bold", "Justified", "Font Size", "Sidebar Settings",
                      "Styles (Ctrl+Alt+2)"}},
                    {"TextField", {"Font Size"}},
                    {"Link", {"the guide"}},
                    {"MenuButton", {"Menu of Font Color"}}},
          .hidden = {"Far below.", "Select All", "Close Sidebar"},
          .alsoHolds = {expectTheGreenParagraphOnItsPixels},
          .steps = {{"", finds("Button", "Bold", "0")},
                    {"bold", finds("Button", "Bold", "1")},
                    {"tools", shows("menu item", "Word Count")},
                    {"sidebar settings", finds("MenuItem", "Close Sidebar"), pressing("Escape")},
                    {"close sidebar", offers({"Bold"}, {"Sidebar Settings"})},
                    // The closed menu has it as it was when that showed last, before there was a document.
                    {"", offers({"Find:", "Match case", "Other options", "Find All", "Close"}, {"Bold", "File"}),
                     choosing("find and replace")},
                    {"close", offers({"Bold"}, {"Match case"})}}};
}

// The strips of headers are empty panels of its own; a column's header chooses the column.
Subject sheet() {
  return {.name = "Sheet",
          .program = calc,
          .shown = {{"Cell", {"apple", "pear", "C7", "Column B", "Row 7"}}},
          .steps = {{"pear", finds("TextField", "B1")}, {"column c", finds("TextField", "C1:C1048576")}}};
}

/// A Java program is on the accessibility bus only if the wrapper was named at its start.
Subject swing() {
  return {.name = "Swing",
          .program =
              [](const PrivateSession&) {
                Program program = swingDemo();
                program.command.insert(
                    program.command.begin() + 1,
                    "-Djavax.accessibility.assistive_technologies=org.GNOME.Accessibility.AtkWrapper");
                program.role = "frame";
                return program;
              },
          .shown = {{"Cell", {"Item 1", "Item 20"}},
                    {"MenuBarItem", {"File", "Arrange"}},
                    {"StaticText", {"Your name"}},
                    {"TextField", {"typed name", "Secret", "17"}},
                    {"Button", {"Plain Button"}},
                    {"CheckBox", {"I agree"}},
                    {"RadioButton", {"Small size", "Names", "Numbers"}},
                    {"PopUpButton", {"Crimson"}},
                    {"ComboBox", {"Berlin"}}},
          .hidden = {"Item 100", "Row 1", "Fruit", "Never Shown", "Import", "Turquoise", "Certainly"},
          .coloured = {{"Button", "Plain Button", 0x20a041}},
          .hasPassword = true,
          .steps = {{"plain button", titled("Did plain")},
                    {"i agree", titled("Did agree true")},
                    {"", lists("[x] File ▸ Import"), choosing("file import")},
                    {"item 12", titled("Did list Item 12")},
                    {"numbers", titled("Did tab Numbers")},
                    {"", offers({"Row 7", "Square"}, {"Row 100", "Item 1"})},
                    {"row 7", titled("Did row 7")},
                    {"folders", titled("Did tab Folders")},
                    {"fruit kind", titled("Did tree Fruit Kind")},
                    {"expand stone", offers({"Stone Kind"})},
                    {"crimson", finds("Cell", "Turquoise")},
                    {"turquoise", titled("Did colour Turquoise")},
                    {"lav", titled("Did colour Lavender"),
                     opening(clicking("PopUpButton", "Turquoise"), finds("Cell", "Lavender")), "Lavender"},
                    {"offer", finds("MenuItem", "Second Offer")},
                    {"second offer", titled("Did second offer")},
                    {"ask", titled("Question")},
                    {"", offers({"Certainly"}, {"Plain Button"})},
                    {"certainly", titled("Did certainly")}}};
}

}  // namespace

std::vector<Subject> otherSubjects() {
  return {{.name = "Qt5",
           .program =
               [](const PrivateSession&) {
                 return Program{.command = {"kcalc"}, .busName = "kcalc", .role = "push button", .element = "7"};
               },
           .shown = {{"Button", {"7"}}},
           .roles = {{"push button", {"Button"}}, {"menu item", {"MenuBarItem"}}},
           .atLeast = 24,
           .queries = {".", "7", "set"},
           .steps = {{"", shows("frame", "0")},
                     {"7", shows("frame", "7")},
                     {"9", shows("frame", "79")},
                     {"", lists("[x] Settings ▸ Science Mode"), choosing("science mode")},
                     // It answers when its dialog is closed.
                     {"", titled("About KDE"), choosing("about kde")}}},
          office(),
          sheet(),
          swing()};
}

}  // namespace jumplark::desktop
