#include "backends/atspi/support/SourceFixture.h"

namespace jumplark::atspi {
namespace {

class Qt : public SourceFixture {};

// Rows that were scrolled below the header, and tabs below the buttons of their row, say that they show.
TEST_F(Qt, hidesWhatItDrawsSomethingOver) {
  add("frame", "tree", role::tree, "", {100, 100, 300, 100});
  add("tree", "header", role::tableColumnHeader, "Name", {101, 101, 100, 18});
  add("tree", "number", role::tableRowHeader, "1", {101, 119, 20, 14});
  const std::vector<std::pair<const char*, Rect>> items{{"above", {130, 91, 80, 14}},  {"below", {130, 105, 80, 14}},
                                                        {"half", {130, 112, 80, 14}},  {"left", {101, 140, 19, 14}},
                                                        {"right", {110, 140, 80, 14}}, {"beside", {300, 102, 80, 14}}};
  for (const auto& [name, rect] : items) {
    add("tree", name, role::tableCell, name, rect);
  }
  add("frame", "row", role::pageTabList, "", {100, 210, 200, 30});
  add("row", "first", role::pageTab, "first", {100, 210, 120, 30});
  add("row", "second", role::pageTab, "second", {220, 210, 40, 30});
  add("row", "third", role::pageTab, "third", {270, 210, 120, 30});
  add("row", "back", role::pushButton, "back", {265, 210, 20, 30});
  add("row", "forth", role::pushButton, "forth", {285, 210, 15, 30});
  prepare();
  std::string shown;
  for (const FactsPointer& e : elements()) {
    shown += e->is(state::showing) && e->extents ? ' ' + e->name : "";
  }
  EXPECT_EQ(shown, " Window  Name 1 half right  first second back forth");
}

}  // namespace
}  // namespace jumplark::atspi
