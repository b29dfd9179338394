#include "query/matching/JLElementMatcher.h"

#include "query/matching/ElementXPath.h"
#include "query/matching/JLElementNodeScorer.h"
#include "query/matching/RandomTexts.h"
#include "support/RecordedFixture.h"
#include "tree/JLElementTree.h"

namespace jumplark::testing {
namespace {

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

using Nodes = std::vector<std::pair<const JLElementNode*, float>>;  ///< with their scores

Nodes found(const Tree& tree, const std::string& query) {
  Nodes nodes;
  for (const JLElementMatch& match : JLElementMatcher::resultsForElementTreeWithQuery(tree, query)) {
    nodes.emplace_back(match.node().get(), match.score());
  }
  return nodes;
}

/// The same without an index: the expression evaluated over the document, each node scored by itself.
Nodes foundPlainly(const Tree& tree, const std::string& query) {
  const bool byRole = query.front() == '.';
  const std::string text = byRole ? query.substr(1) : query;
  const auto nodes = ElementXPath::nodesForXPath(
      *tree, byRole ? JLElementMatcher::expressionForRoleText(text) : JLElementMatcher::expressionForText(text));
  const auto score = byRole ? &JLElementNodeScorer::scoreElementNodeForRoleQueryWithFocusedNode
                            : &JLElementNodeScorer::scoreElementNodeForQueryWithFocusedNode;
  Nodes result;
  for (const JLElementNode* node : nodes.value_or(std::vector<JLElementNode*>())) {
    result.emplace_back(node, score(node, text, tree->focusedNode()));
  }
  std::erase_if(result, [](const auto& scored) { return scored.second <= 0.1F; });
  return result;
}

Texts titlesFound(const Tree& tree, const std::string& query) {
  Texts titles;
  for (const auto& [node, score] : found(tree, query)) {
    titles.push_back(node->textDictionary().front().second);
  }
  return titles;
}

class JLElementMatcherTest : public ::testing::Test {
 protected:
  RecordedFixture desktop_{R"({"elements":{}})"};
};

TEST_F(JLElementMatcherTest, findsLettersInOrderAndScoresWhatStandsAtWordStartsInAnyScript) {
  const Tree tree = treeOf({"Save", "Save As…", "Close", "essay", "Ältere Säve", "Щука", "Файл", "漢字"});
  const std::pair<const char*, Texts> cases[] = {
      {"sa", {"Save", "Save As…", "Ältere Säve"}},
      {"SAVE", {"Save", "Save As…", "Ältere Säve"}},
      {"2", {}},  // no letters: every node is a candidate, the score decides
      {"Щук", {"Щука"}},
      {"щук", {"Щука"}},
      {"suk", {"Щука"}},
      {"fa", {"Файл"}},
      {"hanzi", {"漢字"}},
      {"", {}},
  };
  for (const auto& [query, titles] : cases) {
    EXPECT_EQ(titlesFound(tree, query), titles) << query;
  }
  EXPECT_TRUE(JLElementMatcher::resultsForElementTreeWithQuery(nullptr, "save").empty());
}

TEST_F(JLElementMatcherTest, roleQueriesLookAtRoleAndSubrole) {
  const Tree tree = JLElementTree::tree();
  const JLElementNode* button = add(tree, "Button", "x");
  JLElementNode* field = add(tree, "TextField", "y");
  field->setAttribute("Subrole", "SearchField");
  add(tree, "Group", "z");
  const auto nodes = [&](const std::string& query) {
    std::vector<const JLElementNode*> result;
    for (const auto& [node, score] : found(tree, query)) {
      result.push_back(node);
    }
    return result;
  };
  using Elements = std::vector<const JLElementNode*>;
  EXPECT_EQ(nodes(".but"), Elements{button});
  EXPECT_EQ(nodes(".search"), Elements{field});
  EXPECT_EQ(found(tree, "."), (Nodes{{button, 3.0F}, {field, 3.0F}})) << "nearness alone";
  EXPECT_EQ(nodes("..e"), Elements{}) << "the role is scored against '.e'";
  EXPECT_EQ(nodes(".("), Elements{});
}

TEST_F(JLElementMatcherTest, indexAndDocumentAgreeOnRandomTreesAndQueries) {
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
      const Nodes expected = foundPlainly(tree, query);
      ASSERT_EQ(found(tree, query), expected) << query;
      matches += expected.size();
    }
  }
  EXPECT_GT(matches, 500U);
}

TEST_F(JLElementMatcherTest, queriesThatAreOddXPathOrOddPatternsMeanWhatTheyMean) {
  const Tree tree = treeOf({"it's", "a'or'b", "true", "say \"hi\"", "f(x)", "back\\slash", "a|b", "[brackets]",
                            ".hidden", "100%", "x\x01y"});
  const Texts queries = {
      "'",    "\"", "(",      "[",    "\\",   ".*",   ".",          "it's",   "a'or'b", "f(",
      "|",    "a|", "\\d",    "hi\"", "..*?", ".'",   "(a*)*b",     "x\x01",  "%",      std::string("a\0b", 3),
      "\xFF", "\n", ".\x01|", "*",    ".[",   "f(x)", "[brackets]", "\\slash"};
  for (const std::string& query : queries) {
    ASSERT_EQ(found(tree, query), foundPlainly(tree, query)) << query;
  }
  EXPECT_EQ(titlesFound(tree, "f(x)"), Texts{"f(x)"});
  EXPECT_EQ(titlesFound(tree, "it's"), Texts{}) << "the apostrophe ends the literal";
}

TEST_F(JLElementMatcherTest, hostileQueriesAndTextsAreAnsweredByTheRules) {
  const std::string letters(100000, 's');
  const Tree tree = treeOf({letters, letters + "e", "Save"});
  EXPECT_EQ(titlesFound(tree, "savethedocumentq"), Texts{});
  EXPECT_EQ(found(tree, std::string(10000, 's')).size(), 0U) << "only the first 1000 characters are scored";
  EXPECT_EQ(found(tree, std::string(900, 's')).size(), 2U);
  EXPECT_EQ(titlesFound(tree, "ssss").size(), 2U);
  EXPECT_EQ(found(tree, "." + std::string(10000, '(')).size(), 0U);
  EXPECT_EQ(found(tree, "ß" + std::string(30, 's')).size(), 0U) << "backtracks, within its budget";
}

TEST_F(JLElementMatcherTest, searchRunsOnSubscriptionAndDeliversOnTheHighPriorityQueue) {
  const auto stream = JLElementMatcher::searchElementTreeWithQuery(treeOf({"Save"}), "save");
  bool onQueue = false;
  bool completed = false;
  stream.subscribe([&](const JLElementMatch&) { onQueue = desktop_->queues().highPriorityQueue().isCurrent(); },
                   [&] { completed = true; });
  EXPECT_FALSE(completed);
  desktop_->queues().runPending();
  EXPECT_TRUE(onQueue && completed);
}

TEST_F(JLElementMatcherTest, xPathReportsErrorsInsteadOfPrintingThem) {
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
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace jumplark::testing
