#include "platform/Menus.h"
#include "query/commands/Commands.h"
#include "query/engine/EngineFixture.h"
#include "query/engine/TargetCommands.h"
#include "streams/NotificationCenter.h"

namespace jumplark::testing {
namespace {

/// Menus that tell what a test tells them to, when it does.
struct FakeMenus : Menus {
  Token read(int32_t pid, Found found) override {
    reads.push_back(pid);
    this->found = std::move(found);
    return Token([this] { this->found = nullptr; });
  }
  MenuOutcome perform(const MenuCommand& command) override {
    performed.push_back(command.path.back());
    Platform::current().queues->sleep(std::chrono::seconds(1));
    return outcome;
  }
  std::vector<int32_t> reads;
  Strings performed;
  MenuOutcome outcome = MenuOutcome::done;
  Found found;
};

/// Outlives the engine.
struct MenusOfFixture {
  FakeMenus menus;
};

class CommandFixture : public MenusOfFixture, public EngineFixture {
 public:
  /// What the menus tell after the snapshot; nothing yet for an empty text.
  explicit CommandFixture(const std::string& told = "") : told_(told) {}

  void tell(const std::string& lines, bool isLast = true) {
    desktop->queues().highPriorityQueue().post([this, lines, isLast] {
      if (menus.found) {
        menus.found(commandsOf(lines), isLast);
      }
    });
    desktop->queues().runPending();
  }
  /// Words as for user(); the menus tell what they have as soon as they are asked.
  void use(const std::string& words) {
    std::istringstream stream(words);
    for (std::string word; stream >> word;) {
      user(word);
      if (menus.reads.size() > answered_ && !told_.empty()) {
        answered_ = menus.reads.size();
        tell(told_);
      }
    }
  }
  /// The titles in the list, the selected one in brackets; "(none)" where there is no list.
  std::string list() {
    const CommandRows& shown = window().commands();
    std::string titles;
    for (size_t i = 0; i < shown.rows.size(); ++i) {
      const std::string& title = shown.rows[i].title;
      titles += (i > 0 ? " " : "") + (shown.selected == i ? "[" + title + "]" : title);
    }
    return titles;
  }

 private:
  static Platform with(FakeMenus& menus) {
    Platform platform = Platform::current();
    platform.menus = &menus;
    return platform;
  }

