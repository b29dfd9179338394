#include "query/commands/CommandList.h"

#include <gtest/gtest.h>

namespace jumplark::testing {
namespace {

using enum CommandList::Step;

std::vector<CommandMatch> matches(uint32_t first, uint32_t count) {
  std::vector<CommandMatch> result;
  for (uint32_t i = 0; i < count; ++i) {
    result.push_back({first + i, 1});
  }
  return result;
}

TEST(CommandList, movesItsSelectionAndShowsTheRowsAroundIt) {
  CommandList list;
  list.step(next);
  EXPECT_EQ(list.selected(), std::nullopt);
  list.replace(matches(100, 20));
  const std::vector<std::tuple<CommandList::Step, uint32_t, size_t>> steps = {
      {previous, 119, 12}, {next, 100, 0},    {next, 101, 0},  {pageDown, 109, 2}, {pageDown, 117, 10},
      {pageDown, 119, 12}, {pageUp, 111, 11}, {first, 100, 0}, {pageUp, 100, 0},   {last, 119, 12}};
  for (const auto& [step, command, first] : steps) {
    list.step(step);
    EXPECT_EQ(list.selected(), command);
    EXPECT_EQ(list.first(), first) << command;
  }
  list.scroll(-5);
  EXPECT_EQ(list.first(), 7U);
  EXPECT_EQ(list.selected(), 119U) << "scrolling selects nothing";
  list.scroll(-50);
  EXPECT_EQ(list.first(), 0U);
  EXPECT_TRUE(list.selectRow(3));
  EXPECT_EQ(list.selected(), 103U);
  list.scroll(50);
  EXPECT_EQ(list.first(), 12U);
  EXPECT_FALSE(list.selectRow(8));
}

TEST(CommandList, keepsWhatTheUserHasChosenInItsRowWhenMoreCome) {
  CommandList list;
  list.replace(matches(5, 3));
  list.update(matches(0, 20), list.chosen());
  EXPECT_EQ(list.selected(), 0U) << "nothing was chosen";
  list.step(next);
  list.step(next);
  auto more = matches(30, 4);
  const auto rest = matches(0, 20);
  more.insert(more.end(), rest.begin(), rest.end());
  list.update(more, list.chosen());
  EXPECT_EQ(list.selected(), 2U);
  EXPECT_EQ(list.selectedIndex() - list.first(), 2U) << "in the row where it was";
  list.update(matches(0, 2), list.chosen());
  EXPECT_EQ(list.selected(), 0U) << "it has gone";
  EXPECT_EQ(list.chosen(), std::nullopt);
}

}  // namespace
}  // namespace jumplark::testing
