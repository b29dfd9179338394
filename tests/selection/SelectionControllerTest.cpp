#include "selection/JLElementSelectionController.h"
#include "selection/JLElementShortcutAssigner.h"
#include "streams/NotificationCenter.h"
#include "support/DesktopText.h"
#include "support/RecordedFixture.h"
#include "tree/JLElementTree.h"

namespace jumplark::testing {
namespace {

using ::testing::ElementsAre;

const char* const kDesktop = R"({"screens":[[0,0,1000,900]],"pointer":[0,0],"elements":{}})";

/// "<" is the backspace key.
KeyEvent key(const std::string& characters) {
  KeyEvent event;
  event.keyCode = characters == "<" ? key_code::backspace : key_code::symbolBase;
  event.charactersIgnoringModifiers = characters;
  return event;
}

/// A selection over nodes whose roles are numbers. The match of number 0 is the best.
struct Selecting {
  RecordedFixture desktop{kDesktop};
  std::shared_ptr<JLElementTree> tree = JLElementTree::tree();
  JLElementSelectionController controller;
  std::vector<std::string> announced;  ///< the role of each selected node, "" for none
  Token observing =
      NotificationCenter::defaultCenter().observe("ElementSelectionChanged", [this](const Notification& note) {
        const auto* node = std::any_cast<std::shared_ptr<JLElementNode>>(&note.object);
        announced.push_back(node ? (*node)->attribute("Role").value_or("?") : "");
      });

