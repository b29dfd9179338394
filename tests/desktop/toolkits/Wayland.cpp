#include <algorithm>

#include "desktop/toolkits/Toolkits.h"

namespace jumplark::desktop {
namespace {

/// A row of the toolkits; of its steps those with such a query, each with the one before it if that
/// brings about what it needs.
Subject chosen(const std::vector<Subject>& rows, const std::string& name, const std::set<std::string>& queries) {
  Subject row = *std::ranges::find(rows, name, &Subject::name);
  row.queries.clear();
  std::vector<Step> steps;
  for (size_t i = 0; i < row.steps.size(); ++i) {
    const bool isNeeded =
        row.steps[i].query.empty() && i + 1 < row.steps.size() && queries.contains(row.steps[i + 1].query);
    if (isNeeded || queries.contains(row.steps[i].query)) {
      steps.push_back(row.steps[i]);
    }
  }
  row.steps = std::move(steps);
  return row;
}

/// From the shortcut on, for steps with such a query: what the query field tells then.
void useKeys(Subject& subject, const std::map<std::string, std::string>& told) {
  for (Step& step : subject.steps) {
    if (const auto found = told.find(step.query); found != told.end()) {
      step.told = found->second;
    }
  }
}

Program with(Program program, const Environment& environment, const Arguments& options = {}) {
  program.environment.insert(environment.begin(), environment.end());
  program.command.insert(program.command.begin() + 1, options.begin(), options.end());
  return program;
}

/// By what the demonstration program prints.
Effect says(const std::string& line) {
  return [line](Application& application) { return application.process().printed(line); };
}

/// Something of that role whose text begins so, in a state unless that is empty.
Effect holds(const std::string& role, const std::string& text, const std::string& state = "") {
  return [=](Application& application) {
    return std::ranges::any_of(application.elements(), [&](const AccessibleElement& element) {
      return element.role == role && element.text.starts_with(text) && (state.empty() || element.is(state));
    });
  };
}

Effect gone(const std::string& title) {
  return [title](Application& application) { return !application.hasTitle(title); };
}

/// Opens it, whatever has been open before, and waits for it.
Preparation openingAnew(const Preparation& open, const Effect& isOpen) {
  return [=](Application& application) {
    pressing("Escape")(application);
    open(application);
    EXPECT_TRUE(waitUntil([&] { return isOpen(application); }));
  };
}

/// What else is done with keys.
std::map<std::string, std::vector<Step>> furtherSteps() {
  const Effect isListOpen = shows("menu item", "Turquoise");
  const Effect isSettingsThere = shows("menu item", "Settings");
  const Effect areStylesOpen = shows("table cell", "Addressee");
  const Effect isAddressed = [isChosen = shows("table cell", "Addressee", "selected"),
                              isHeading = holds("text", "Heading 4")](Application& application) {
    return isChosen(application) && !isHeading(application);
  };
  const Effect isSearchOpen = shows("check box", "Match case");
  return {{"Qt6", {{"medium", shows("radio button", "Medium", "checked"), {}, "Medium"}}},
          {"ChromiumAwake",
           {{"i agree", titled("Did agree true"), {}, "I agree"},
            {"your name", titled("Did name"), {}, "typed name"},
            {"colour", isListOpen, {}, "Colour"},
            {"turq", titled("Did Turquoise"), openingAnew(clicking("PopUpButton", "Colour"), isListOpen), "Turquoise"},
            {"settings", titled("Settings"), openingAnew(clicking("MenuButton", "Chromium"), isSettingsThere),
             "Settings"}}},
          {"Firefox",
           {{"turq", titled("Did Turquoise"), openingAnew(clicking("PopUpButton", "Crimson"), isListOpen), "Turquoise"},
            {"plain button", titled("Did plain"), {}, "Plain Button"}}},
          {"Office",
           {{"tools", shows("menu item", "Word Count"), {}, "Tools"},
            {"word count", titled("Word Count"), pressing("Escape"), "Word Count"},
            {"close", gone("Word Count"), {}, "Close"},
            {"find and replace", isSearchOpen, {}, "Find and Replace"},
            {"match case", shows("check box", "Match case", "checked"), {}, "Match case"},
            {"close", gone("Find"), {}, "Close"},
            // Version 25.2 tells nothing of the fields in its tool bars.
            {"12 pt", holds("text", "12 pt", "focused"), {}, "12 pt", holds("text", "12 pt")},
            {"heading 4", holds("text", "Heading 4"),
             openingAnew(clicking("Button", "Paragraph Style"), shows("table cell", "Heading 4")), "Heading 4",
             holds("text", "12 pt")},
            // A row that is clicked once may lose its selection to the style of the text soon after.
            {"addressee",
             isAddressed,
             openingAnew(
                 [=](Application& application) { areStylesOpen(application) ? void() : pressing("F11")(application); },
                 areStylesOpen),
             "Addressee",
             {},
             true}}}};
}

Subject qt6() {
  return {.name = "Qt6",
          .program =
              [](const PrivateSession&) {
                return Program{.command = {JUMPLARK_DEMO_QT6, "Form"},
                               .busName = DemoProgram::kName,
                               .role = "frame",
                               .element = "Demo",
                               .target = {"--app", DemoProgram::kName}};
              },
          .shown = {{"Button", {"OK", "Apply"}}, {"MenuBarItem", {"File", "Help"}}, {"CheckBox", {"Wrap text"}}},
          .roles = {{"push button", {"Button"}}, {"page tab", {"RadioButton"}}},
          .atLeast = 8,
          .steps = {{"apply", says("clicked Apply"), {}, "Apply"},
                    {"wrap", shows("check box", "Wrap text", "checked")},
                    {"cancel", says("clicked Cancel"), moveToTheOtherScreen}},
          .monitors = {{Desktop::kWidth, 100, 900, 800}}};
}

}  // namespace

std::vector<Subject> waylandSubjects(WindowManager compositor) {
  const Subject gtk3 = chosen(gtkSubjects(), "Gtk3", {"increase", "mickey"});
  Subject x11 = chosen(gtkSubjects(), "Gtk3", {"increase"});
  x11.name = "Gtk3Xwayland";
  x11.program = [](const PrivateSession&) { return with(widgetFactory3(), {{"GDK_BACKEND", "x11"}}); };
  Subject gtk4 = chosen(gtkSubjects(), "Gtk4", {"about"});
  for (Shown& shown : gtk4.shown) {
    std::erase(shown.texts, "Maximize");     // which sway does not do; elsewhere it is a matter of settings
    std::erase(shown.texts, "radiobutton");  // a check box by the word of earlier versions
  }
  gtk4.alsoHolds.clear();
  Subject chromium = chosen(webSubjects(), "ChromiumAwake", {"plain button", "inline link", "inner button"});
  const auto browser = chromium.program;
  chromium.program = [browser](const PrivateSession& session) {
    return with(browser(session), {}, {"--ozone-platform=wayland"});
  };
  // Pages count in pixels there, and a point has two.
  Subject scaled = chromium;
  scaled.name = "ChromiumScaled";
  scaled.scale = 1.5;
  scaled.coloured.clear();
  Subject firefox = chosen(webSubjects(), "Firefox", {});
  const auto fox = firefox.program;
  firefox.program = [fox](const PrivateSession& session) { return with(fox(session), {{"MOZ_ENABLE_WAYLAND", "1"}}); };
  Subject office = chosen(otherSubjects(), "Office", {"bold"});
  for (Shown& shown : office.shown) {
    // Later versions call them otherwise.
    std::erase_if(shown.texts,
                  [](const std::string& text) { return text == "Font Size" || text.starts_with("Styles"); });
  }
  const auto writer = office.program;
  office.program = [writer](const PrivateSession& session) {
    // What another user's office has left there is not his.
    return with(writer(session), {}, {"-env:UNO_SHARED_PACKAGES_CACHE=file://" + session.folder() + "/packages"});
  };
  std::vector<Subject> subjects = {gtk3,  x11,      gtk4,    chosen(otherSubjects(), "Qt5", {"7", "9"}),
                                   qt6(), chromium, firefox, office};
  if (compositor != WindowManager::gnome) {
    subjects.push_back(scaled);  // there a scale of a session is whole
  }
  for (Subject& subject : subjects) {
    subject.windowManager = compositor;
    // The others' forms are used with keys on all of them.
    const std::set<std::string> always = {"ChromiumAwake", "Firefox", "Office"};
    if (compositor == WindowManager::sway || always.contains(subject.name)) {
      useKeys(subject, {{"increase", "Increase"},
                        {"7", "7"},
                        {"9", "9"},
                        {"plain button", "Plain Button"},
                        {"inline link", "an inline link"},
                        {"inner button", "Inner Button"},
                        {"wrap", "Wrap text"},
                        {"cancel", "Cancel"},
                        {"bold", "Bold"}});
      const std::vector<Step> further = furtherSteps()[subject.name];
      subject.steps.insert(subject.steps.end(), further.begin(), further.end());
    }
    if (compositor == WindowManager::sway && !subject.monitors.empty()) {
      constexpr double kScale = 2;
      subject.scaleOfMonitors = kScale;
      subject.monitors[0].width *= kScale;
      subject.monitors[0].height *= kScale;
    }
    if (compositor == WindowManager::kwin && !subject.monitors.empty()) {
      subject.monitors = {{Desktop::kWidth, 0, Desktop::kWidth, Desktop::kHeight}};  // without a card all are alike
    }
  }
  return subjects;
}

}  // namespace jumplark::desktop
