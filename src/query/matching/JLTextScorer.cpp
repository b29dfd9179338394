#include "query/matching/JLTextScorer.h"

#include <algorithm>
#include <memory_resource>

#include "platform/Utf8.h"
#include "query/matching/PreparedText.h"
#include "query/matching/ScoringQuery.h"
#include "query/matching/WordSplitter.h"
#include "query/text/TextFolding.h"
#include "query/text/Utf.h"

namespace jumplark {

double JLTextScorer::scoreTextAgainstText(const std::string& text, const std::string& query) {
  const std::u16string units = toUTF16(text);
  std::pmr::monotonic_buffer_resource memory;
  return ScoringQuery(toUTF16(query)).score(PreparedText::prepare(units, memory));
}

std::vector<std::string> JLTextScorer::wordsForText(const std::string& text) {
  const std::u16string units = toUTF16(text);
  std::vector<std::string> words;
  forEachWord(units, [&](size_t start, size_t end) {
    words.push_back(toUTF8(std::u16string_view(units).substr(start, end - start)));
  });
  return words;
}

float JLTextScorer::scoreWordsListAgainstText(const std::vector<std::string>& words, const std::string& query) {
  std::vector<std::u16string> units(words.size());
  std::transform(words.begin(), words.end(), units.begin(), [](const std::string& word) { return toUTF16(word); });
  std::pmr::monotonic_buffer_resource memory;
  return ScoringQuery(toUTF16(query)).scoreWords(PreparedWords::prepare(units, memory));
}

double JLTextScorer::scoreTextForExactMatchAgainstText(const std::string& text, const std::string& query) {
  const std::u16string units = toUTF16(text);
  std::pmr::monotonic_buffer_resource memory;
  return ScoringQuery(toUTF16(query)).scoreExactMatch(PreparedText::prepare(units, memory));
}

double JLTextScorer::applyLengthDifferencePenaltySourceTextQueryText(double score, const std::string& text,
                                                                     const std::string& query) {
  return ScoringQuery(toUTF16(query)).applyLengthDifferencePenalty(score, static_cast<size_t>(utf16Length(text)));
}

bool JLTextScorer::textContainsDiacritics(const std::string& text) {
  return jumplark::textContainsDiacritics(toUTF16(text));
}

}  // namespace jumplark