  const Token installed_ = Platform::install(with(menus));
  const std::string told_;
  size_t answered_ = 0;
};

const std::string kMenus = R"(
  File > Open…
  File > Send
  -Edit > Undo
  Edit > Preferences…
  Edit > Professional…
  View > Zoom
  View > Bars > Tools
  View > Bars > Status
  Help > Contents
)";

TEST(CommandSearch, listsWhatIsFoundWhereAndWhileItIsWantedWhatWasOpenFirst) {
  struct Case {
    const char* words;
    const char* list;
    Strings boxes;
    const char* notice = "";
    std::string open = "";  ///< was open when the shortcut was pressed
  };
  const std::string open = "*Look > Profane\n*Look > Outline";
  const std::string all = "[Open…] Send Undo Preferences… Professional… Zoom Tools Status";
  const std::vector<Case> cases = {
      {"shortcut +1", "", {}},
      {"shortcut +1 'pr", "", {}},  // matching is still under way
      {"shortcut +1 'pr +101", "[Preferences…] Professional…", {}},
      {"shortcut +1 'pr +101 'o", "[Professional…]", {}},
      {"shortcut +1 's +101", "", {"Save", "Save as", "Search"}},
      {"shortcut +1 'sen +101 BackSpace BackSpace", "[Send] Status", {}},
      {"shortcut +1 'sen +101 BackSpace BackSpace +101", "", {"Save", "Save as", "Search"}},
      {"shortcut +1 'sen +101 BackSpace BackSpace BackSpace", "", {}},
      {"shortcut +1 'zzz +101", "", {}},
      {"shortcut +1 F10", all.c_str(), {}},
      {"shortcut F10", all.c_str(), {}},  // before there is a snapshot
      {"shortcut +1 's +101 F10 +101 tap tap", "[Send] Status", {}},
      {"shortcut +1 's +101 F10 +101 F10 +1", "", {"Save", "Save as", "Search"}},
      {"shortcut +1 'pr +101 F10 +101", "", {}},
      {"shortcut +1 'pr +101 F10 +101 'o +101", "[Professional…]", {}},
      {"shortcut +1 F10 'pr BackSpace BackSpace +101", all.c_str(), {}},
      {"shortcut +1 F10 'p BackSpace BackSpace 's +101", "", {"Save", "Save as", "Search"}},
      {"shortcut +1 F10 'zzz", "", {}, "No command matches"},
      {"shortcut +1 F10 PageDown", "Send Undo Preferences… Professional… Zoom Tools Status [Contents]", {}},
      {"shortcut +1 F10 Tab Down", "Open… Send [Undo] Preferences… Professional… Zoom Tools Status", {}},
      {"shortcut +1 F10 Down Control-u Shift-Tab Shift-Tab Home", all.c_str(), {}},
      {"shortcut +1 'pr +101 Tab Home", "Preferences… [Professional…]", {}},  // moves within the text
      {"shortcut +1 F10 Escape", "", {}},
      {"shortcut +1 F10 Escape shortcut +1", "", {}},
      {"shortcut +1", "[Profane] Outline Open… Send Undo Preferences… Professional… Zoom", {}, "", open},
      {"shortcut +1 'pr", "[Profane] Preferences… Professional…", {}, "", open},
      {"shortcut +1 'pr Down F5 +1000", "Profane [Preferences…] Professional…", {}, "", open},
      {"shortcut +1 Down F5 +1000", "Profane [Outline] Open… Send Undo Preferences… Professional… Zoom", {}, "", open},
      {"shortcut +1 's +101", "", {"Save", "Save as", "Search"}, "", open},  // nothing open, but elements
      {"shortcut +1 'sen +101", "[Send]", {}, "", open},
      {"shortcut +1 BackSpace", "", {}, "", open},
      {"shortcut +1 F10 'pr +101", "[Profane] Preferences… Professional…", {}, "", open},
      {"shortcut +1 F10 's +101", "", {"Save", "Save as", "Search"}, "", open},
  };
  for (const auto& [words, list, boxes, notice, opened] : cases) {
    CommandFixture fixture(kMenus + opened);
    fixture.use(words);
    EXPECT_EQ(fixture.list(), list) << words;
    EXPECT_EQ(fixture.matches(), boxes) << words;
    EXPECT_EQ(fixture.shownBoxes(), boxes.size()) << words;
    EXPECT_EQ(fixture.window().notice(), notice) << words;
  }
}

TEST(CommandSearch, readsTheMenusAfterTheSnapshotAndOnceForEach) {
  CommandFixture fixture;
  fixture.desktop->accessibility().setDelay("save", 60);
  fixture.use("shortcut 's F10 +100");
  EXPECT_EQ(fixture.menus.reads.size(), 0U);
  EXPECT_EQ(fixture.window().notice(), "");
  fixture.use("+2000 'e 'x +500");
  EXPECT_EQ(fixture.menus.reads, std::vector<int32_t>{1});
  EXPECT_EQ(fixture.window().spinnerOpacity(), 1) << "they tell nothing yet";
  fixture.tell("", true);
  fixture.use("+300");
  EXPECT_EQ(fixture.window().notice(), "No menu tells its commands");
  EXPECT_EQ(fixture.window().spinnerOpacity(), 0);
  fixture.use("F5 +5000");
  EXPECT_EQ(fixture.menus.reads.size(), 2U);
}

TEST(CommandSearch, keepsWhatTheUserHasChosenWhileMoreComes) {
  CommandFixture fixture;
  fixture.use("shortcut +1 F10");
  fixture.tell("Edit > Copy\nEdit > Paste", false);
  EXPECT_EQ(fixture.list(), "[Copy] Paste");
  fixture.use("Down");
  fixture.tell("Edit > Cut", false);
  EXPECT_EQ(fixture.list(), "Copy [Paste] Cut");
  fixture.use("F5 +1000");
  fixture.tell("New\nEdit > Copy", false);
  EXPECT_EQ(fixture.list(), "Copy [Paste] Cut") << "until all has been read anew";
  fixture.tell("Edit > Paste");
  EXPECT_EQ(fixture.list(), "New Copy [Paste]");
  fixture.use("Escape shortcut +1 F10");
  EXPECT_EQ(fixture.list(), "[New] Copy Paste") << "the same target";
  fixture.use("Escape");
  fixture.desktop->workspace().activate(2, 0);
  fixture.use("shortcut +1 F10");
  EXPECT_EQ(fixture.list(), "");
}

TEST(TargetCommands, dropsWhatAnEndedReadingTellsAndForgetsOpenMenus) {
  CommandFixture fixture;
  MainThreadCalls calls;
  int changes = 0;
  TargetCommands commands(calls, [&](bool) { ++changes; });
  const auto readAnd = [&](const std::string& lines, const std::function<void()>& meanwhile) {
    commands.read(1);
    fixture.menus.found(commandsOf(lines), true);
    meanwhile();
    fixture.advance(1);
    return commands.index().size();
  };
  EXPECT_EQ(readAnd("New", [&] { commands.read(1); }), 0U);
  EXPECT_EQ(changes, 0);
  EXPECT_EQ(readAnd("New\nOpen", [] {}), 2U);
  commands.stop();
  EXPECT_EQ(commands.index().size(), 2U);
  EXPECT_EQ(readAnd("*Copy", [] {}), 1U);
  EXPECT_FALSE(commands.isReading());
  commands.stop();
  EXPECT_EQ(commands.index().size(), 0U) << "the menu has closed";
  calls.close();
}

TEST(CommandSearch, returnCarriesOutTheSelectedOne) {
  struct Case {
    const char* words;
    Strings performed;
    int beeps = 0;
    size_t clicks = 0;
  };
  const std::vector<Case> cases = {
      {"shortcut +1 'pr +101 Return", {"Preferences…"}},
      {"shortcut +1 'pr +101 Tab Return", {"Professional…"}},
      {"shortcut +1 F10 Down Return", {"Send"}},
      {"shortcut +1 'pr Return +1000", {"Preferences…"}},                   // before the matching is over
      {"shortcut 'pr Return +1000", {"Preferences…"}},                      // and before the snapshot
      {"shortcut +1 'sen +101 BackSpace BackSpace Return +101", {}, 0, 1},  // an element, after all
      {"shortcut +1 'undo +101 Return", {}, 1},
      {"shortcut +1 'zzz +101 Return", {}, 1},
      {"shortcut +1 'pr +101 F10 Return", {}, 1},  // the user has left the list
      {"shortcut +1 F10 'zzz Return", {}, 1},
  };
  for (const auto& [words, performed, beeps, clicks] : cases) {
    CommandFixture fixture(kMenus);
    fixture.use(words);
    fixture.use("+3000");
    EXPECT_EQ(fixture.menus.performed, performed) << words;
    EXPECT_EQ(fixture.desktop->input().beepCount(), beeps) << words;
    EXPECT_EQ(fixture.clicks().size(), clicks) << words;
    EXPECT_EQ(fixture.isActive(), performed.empty() && clicks == 0) << words;
    EXPECT_EQ(fixture.reports("action.command"), performed.size()) << words;
  }
}

TEST(CommandSearch, returnWaitsForTheMenusUnlessTheUserGoesOn) {
  const std::vector<std::pair<const char*, Strings>> cases = {
      {"", {"Preferences…"}}, {"'x", {}}, {"Escape", {}}, {"F10 Down", {}}};
  for (const auto& [meanwhile, performed] : cases) {
    CommandFixture fixture;
    fixture.use("shortcut +1 'pr +101 Return +500");
    EXPECT_EQ(fixture.window().spinnerOpacity(), 1);
    fixture.use(meanwhile);
    fixture.tell("Edit > Professional…", false);
    EXPECT_EQ(fixture.menus.performed, Strings());
    fixture.tell("Preferences…");
    fixture.use("+2000");
    EXPECT_EQ(fixture.menus.performed, performed) << meanwhile;
    EXPECT_EQ(fixture.desktop->input().beepCount(), 0) << meanwhile;
  }
}

TEST(CommandSearch, theWindowGoesBeforeTheCommandAndTheMainThreadDoesNotWait) {
  CommandFixture fixture(kMenus);
  int used = 0;
  const Token usage = NotificationCenter::defaultCenter().observe("TrackUsage", [&](const auto&) { ++used; });
  fixture.use("shortcut +1 's +101 F10 +101");
  EXPECT_EQ(fixture.window().announcements(), (Strings{"Save, A", "Send, File"})) << "of elements nothing more";
  fixture.use("BackSpace");
  fixture.onMain([&] { fixture.window().scroll(3); });
  EXPECT_EQ(fixture.list(), "Send Undo Preferences… Professional… Zoom Tools Status Contents");
  fixture.use("'pr +101 Down");
  EXPECT_EQ(fixture.window().announcements().back(), "Professional…, Edit");
  const Duration before = fixture.desktop->queues().monotonicNow();
  fixture.onMain([&] { fixture.window().pressRow(0); });
  EXPECT_EQ(fixture.desktop->queues().monotonicNow(), before);
  EXPECT_FALSE(fixture.window().isVisible());
  EXPECT_EQ(fixture.window().commands().rows.size(), 0U);
  fixture.use("+2000");
  EXPECT_EQ(fixture.menus.performed, Strings{"Preferences…"});
  EXPECT_EQ(used, 1);
  const auto reports = fixture.metrics.eventsNamed("action.command");
  ASSERT_EQ(reports.size(), 1U);
  const MetricData expected = {{"bundle_id", "org.example.editor"},
                               {"query_length", 2},
                               {"total_matches", 2},
                               {"selection_index", 0},
                               {"duration_ms", 305.0}};
  EXPECT_EQ(reports[0], expected);
}

TEST(CommandSearch, tellsWhatCouldNotBeChosenAndOpensAgainOnlyInModalMode) {
  const std::vector<std::tuple<MenuOutcome, bool, std::string>> cases = {
      {MenuOutcome::done, false, ""},
      {MenuOutcome::done, true, ""},
      {MenuOutcome::disabled, false, "\"Professional…\" cannot be chosen now."},
      {MenuOutcome::gone, true, "\"Professional…\" is no longer in the application's menus."},
      {MenuOutcome::failed, false, "The application did not take \"Professional…\"."}};
  for (const auto& [outcome, isModal, text] : cases) {
    CommandFixture fixture(kMenus);
    fixture.desktop->defaults().setValue("ModalModeEnabled", isModal);
    fixture.menus.outcome = outcome;
    fixture.use("shortcut +1 'prof +101 Return +2000");
    const auto& alerts = fixture.desktop->views().alerts();
    EXPECT_EQ(alerts.empty() ? "" : alerts[0].text, text);
    EXPECT_EQ(fixture.isActive(), isModal && outcome == MenuOutcome::done);
  }
}

}  // namespace
}  // namespace jumplark::testing
