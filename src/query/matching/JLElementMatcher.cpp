#include "query/matching/JLElementMatcher.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <string_view>

#include "platform/Platform.h"
#include "platform/Queues.h"
#include "query/matching/ElementXPath.h"
#include "query/matching/IndexedSearch.h"
#include "query/matching/JLElementNodeScorer.h"
#include "query/matching/RoleCondition.h"
#include "query/text/CharacterTraits.h"
#include "query/text/JLTextUtils.h"
#include "query/text/TextUtilities.h"
#include "query/text/Utf.h"
#include "tree/JLElementTree.h"

namespace jumplark {

namespace {

using Tree = JLElementMatcher::Tree;
using Matches = std::vector<JLElementMatch>;

constexpr float kLowestScore = 0.1F;
constexpr std::string_view kGap = ".*?";
constexpr char kRoleQueryMark = '.';

/// Measures how long a phase of a search takes, for whoever looks at the debug log.
class PhaseTimer {
 public:
  explicit PhaseTimer(const char* label) : label_(label), start_(Platform::current().queues->monotonicNow()) {}
  PhaseTimer(const PhaseTimer&) = delete;
  PhaseTimer& operator=(const PhaseTimer&) = delete;
  ~PhaseTimer() {
    spdlog::debug("{}: {:.3f} ms", label_, milliseconds(Platform::current().queues->monotonicNow() - start_));
  }

 private:
  const char* label_;
  Duration start_;
};

void append(std::string& pattern, std::string_view piece) {
  pattern += pattern.empty() ? std::string_view() : kGap;
  pattern += piece;
}

std::string textPattern(const std::string& text) {
  std::string letters;
  for (const char& c : text) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) {
      append(letters, {&c, 1});
    }
  }
  std::string words;
  for (const std::string& word : JLTextUtils::latinWordsForText(text)) {
    append(words, word);
  }
  return letters + "|" + words;
}

std::string rolePatternForText(const std::string& roleText) {
  std::string pattern;
  for (const std::u16string& character : characters(toUTF16(roleText))) {
    append(pattern, toUTF8(character));
  }
  return pattern;
}

std::string textExpression(const std::string& pattern) {
  return "//Element" + roleConditionText() + "[Text/@*[matches(., '" + pattern + "', 'i')]]";
}

std::string roleExpression(const std::string& pattern) {
  return "//Element" + roleConditionText() + "[matches(@Role, '" + pattern + "', 'i') or matches(@Subrole, '" +
         pattern + "', 'i')]";
}

/// Whether XPath reads the pattern, between apostrophes, as it stands. A character that it does not know ends the
/// expression; an apostrophe ends the literal, and what follows can even be an expression again.
bool isXPathLiteral(std::string_view pattern) {
  return std::none_of(pattern.begin(), pattern.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return c == '\'' || (byte < 0x20 && c != '\t' && c != '\n' && c != '\r');
  });
}

/// What tells the two searches apart.
struct Search {
  std::string query;  ///< what nodes are scored against
  std::string pattern;
  std::string (*expression)(const std::string& query);
  IndexedSearch::Candidates (IndexedSearch::*candidates)(TextPattern& pattern) const;
  std::vector<float> (IndexedSearch::*scores)(const IndexedSearch::Candidates& candidates,
                                              const std::string& query) const;
  float (*score)(const JLElementNode* node, const std::string& query, const JLElementNode* focusedNode);
};

/// Hands on the nodes that score enough.
class Emitter {
 public:
  Emitter(const JLElementTree& tree, const Stream<JLElementMatch>::Next& next) : tree_(tree), next_(next) {}
  void emit(JLElementNode* node, float score) const {
    if (score > kLowestScore) {
      next_(JLElementMatch(tree_.handle(node), score));
    }
  }

 private:
  const JLElementTree& tree_;
  const Stream<JLElementMatch>::Next& next_;
};

void searchIndex(const JLElementTree& tree, const Search& search, const Emitter& emitter) {
  const IndexedSearch index(tree);
  MatchBudget budget;
  IndexedSearch::Candidates candidates;
  {
    const PhaseTimer timer("XPath");
    TextPattern pattern(toUTF16(search.pattern), TextPattern::Case::insensitive, budget);
    candidates = (index.*search.candidates)(pattern);
  }
  const PhaseTimer timer("Scoring");
  const std::vector<float> scores = (index.*search.scores)(candidates, search.query);
  for (size_t i = 0; i < candidates.size(); ++i) {
    emitter.emit(candidates[i]->node, scores[i]);
  }
}

void searchDocument(const JLElementTree& tree, const Search& search, const Emitter& emitter) {
  std::vector<JLElementNode*> nodes;
  {
    const PhaseTimer timer("XPath");
    nodes = ElementXPath::nodesForXPath(tree, search.expression(search.query)).value_or(std::vector<JLElementNode*>());
  }
  const PhaseTimer timer("Scoring");
  for (JLElementNode* node : nodes) {
    emitter.emit(node, search.score(node, search.query, tree.focusedNode()));
  }
}

Stream<JLElementMatch> stream(const Tree& tree, Search search) {
  return Stream<JLElementMatch>::create([tree, search = std::move(search)](const auto& next, const auto& completed) {
           const Emitter emitter(*tree, next);
           if (isXPathLiteral(search.pattern)) {
             searchIndex(*tree, search, emitter);
           } else {
             searchDocument(*tree, search, emitter);
           }
           completed();
         })
      .deliverOn(Platform::current().queues->highPriorityQueue());
}

}  // namespace

const std::string& JLElementMatcher::roleCondition() {
  return roleConditionText();
}

std::string JLElementMatcher::expressionForText(const std::string& text) {
  return textExpression(textPattern(text));
}

std::string JLElementMatcher::expressionForRoleText(const std::string& roleText) {
  return roleExpression(rolePatternForText(roleText));
}

Stream<JLElementMatch> JLElementMatcher::searchElementTreeWithQuery(const Tree& tree, const std::string& query) {
  if (!tree || query.empty()) {
    return Stream<JLElementMatch>::empty();
  }
  if (query.front() == kRoleQueryMark) {
    return searchElementTreeWithRoleText(tree, query.substr(1));
  }
  return searchElementTreeWithText(tree, query);
}

Matches JLElementMatcher::resultsForElementTreeWithQuery(const Tree& tree, const std::string& query) {
  return searchElementTreeWithQuery(tree, query).collect();
}

Stream<JLElementMatch> JLElementMatcher::searchElementTreeWithText(const Tree& tree, const std::string& text) {
  return stream(tree,
                {text, textPattern(text), &JLElementMatcher::expressionForText, &IndexedSearch::candidatesWithText,
                 &IndexedSearch::scoresForQuery, &JLElementNodeScorer::scoreElementNodeForQueryWithFocusedNode});
}

Stream<JLElementMatch> JLElementMatcher::searchElementTreeWithRoleText(const Tree& tree, const std::string& roleText) {
  return stream(tree, {roleText, rolePatternForText(roleText), &JLElementMatcher::expressionForRoleText,
                       &IndexedSearch::candidatesWithRole, &IndexedSearch::scoresForRoleQuery,
                       &JLElementNodeScorer::scoreElementNodeForRoleQueryWithFocusedNode});
}

void JLElementMatcher::prepare(const JLElementTree& tree) {
  TreeIndex::of(tree);
}

void JLElementMatcher::warm() {
  CharacterTraits::instance();
  JLTextUtils::warmTransliterators();
}

}  // namespace jumplark
