#include <gmock/gmock.h>

#include "query/commands/CommandDescription.h"
#include "query/commands/Commands.h"
#include "query/text/Utf.h"

namespace jumplark::testing {
namespace {

std::string found(const std::string& lines, const std::string& query) {
  CommandIndex index;
  index.add(CommandIndex::prepare(commandsOf(lines)));
  std::string titles;
  for (const CommandMatch& match : index.search(query)) {
    titles += (titles.empty() ? "" : "|") + index.command(match.command).path.back();
  }
  return titles;
}

TEST(CommandIndex, findsByTitleOrByMenusAndTitleTheBestFirst) {
  const std::string menus = R"(
    File > Print…
    File > Save
    File > Save As…
    File > Export As > Export as PDF…
    Edit > Paste
    Edit > Find and Edit…
    Edit > Preferences…
    View > Ансамбль > Файл
    View > Café
    Quit)";
  const std::string all = "Print…|Save|Save As…|Export as PDF…|Paste|Find and Edit…|Preferences…|Файл|Café|Quit";
  const std::vector<std::pair<const char*, std::string>> cases = {
      {"", all},
      {"  ", all},
      {"pref", "Preferences…"},
      {"sa", "Save|Save As…"},
      {" save ", "Save|Save As…"},
      {"edit pref", "Preferences…"},
      {"ed pref", "Preferences…"},
      {"edpref", "Preferences…"},
      {"file export pdf", "Export as PDF…"},
      {"edit", "Find and Edit…|Paste|Preferences…"},    // a title that names it, then all of the menu
      {"file", "Print…|Save|Save As…|Export as PDF…"},  // in the order of the menu
      {"view fajl", "Файл"},
      {"fajl", "Файл"},
      {"файл", "Файл"},
      {"cafe", "Café"},
      {"view café", "Café"},
      {"pref edit", ""},
      {"file pref", ""},
      {"quit", "Quit"},
      {"x", ""},
  };
  for (const auto& [query, titles] : cases) {
    EXPECT_EQ(found(menus, query), titles) << query;
  }
}

TEST(CommandIndex, putsWhatIsOpenFirstAndWhatIsDisabledBehindWhatFitsAlike) {
  const std::vector<std::tuple<const char*, const char*, const char*>> cases = {
      {"-Undo Typing\nUndo Close", "undo", "Undo Close|Undo Typing"},
      {"-Undo\nNot Undone", "undo", "Undo|Not Undone"},  // disabled, but far better
      {"Save\nSave As\nSave Copy", "save", "Save|Save As|Save Copy"},
      {"Save\n*A Save", "save", "A Save|Save"},
      {"-Copy\nPaste\n*Cut", "", "Cut|Copy|Paste"},
  };
  for (const auto& [lines, query, titles] : cases) {
    EXPECT_EQ(found(lines, query), titles) << lines;
  }
}

TEST(CommandIndex, takesBatchesInTheOrderOfTheirComing) {
  CommandIndex index;
  EXPECT_FALSE(index.hasOpen());
  index.add(CommandIndex::prepare(commandsOf("One\nTwo")));
  index.add(CommandIndex::prepare(commandsOf("*Three")));
  EXPECT_TRUE(index.hasOpen());
  EXPECT_EQ(index.command(2).path.back(), "Three");
  EXPECT_EQ(CommandIndex::prepare(commandsOf("One"), [] { return true; }), nullptr);
  index.clear();
  EXPECT_EQ(index.size(), 0U);
}

/// The row's text with the marked letters in capitals between parentheses.
std::string marked(const std::string& text, const std::vector<Range>& marks) {
  std::u16string units = toUTF16(text);
  for (auto mark = marks.rbegin(); mark != marks.rend(); ++mark) {
    units.insert(static_cast<size_t>(mark->location + mark->length), u")");
    units.insert(static_cast<size_t>(mark->location), u"(");
  }
  return toUTF8(units);
}

TEST(CommandRow, marksTheLettersThatTheQueryNames) {
  const std::vector<std::tuple<const char*, const char*, const char*>> cases = {
      {"Edit > Preferences…", "pref", "Edit: (Pref)erences…"},
      {"Edit > Preferences…", "edit pref", "(Edit): (Pref)erences…"},
      {"Edit > Preferences…", "edpref", "(Ed)it: (Pref)erences…"},
      {"File > New > Open File…", "opfi", "File ▸ New: (Op)en (Fi)le…"},
      {"File > New > Tab", "fnta", "(F)ile ▸ (N)ew: (Ta)b"},
      {"File > New > Tab", "new tab", "File ▸ (New): (Tab)"},
      {"File > Search", "arch", "File: Se(arch)"},
      {"File > Save", "Save", "File: (Save)"},
      {"Прав > Ça Été", "été", "Прав: Ça (Été)"},
      {"View > Файл", "fajl", "View: Файл"},
      {"View > Maße Neu", "masse", "View: Maße Neu"},
      {"View > Save", "", "View: Save"},
  };
  for (const auto& [text, typed, row] : cases) {
    CommandIndex index;
    index.add(CommandIndex::prepare({commandOf(text)}));
    CommandQuery query(typed);
    const CommandRow made = commandRow(index.command(0), index.texts(0), query);
    EXPECT_EQ(marked(made.path, made.pathMarks) + ": " + marked(made.title, made.titleMarks), row) << typed;
  }
}

TEST(CommandRow, isSaidWithItsMenusItsStateAndItsKeys) {
  MenuCommand command = commandOf("-View > Bars > Status Bar");
  command.keys = "Ctrl+B";
  command.mark = MenuCommand::Mark::check;
  EXPECT_EQ(commandDescription(command), "Status Bar, View, Bars, not checked, not available, Ctrl+B");
  command.mark = MenuCommand::Mark::radio;
  command.isOn = command.isEnabled = true;
  EXPECT_EQ(commandDescription(command), "Status Bar, View, Bars, selected, Ctrl+B");
}

}  // namespace
}  // namespace jumplark::testing