  explicit Selecting(int count = 0) {
    if (count > 0) {
      setMatches(count);
    }
  }
  void setMatches(int count) {
    JLElementSelectionController::Matches matches;
    for (int i = count - 1; i >= 0; --i) {
      JLElementNode* node = JLElementNode::nodeWithRoleAttributes(*tree, std::to_string(i), {});
      matches.emplace_back(tree->handle(node), static_cast<float>(count - i));
    }
    controller.setElementMatches(std::move(matches));
  }
  void type(const std::vector<std::string>& keys) {
    for (const std::string& characters : keys) {
      controller.selectionKeyReceived(key(characters));
    }
  }
  std::string selected() {
    const auto match = controller.currentMatch();
    return match ? match->node()->attribute("Role").value_or("?") : "";
  }
  int beeps() { return desktop->input().beepCount(); }
};

TEST(Selection, ordersLabelsAndSelectsTheBest) {
  Selecting test;
  EXPECT_EQ(test.controller.currentIndex(), -1);
  test.setMatches(3);
  EXPECT_EQ(test.selected(), "0");
  EXPECT_EQ(test.controller.currentIndex(), 0);
  std::vector<std::string> drawn;
  for (const auto& [match, options] : test.controller.elementMatchesWithHighlightOptions()) {
    drawn.push_back(*match.node()->attribute("Role") + options.label + options.backgroundColor.value_or(""));
  }
  EXPECT_THAT(drawn, ElementsAre("2U", "1E", "0A2088d4")) << "the selected one last, which is in front";
  test.controller.selectMatchAtIndex(2);
  EXPECT_EQ(test.controller.elementMatchesWithHighlightOptions().back().second, (HighlightOptions{"U", "2088d4"}));
  EXPECT_EQ(test.controller.currentLabel(), "U");
  EXPECT_THAT(test.announced, ElementsAre("0", "2"));
}

TEST(Selection, movesRoundAndRound) {
  // n: next, p: previous, x: an index that does not exist; of so many; where that leads.
  const std::tuple<std::string, int, int64_t> cases[] = {
      {"n", 3, 1},  {"nn", 3, 2}, {"nnn", 3, 0}, {"p", 3, 2}, {"pp", 3, 1}, {"np", 3, 0}, {"xn", 3, 0},
      {"xp", 3, 2}, {"x", 3, -1}, {"n", 1, 0},   {"p", 1, 0}, {"n", 0, -1}, {"p", 0, -1}};
  for (const auto& [moves, count, index] : cases) {
    Selecting test(count);
    for (const char move : moves) {
      if (move == 'x') {
        test.controller.selectMatchAtIndex(7);
      } else if (move == 'n') {
        test.controller.selectNextMatch();
      } else {
        test.controller.selectPreviousMatch();
      }
    }
    EXPECT_EQ(test.controller.currentIndex(), index) << moves << " of " << count;
    EXPECT_EQ(test.selected(), index < 0 ? "" : std::to_string(index)) << moves << " of " << count;
  }
}

TEST(Selection, followsTheLettersOfLabels) {
  // The keys, of how many matches; what is selected then, its index, the letters that are remembered, and beeps.
  const std::tuple<std::vector<std::string>, int, const char*, int64_t, const char*, int> cases[] = {
      {{"e"}, 3, "1", 1, "E", 0},
      {{"a", "e"}, 22, "21", 21, "AE", 0},    // a label of two letters
      {{"a", "e"}, 21, "1", 1, "E", 0},       // not assigned: the A is dropped
      {{"a", "e", "u"}, 22, "2", 2, "U", 0},  // AEU and EU are none
      {{"a", "e", "e"}, 442, "441", 441, "AEE", 0},
      {{"u", "q"}, 3, "0", 0, "", 1},  // not in the alphabet
      {{"z"}, 3, "0", 0, "", 1},       // no match has it
      {{""}, 3, "0", 0, "", 0},
      {{"ß"}, 22, "7", 7, "S", 0},  // in capitals it is SS
      {{"é", "e"}, 3, "1", 1, "E", 1},
      {{"ae"}, 22, "21", 21, "AE", 0},
      {{"e", "<"}, 3, "0", 1, "", 0},  // the index stays behind
      {{"a", "<", "e"}, 22, "1", 1, "E", 0},
      {{"a"}, 0, "", -1, "", 1},
      {{"<"}, 0, "", -1, "", 0},
  };
  for (const auto& [keys, count, selected, index, letters, beeps] : cases) {
    Selecting test(count);
    test.type(keys);
    const std::string name = ::testing::PrintToString(keys) + " of " + std::to_string(count);
    EXPECT_EQ(test.selected(), selected) << name;
    EXPECT_EQ(test.announced.empty() ? "" : test.announced.back(), selected) << name;
    EXPECT_EQ(test.controller.currentIndex(), index) << name;
    EXPECT_EQ(test.controller.currentShortcut(), letters) << name;
    EXPECT_EQ(test.beeps(), beeps) << name;
  }
}

TEST(Selection, forgetsLettersWithNewMatchesButNotWithoutAny) {
  Selecting test(22);
  test.type({"a"});
  test.controller.setElementMatches({});
  EXPECT_EQ(test.controller.currentShortcut(), "A");
  EXPECT_EQ(test.controller.currentIndex(), -1);
  EXPECT_EQ(test.announced.back(), "");
  test.setMatches(22);
  EXPECT_EQ(test.controller.currentShortcut(), "");
  test.type({"a"});
  test.controller.resetSelectionEntry();
  test.type({"e"});
  EXPECT_EQ(test.selected(), "1");
  const size_t announcements = test.announced.size();
  test.controller.selectMatchInDirection(SelectionDirection::down);
  EXPECT_EQ(test.selected(), "1");
  EXPECT_EQ(test.announced.size(), announcements);
}

TEST(Selection, isWholeAtEachMomentWhileKeysAndMatchesArrive) {
  Selecting test;
  test.observing.reset();
  std::atomic<bool> done{false};
  std::thread background([&] {
    for (int i = 0; i < 300; ++i) {
      test.setMatches(1 + i % 40);
    }
    done = true;
  });
  while (!done) {
    test.controller.selectNextMatch();
    test.type({"e"});
    const auto map = test.controller.elementMatchesWithHighlightOptions();
    ASSERT_TRUE(map.empty() || map.back().second.backgroundColor);
  }
  background.join();
  EXPECT_EQ(test.controller.matchCount(), 20U);
}

TEST(ShortcutAssigner, labelsTheBestFirstWithOneTwoAndThreeLettersAsFarAsTheyGo) {
  RecordedFixture desktop(kDesktop);
  const auto tree = JLElementTree::tree();
  std::vector<JLElementMatch> matches;
  for (int i = 0; i < 9000; ++i) {
    JLElementNode* node = JLElementNode::nodeWithRoleAttributes(*tree, std::to_string(i), {});
    matches.emplace_back(tree->handle(node), static_cast<float>(i / 2));
  }
  const auto ordered = JLElementShortcutAssigner::orderedMatches(matches);
  EXPECT_EQ(ordered[0].node()->attribute("Role"), "8998");
  EXPECT_EQ(ordered[1].node()->attribute("Role"), "8999") << "equal scores stay in their order";
  EXPECT_EQ(ordered[2].node()->attribute("Role"), "8996");
  EXPECT_EQ(ordered.size(), 8841U);
  EXPECT_EQ(JLElementShortcutAssigner::assignShortcutsToMatches(ordered).size(), 8841U) << "one each";
  const auto& table = JLElementShortcutAssigner::shortcutsForCurrentLayout();
  const std::pair<size_t, const char*> labels[] = {{0, "A"},    {20, "Z"},    {21, "AE"},   {41, "EA"},
                                                   {440, "ZV"}, {441, "AEE"}, {8840, "ZVV"}};
  for (const auto& [index, label] : labels) {
    EXPECT_EQ(table.at(index), label) << index;
  }
}

TEST(Selection, putsWhatCannotBeUsedBehindItsLikeAndTheWindowsButtonsBehindEverything) {
  const struct {
    std::vector<std::pair<const char*, float>> matches;  ///< "off" cannot be used
    const char* order;
  } cases[] = {
      {{{"off", 1.0F}, {"on", 0.96F}}, "on off"},
      {{{"off", 1.0F}, {"on", 0.94F}}, "off on"},
      {{{"off", 1.0F}, {"on", 0.96F}, {"also", 0.93F}}, "on off also"},
      {{{"close", 3.0F}, {"off", 1.0F}, {"on", 0.2F}}, "off on close"},
  };
  for (const auto& one : cases) {
    RecordedFixture desktop(testing::DesktopText::of(R"(
      app AXApplication AXWindowButtons=[@close]
        on AXButton
        also AXButton
        off AXButton AXEnabled=false
      close AXWindowButton)"));
    const auto tree = JLElementTree::tree();
    xmlNode* group = xmlAddChild(tree->rootElement(), tree->newGroup(JLElementNode::kWindowButtons));
    JLElementSelectionController::Matches matches;
    for (const auto& [id, score] : one.matches) {
      JLElementNode* node = JLElementNode::nodeWithJLElement(*tree, desktop.element(id));
      tree->addChild(std::string(id) == "close" ? group : tree->rootElement(), node);
      matches.emplace_back(tree->handle(node), score);
    }
    JLElementSelectionController controller;
    controller.setElementMatches(matches);
    std::string order;
    for (const JLElementMatch& match : controller.elementMatchesByScore()) {
      order += (order.empty() ? "" : " ") + match.node()->element()->ref().text();
    }
    EXPECT_EQ(order, one.order);
    for (const auto& [match, options] : controller.elementMatchesWithHighlightOptions()) {
      EXPECT_EQ(options.isFaint, match.node()->element()->ref().text() == "off");
    }
  }
}

}  // namespace
}  // namespace jumplark::testing
