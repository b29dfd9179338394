#include "query/matching/JLElementMatcher.h"

#include <gtest/gtest.h>

#include "query/matching/ElementXPath.h"
#include "query/matching/JLElementFilter.h"
#include "query/matching/PlainMatching.h"
#include "query/matching/RandomTexts.h"
#include "query/text/Utf.h"
#include "support/RecordedFixture.h"
#include "tree/JLElementTree.h"
#include "tree/JLElementTreeEnumerator.h"

namespace jumplark {
namespace {

using testing::RandomTexts;
using testing::RecordedFixture;
using Texts = std::vector<std::string>;
using Tree = std::shared_ptr<JLElementTree>;

JLElementNode* add(const Tree& tree, const std::string& role, const std::string& title) {
  JLElementNode* node = JLElementNode::nodeWithRoleAttributes(*tree, role, {{"Title", title}});
  tree->addChild(tree->rootElement(), node);
  return node;
}

Tree treeOf(const Texts& titles) {
  Tree tree = JLElementTree::tree();
  for (const std::string& title : titles) {
    add(tree, "Button", title);
  }
  return tree;
}

std::vector<reference::ScoredNode> found(const Tree& tree, const std::string& query) {
  std::vector<reference::ScoredNode> nodes;
  for (const JLElementMatch& match : JLElementMatcher::resultsForElementTreeWithQuery(tree, query)) {
    nodes.push_back({match.node().get(), match.score()});
  }
  return nodes;
}

Texts titlesFound(const Tree& tree, const std::string& query) {
  Texts titles;
  for (const auto& match : found(tree, query)) {
    titles.push_back(match.node->textDictionary().front().second);
  }
  return titles;
}

class JLElementMatcherTest : public ::testing::Test {
 protected:
  RecordedFixture desktop_{R"({"elements":{}})"};
};

TEST_F(JLElementMatcherTest, ExpressionsHoldTheQuerysLettersAndWords) {
  const std::string start =
      "//Element[matches(@Role, '^(TextField|TextArea|Link|Button|ComboBox|PopUpButton|StaticText|RadioButton|CheckBox|"
      "MenuButton|MenuItem|Image|DisclosureTriangle|Cell|MenuBarItem|Slider|DockItem)$')]";
  EXPECT_EQ("//Element" + JLElementMatcher::roleCondition(), start);
  EXPECT_EQ(JLElementMatcher::expressionForText("Sa ve2"),
            start + "[Text/@*[matches(., 'S.*?a.*?v.*?e|Sa.*?ve2', 'i')]]");
  EXPECT_EQ(JLElementMatcher::expressionForText("12"), start + "[Text/@*[matches(., '|12', 'i')]]");
  EXPECT_EQ(JLElementMatcher::expressionForText("Щука"), start + "[Text/@*[matches(., '|Ŝuka', 'i')]]");
  EXPECT_EQ(JLElementMatcher::expressionForRoleText("bu"),
            start + "[matches(@Role, 'b.*?u', 'i') or matches(@Subrole, 'b.*?u', 'i')]");
}

TEST_F(JLElementMatcherTest, NothingIsFoundForAnEmptyQueryOrWithoutATree) {
  EXPECT_TRUE(found(treeOf({"Save"}), "").empty());
  EXPECT_TRUE(JLElementMatcher::resultsForElementTreeWithQuery(nullptr, "save").empty());
}

TEST_F(JLElementMatcherTest, FindsLettersInOrderAndScoresWhatStandsAtWordStarts) {
  const Tree tree = treeOf({"Save", "Save As…", "Close", "essay", "Ältere Säve"});
  EXPECT_EQ(titlesFound(tree, "sa"), (Texts{"Save", "Save As…", "Ältere Säve"}));
  EXPECT_EQ(titlesFound(tree, "SAVE"), (Texts{"Save", "Save As…", "Ältere Säve"}));
  EXPECT_EQ(titlesFound(tree, "2"), Texts{}) << "no letters: every node is a candidate, the score decides";
}

TEST_F(JLElementMatcherTest, OtherScriptsAreFoundByTheirLettersAndByLatinOnes) {
  const Tree tree = treeOf({"Щука", "Файл", "漢字"});
  EXPECT_EQ(titlesFound(tree, "Щук"), Texts{"Щука"});
  EXPECT_EQ(titlesFound(tree, "щук"), Texts{"Щука"});
  EXPECT_EQ(titlesFound(tree, "suk"), Texts{"Щука"});
  EXPECT_EQ(titlesFound(tree, "fa"), Texts{"Файл"});
  EXPECT_EQ(titlesFound(tree, "hanzi"), Texts{"漢字"});
}

TEST_F(JLElementMatcherTest, RoleQueriesLookAtRoleAndSubrole) {
  const Tree tree = JLElementTree::tree();
  const JLElementNode* button = add(tree, "Button", "x");
  JLElementNode* field = add(tree, "TextField", "y");
  field->setAttribute("Subrole", "SearchField");
  add(tree, "Group", "z");
  const auto nodes = [&](const std::string& query) {
    std::vector<const JLElementNode*> result;
    for (const auto& match : found(tree, query)) {
      result.push_back(match.node);
    }
    return result;
  };
  using Nodes = std::vector<const JLElementNode*>;
  EXPECT_EQ(nodes(".but"), Nodes{button});
  EXPECT_EQ(nodes(".search"), Nodes{field});
  EXPECT_EQ(nodes("."), (Nodes{button, field})) << "nearness alone";
  EXPECT_EQ(found(tree, ".").front().score, 3.0F);
  EXPECT_EQ(nodes("..e"), Nodes{}) << "the role is scored against '.e'";
  EXPECT_EQ(nodes(".("), Nodes{});
}

TEST_F(JLElementMatcherTest, IndexAndDocumentAgreeOnRandomTreesAndQueries) {
  RandomTexts random(99);
  const Texts roles = {"Button", "TextField", "StaticText", "Group", "button", "Cell\n", "MenuItem"};
  size_t matches = 0;
  for (int round = 0; round < 150; ++round) {
    const Tree tree = JLElementTree::tree();
    std::vector<std::u16string> texts;
    for (int i = 0; i < 8; ++i) {
      texts.push_back(random.text(i == 0 ? 120 : 14));
      JLElementNode* node =
          JLElementNode::nodeWithRoleAttributes(*tree, roles[random.below(roles.size())],
                                                {{"Title", toUTF8(texts.back())}, {"Value", toUTF8(random.text(6))}});
      const auto& nodes = tree->nodes();
      tree->addChild(nodes.empty() || random.below(2) == 0 ? tree->rootElement() : nodes.back()->xml(), node);
      if (random.below(5) == 0) {
        node->setAttribute("Subrole", toUTF8(random.text(8)));
      }
    }
    for (const std::u16string& text : texts) {
      const std::string prefix = random.below(5) == 0 ? "." : "";
      const std::string query = prefix + toUTF8(random.queryFor(text));
      if (query.empty()) {
        continue;
      }
      const auto expected = reference::matches(*tree, query);
      ASSERT_EQ(found(tree, query), expected) << query;
      matches += expected.size();
    }
  }
  EXPECT_GT(matches, 500U);
}

TEST_F(JLElementMatcherTest, QueriesThatAreOddXPathOrOddPatternsMeanWhatTheyMean) {
  const Tree tree = treeOf({"it's", "a'or'b", "true", "say \"hi\"", "f(x)", "back\\slash", "a|b", "[brackets]",
                            ".hidden", "100%", "x\x01y"});
  const Texts queries = {
      "'",    "\"", "(",      "[",    "\\",   ".*",   ".",          "it's",   "a'or'b", "f(",
      "|",    "a|", "\\d",    "hi\"", "..*?", ".'",   "(a*)*b",     "x\x01",  "%",      std::string("a\0b", 3),
      "\xFF", "\n", ".\x01|", "*",    ".[",   "f(x)", "[brackets]", "\\slash"};
  for (const std::string& query : queries) {
    ASSERT_EQ(found(tree, query), reference::matches(*tree, query)) << query;
  }
  EXPECT_EQ(titlesFound(tree, "f(x)"), Texts{"f(x)"});
  EXPECT_EQ(titlesFound(tree, "it's"), Texts{}) << "the apostrophe ends the literal";
}

TEST_F(JLElementMatcherTest, HostileQueriesAndTextsAreAnsweredByTheRules) {
  std::string oneLetterWords;
  for (int i = 0; i < 49; ++i) {
    oneLetterWords += "s ";
  }
  const std::string letters(100000, 's');
  const Tree tree = treeOf({oneLetterWords, letters, letters + "e", "Save"});
  EXPECT_EQ(titlesFound(tree, "savethedocumentq"), Texts{});
  EXPECT_EQ(found(tree, std::string(10000, 's')).size(), 0U) << "only the first 1000 characters are scored";
  EXPECT_EQ(found(tree, std::string(900, 's')).size(), 2U);
  EXPECT_EQ(titlesFound(tree, "ssss").size(), 3U);
  EXPECT_EQ(found(tree, "." + std::string(10000, '(')).size(), 0U);
  EXPECT_EQ(found(tree, "ß" + std::string(30, 's')).size(), 0U) << "backtracks, within its budget";
}

TEST_F(JLElementMatcherTest, SearchRunsOnSubscriptionAndDeliversOnTheHighPriorityQueue) {
  const Tree tree = treeOf({"Save"});
  const auto stream = JLElementMatcher::searchElementTreeWithQuery(tree, "save");
  bool onQueue = false;
  bool completed = false;
  stream.subscribe([&](const JLElementMatch&) { onQueue = desktop_->queues().highPriorityQueue().isCurrent(); },
                   [&] { completed = true; });
  EXPECT_FALSE(completed);
  desktop_->queues().runPending();
  EXPECT_TRUE(onQueue);
  EXPECT_TRUE(completed);

  std::vector<JLElementMatch> matches;
  desktop_->queues().highPriorityQueue().post(
      [&] { matches = JLElementMatcher::resultsForElementTreeWithQuery(tree, "save"); });
  desktop_->queues().runPending();
  EXPECT_EQ(matches.size(), 1U) << "asked on that queue itself";
}

TEST_F(JLElementMatcherTest, XPathReportsErrorsInsteadOfPrintingThem) {
  const Tree tree = treeOf({"Save"});
  ::testing::internal::CaptureStderr();
  std::string error;
  EXPECT_EQ(ElementXPath::nodesForXPath(*tree, "//Element[", &error), std::nullopt);
  EXPECT_EQ(error, "the expression or a pattern in it is wrong near character 10");
  EXPECT_EQ(ElementXPath::nodesForXPath(*tree, "//Element[matches(@Role, '(')]"), std::nullopt);
  EXPECT_EQ(ElementXPath::nodesForXPath(*tree, "//Element[matches(@Role, 'a', 'q')]"), std::nullopt);
  EXPECT_EQ(ElementXPath::nodesForXPath(*tree, "//Element[matches(@Role)]"), std::nullopt);
  EXPECT_EQ(ElementXPath::nodesForXPath(*tree, "1 + 1", &error), std::nullopt);
  EXPECT_EQ(error, "the expression selects no nodes");
  EXPECT_EQ(ElementXPath::nodesForXPath(*tree, "//Element[matches('Button', 'b', 'i')]")->size(), 1U);
  EXPECT_EQ(ElementXPath::nodesForXPath(*tree, JLElementMatcher::expressionForText("sav"))->size(), 1U);
  EXPECT_EQ(ElementXPath::nodesForXPath(*tree, JLElementMatcher::expressionForText("w"))->size(), 0U);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace jumplark
