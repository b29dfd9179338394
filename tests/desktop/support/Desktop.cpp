#include "desktop/support/Desktop.h"

#include <csignal>

namespace jumplark::desktop {

Application::Application(Desktop& desktop, const Program& program)
    : AccessibleApplication(desktop.session, program.busName),
      desktop_(desktop),
      process_(startProgram(session_, program)),
      target_(program.target.empty() ? Arguments{"--pid", std::to_string(process_.pid())} : program.target) {}

Application::~Application() {
  process_.kill(SIGKILL);
  waitUntil([this] {
    return !session_.hasWindow([this](const SessionWindow& window) { return window.pid == process_.pid(); });
  });
}

bool Application::hasTitle(const std::string& beginning) const {
  return session_.hasWindow([&](const SessionWindow& window) { return window.title.starts_with(beginning); });
}

Matches Application::matchesWith(const std::string& role, const std::string& text) {
  Matches found;
  EXPECT_TRUE(waitUntil([&] { return desktop::find(found = matches(), role, text) != nullptr; }))
      << role << " '" << text << "' among:" << describe(found);
  return found;
}

DemoProgram::DemoProgram(Desktop& desktop, const std::string& page, const Environment& extra)
    : Application(desktop, {.command = {JUMPLARK_DEMO_QT6, page},
                            .busName = kName,
                            .role = "frame",
                            .element = "Demo",
                            .target = {"--app", kName},
                            .environment = extra}) {}

std::vector<DemoPart> DemoProgram::parts() {
  const size_t before = process().countOfLine("parts told");
  process().kill(SIGUSR1);
  if (!waitUntil([&] { return process().countOfLine("parts told") > before; })) {
    throw std::runtime_error("the demonstration program did not tell its parts");
  }
  std::vector<DemoPart> parts;
  for (const std::string& line : linesBeginning("part ")) {
    DemoPart part;
    std::istringstream words(line);
    size_t number = 0;
    words.ignore(5) >> number >> part.rect.x >> part.rect.y >> part.rect.width >> part.rect.height >> part.visible >>
        part.kind;
    std::getline(words.ignore(1), part.name);
    if (number == before) {
      parts.push_back(part);
    }
  }
  return parts;
}

DemoPart DemoProgram::part(const std::string& name, const std::string& kind) {
  const std::vector<DemoPart> all = parts();
  const auto found = std::ranges::find_if(
      all, [&](const DemoPart& part) { return part.name == name && (kind.empty() || part.kind == kind); });
  if (found == all.end()) {
    ADD_FAILURE() << "the window has no " << kind << " '" << name << "'";
    return {};
  }
  return *found;
}

Program widgetFactory3() {
  return {.command = {"gtk3-widget-factory"},
          .busName = "gtk3-widget-factory",
          .role = "radio button",
          .element = "Page 2",
          .target = {"--app", "Widget Factory"},
          .environment = {{"G_DEBUG", "fatal-warnings"}}};
}

// Its window alone is waited for: GTK 4 makes the elements in it when they are first asked for, so that what the tests
// read first is what a person's first activation reads.
Program widgetFactory4() {
  return {.command = {"gtk4-widget-factory"},
          .busName = "gtk4-widget-factory",
          .title = "GTK Widget Factory",
          .target = {"--app", "Widget Factory"},
          // Later ones warn of what they miss to play films.
          .environment = {{"G_DEBUG", "fatal-warnings"}, {"GTK_MEDIA", "none"}}};
}

Program mousepad(const PrivateSession& session) {
  const std::string file = session.folder() + "/long.txt";
  std::string text;
  for (int line = 1; line <= 100'000; ++line) {
    text += "This is line " + std::to_string(line) + " of many.\n";
  }
  testing::writeFile(file, text);
  return {.command = {"mousepad", "--disable-server", file},
          .busName = "mousepad",
          .role = "menu",
          .element = "Search",
          .target = {"--app", "mousepad"}};
}

Program longList(const PrivateSession& session) {
  const std::string rows = session.folder() + "/rows";
  return {.command = {"sh", "-c",
                      "seq -f 'row %.0f' 100000 >" + rows +
                          "; exec yad --list --column=Left --column=Right --width=600 --height=600 <" + rows},
          .busName = "yad",
          .role = "frame"};
}

Program passwordForm() {
  return {.command = {"yad", "--form", "--field=User", "plain to see", "--field=Password:H", "hunter-Zebra-4711"},
          .busName = "yad"};
}

Program swingDemo() {
  return {.command = {"java", "-cp", "/usr/share/java/java-atk-wrapper.jar:" JUMPLARK_DEMO_SWING, "Demo"},
          .busName = "Swing Demo",
          .title = "Swing Demo"};
}

Program chromium(const PrivateSession& session, const std::string& page, const std::string& title) {
  return {.command = {"chromium", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                      "--disable-background-networking", "--disable-component-update", "--disable-sync",
                      "--window-size=1100,860", "--window-position=20,10",
                      "--user-data-dir=" + session.folder() + "/browser",
                      page.find(':') == std::string::npos ? "file://" JUMPLARK_PAGES "/" + page : page},
          .busName = "Chromium",
          .title = title,
          .target = {"--app", "Chromium"}};
}

}  // namespace jumplark::desktop
