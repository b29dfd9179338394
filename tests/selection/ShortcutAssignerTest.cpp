#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "selection/JLElementShortcutAssigner.h"
#include "support/RecordedFixture.h"
#include "tree/JLElementTree.h"

namespace jumplark {
namespace {

using testing::RecordedFixture;

TEST(ShortcutTable, HoldsOneTwoAndThreeLettersInOrder) {
  const auto& table = JLElementShortcutAssigner::shortcutsForCurrentLayout();
  ASSERT_EQ(table.size(), 8841U);
  EXPECT_EQ(std::set<std::string>(table.begin(), table.end()).size(), table.size());
  const std::vector<std::pair<size_t, std::string>> cases = {{0, "A"},     {1, "E"},     {2, "U"},     {20, "Z"},
                                                             {21, "AE"},   {40, "AZ"},   {41, "EA"},   {440, "ZV"},
                                                             {441, "AEE"}, {442, "AEU"}, {8840, "ZVV"}};
  for (const auto& [index, label] : cases) {
    EXPECT_EQ(table[index], label) << index;
  }
  EXPECT_EQ(std::count(table.begin(), table.end(), "AEA"), 0);
}

TEST(ShortcutAssigner, OrdersByScoreKeepsTiesAndCutsAtTheTable) {
  RecordedFixture desktop(R"({"elements":{"e":{"attributes":{"AXRole":"AXButton"}}}})");
  const auto tree = JLElementTree::tree();
  std::vector<JLElementMatch> matches;
  for (int i = 0; i < 9000; ++i) {
    JLElementNode* node = JLElementNode::nodeWithRoleAttributes(*tree, std::to_string(i), {});
    matches.emplace_back(tree->handle(node), static_cast<float>(i / 2));
  }
  const auto ordered = JLElementShortcutAssigner::orderedMatches(matches);
  ASSERT_EQ(ordered.size(), 8841U);
  EXPECT_EQ(ordered[0].node()->attribute("Role"), "8998");
  EXPECT_EQ(ordered[1].node()->attribute("Role"), "8999") << "equal scores stay in their order";
  EXPECT_EQ(ordered[2].node()->attribute("Role"), "8996");
  EXPECT_EQ(JLElementShortcutAssigner::assignShortcutsToMatches(ordered).size(), ordered.size()) << "one each";
}

}  // namespace
}  // namespace jumplark
