#include "query/matching/JLElementFilter.h"
#include "query/matching/JLElementMatcher.h"
#include "query/matching/JLElementNodeScorer.h"
#include "support/DesktopText.h"
#include "support/RecordedFixture.h"
#include "tree/JLElementTree.h"
#include "tree/JLElementTreeEnumerator.h"

namespace jumplark::testing {
namespace {

TEST(NearnessMultiplier, fallsFromThreeWithTheGapBetweenTheRectangles) {
  const Rect origin{0, 0, 10, 10};
  const std::tuple<Rect, Rect, float> cases[] = {
      {{5, 5, 10, 10}, origin, 3},
      {{10, 0, 10, 10}, origin, 3},      // touching
      {{110, 0, 10, 10}, origin, 2.8F},  // 100 to the right
      {{-110, 0, 10, 10}, origin, 2.8F},
      {{0, 110, 10, 10}, origin, 2.8F},
      {{40, 50, 10, 10}, origin, 2.9F},  // 30 and 40: a distance of 50
      {{1010, 0, 10, 10}, origin, 1},
      {{5000, 0, 10, 10}, origin, 1},
      {{0, 300, 10, 10}, origin, 3 - 0.58F},  // equal x: no horizontal gap
      {Rect::null(), origin, 1},
      {Rect::null(), Rect::null(), 3},
      {Rect::infinite(), origin, 3},
      {Rect{}, Rect{}, 3},
  };
  for (const auto& [node, focused, multiplier] : cases) {
    EXPECT_FLOAT_EQ(JLElementNodeScorer::multiplierForRects(node, focused), multiplier) << node.x << "," << node.y;
    EXPECT_FLOAT_EQ(JLElementNodeScorer::multiplierForRects(focused, node), multiplier);
  }
}

const std::string kDesktop =
    DesktopText::of(R"(
  app AXApplication AXFocusedWindow=@win
    win AXWindow 0,0/2000,1000
      near AXButton 10,10/10,10 AXTitle="save"
      far AXButton 120,10/10,5 AXTitle="save"
      tiny AXButton 10,10/4,10 AXTitle="save"
      label AXGroup 10,10/10,10 AXTitle="street"
      field AXTextField 10,10/10,10 AXValue="Ada" AXTitleUIElement=@label
  )",
                    R"("screens":[[0,0,2000,1000]],"pointer":[15,985],"hits":[[15,14,"near"]],)");

class NodeScorerTest : public ::testing::Test {
 protected:
  JLElementNode* node(const std::string& id) { return tree_->nodeForElement(*desktop_.element(id)); }

  RecordedFixture desktop_{kDesktop};
  std::shared_ptr<JLElementTree> tree_ = JLElementTreeEnumerator(desktop_.element("app")).enumerateElements();
};

TEST_F(NodeScorerTest, aTitleCountsSlightlyMoreThanOwnTextsAndOnlyOneLevelDeep) {
  EXPECT_EQ(JLElementNodeScorer::scoreElementNodeForQueryIsTitleElement(node("field"), "street", false),
            static_cast<float>(6.0 * 1.05));
  EXPECT_EQ(JLElementNodeScorer::scoreElementNodeForQueryIsTitleElement(node("field"), "street", true), 0)
      << "scored as a title itself: its own texts";
}

TEST_F(NodeScorerTest, aMatchScoresMoreThanATenth) {
  desktop_->accessibility().setAttribute("far", "AXTitle", "s" + std::string(905, 'y'));
  for (const auto& [x, isMatch] : {std::pair(993.684, false), std::pair(993.6, true)}) {
    desktop_->accessibility().setAttribute("far", "AXPosition", Point{x, 10});
    tree_ = JLElementTreeEnumerator(desktop_.element("app")).enumerateElements();
    const float score =
        JLElementNodeScorer::scoreElementNodeForQueryWithFocusedNode(node("far"), "s", tree_->focusedNode());
    EXPECT_EQ(score > 0.1F, isMatch) << score;
    EXPECT_GE(score, 0.1F);
    const auto matches = JLElementMatcher::resultsForElementTreeWithQuery(tree_, "s");
    EXPECT_EQ(std::ranges::count(matches, node("far"), [](const auto& match) { return match.node().get(); }),
              isMatch ? 1 : 0)
        << x;
  }
}

TEST_F(NodeScorerTest, tooSmallMatchesArePruned) {
  const auto found = JLElementMatcher::searchElementTreeWithQuery(tree_, "save");
  EXPECT_EQ(found.collect().size(), 3U);
  const auto pruned = JLElementFilter::pruneElements(found).collect();
  ASSERT_EQ(pruned.size(), 2U) << "4 points wide is too small, 5 high is enough";
  EXPECT_EQ(pruned[1].node().get(), node("far"));
  const auto withoutNode = Stream<JLElementMatch>::create([](const auto& next, const auto& completed) {
    next(JLElementMatch(nullptr, 2));
    completed();
  });
  EXPECT_TRUE(JLElementFilter::pruneElements(withoutNode).collect().empty());
}

TEST(NodeScorer, onlyTheFirstThousandCharactersOfATextAreScored) {
  RecordedFixture desktop(R"({"elements":{}})");
  const auto tree = JLElementTree::tree();
  const std::string filler(996, 'x');
  JLElementNode* within = JLElementNode::nodeWithRoleAttributes(*tree, "Button", {{"Title", filler + "save" + filler}});
  JLElementNode* beyond = JLElementNode::nodeWithRoleAttributes(*tree, "Button", {{"Title", filler + "xsave"}});
  EXPECT_FLOAT_EQ(JLElementNodeScorer::scoreElementNodeForQueryIsTitleElement(within, "save", false), 4 - 0.996F);
  EXPECT_FLOAT_EQ(JLElementNodeScorer::scoreElementNodeForQueryIsTitleElement(beyond, "save", false), -0.996F);
  const JLElementNode* wordless = JLElementNode::nodeWithRoleAttributes(*tree, "Button", {});
  EXPECT_EQ(JLElementNodeScorer::scoreElementNodeForQueryIsTitleElement(wordless, "save", false), 0);
}

}  // namespace
}  // namespace jumplark::testing
