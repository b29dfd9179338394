#include "query/matching/ScorerReference.h"

#include <unicode/locid.h>
#include <unicode/regex.h>
#include <unicode/translit.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace jumplark::reference {
namespace {

using icu::UnicodeString;

UnicodeString unicode(const std::u16string& text) {
  return {text.data(), static_cast<int32_t>(text.size())};
}

std::u16string units(const UnicodeString& text) {
  return {text.getBuffer(), static_cast<size_t>(text.length())};
}

UnicodeString withoutDiacritics(UnicodeString text) {
  static UErrorCode status = U_ZERO_ERROR;
  static const std::unique_ptr<icu::Transliterator> fold(
      icu::Transliterator::createInstance("NFD; [:Nonspacing Mark:] Remove; NFC", UTRANS_FORWARD, status));
  fold->transliterate(text);
  return text;
}

UnicodeString lower(const std::u16string& text) {
  return unicode(text).toLower(icu::Locale::getRoot());
}

/// Whether one character contains another, both single units, whatever their diacritics.
bool containsInsensitively(char16_t c, char16_t wanted) {
  const UnicodeString needle = withoutDiacritics(UnicodeString(wanted));
  return !needle.isEmpty() && withoutDiacritics(UnicodeString(c)).indexOf(needle) >= 0;
}

/// One character as the search for the whole query compares it.
UnicodeString comparable(UChar32 c, bool ignoreDiacritics) {
  const UnicodeString character = ignoreDiacritics ? withoutDiacritics(UnicodeString(c)) : UnicodeString(c);
  UnicodeString folded;
  for (int32_t i = 0; i < character.length(); i = character.moveIndex32(i, 1)) {
    folded.append(u_foldCase(character.char32At(i), U_FOLD_CASE_DEFAULT));
  }
  return folded;
}

/// The length of the first part of the text that compares equal to the query, with the marks behind it; 0 for none.
int32_t lengthFound(const UnicodeString& text, const UnicodeString& query, bool ignoreDiacritics) {
  UnicodeString needle;
  for (int32_t i = 0; i < query.length(); i = query.moveIndex32(i, 1)) {
    needle.append(comparable(query.char32At(i), ignoreDiacritics));
  }
  for (int32_t start = 0; start < text.length(); start = text.moveIndex32(start, 1)) {
    if (comparable(text.char32At(start), ignoreDiacritics).isEmpty()) {
      continue;
    }
    UnicodeString read;
    for (int32_t end = start; end < text.length();) {
      read.append(comparable(text.char32At(end), ignoreDiacritics));
      end = text.moveIndex32(end, 1);
      if (read == needle) {
        while (end < text.length() && comparable(text.char32At(end), ignoreDiacritics).isEmpty()) {
          end = text.moveIndex32(end, 1);
        }
        return end - start;
      }
    }
  }
  return 0;
}

/// The length of capture 1 of the first match of `\W(\w+)query`.
int32_t lengthOfWordBefore(const UnicodeString& text, const UnicodeString& query) {
  UErrorCode status = U_ZERO_ERROR;
  icu::RegexMatcher matcher(UnicodeString(u"\\W(\\w+)") + query, text, 0, status);
  if (U_FAILURE(status) || !matcher.find()) {
    return 0;
  }
  return matcher.start(1, status) < 0 ? 0 : matcher.end(1, status) - matcher.start(1, status);
}

double applyLengthDifferencePenalty(double score, const std::u16string& text, const std::u16string& query) {
  const uint64_t difference = static_cast<uint64_t>(text.size()) - static_cast<uint64_t>(query.size());
  const float penalty = std::min(1.0F, static_cast<float>(difference) * 0.001F);
  return score - penalty;
}

}  // namespace

std::vector<std::u16string> wordsForText(const std::u16string& text) {
  UErrorCode status = U_ZERO_ERROR;
  const UnicodeString input = unicode(text);
  icu::RegexMatcher matcher(UnicodeString(u"[\\W_]+|(?=[^\\p{Ll}0-9])"), input, 0, status);
  std::vector<UnicodeString> pieces(text.size() + 2);
  const int32_t count = matcher.split(input, pieces.data(), static_cast<int32_t>(pieces.size()), status);
  std::vector<std::u16string> words(static_cast<size_t>(count));
  std::transform(pieces.begin(), pieces.begin() + count, words.begin(), units);
  matcher.reset(input);
  const bool splitsAtStart = matcher.find() && matcher.start(status) == 0 && matcher.end(status) == 0;
  if (splitsAtStart) {
    words.erase(words.begin());
  }
  return words;
}

bool containsDiacritics(const std::u16string& text) {
  return withoutDiacritics(unicode(text)) != unicode(text);
}

float scoreWordsList(const std::vector<std::u16string>& words, const std::u16string& query) {
  std::u16string remaining = units(lower(query));
  const bool diacritics = containsDiacritics(query);
  float score = 0;
  float weight = 1.0F;
  bool restart = false;
  std::vector<float> results;
  for (size_t i = 0; i < words.size(); ++i) {
    if (restart) {
      restart = false;
      std::vector<std::u16string> later = words;
      std::fill_n(later.begin(), i, std::u16string());
      results.push_back(scoreWordsList(later, query));
    }
    if (i > 50 || remaining.empty()) {
      break;
    }
    for (const char16_t c : units(lower(words[i]))) {
      const bool matches = diacritics ? c == remaining.front() : containsInsensitively(c, remaining.front());
      if (!matches) {
        if (remaining.front() == u' ') {
          remaining.erase(0, 1);
        }
        break;
      }
      score += weight;
      restart = true;
      remaining.erase(0, 1);
      if (remaining.empty()) {
        break;
      }
    }
    weight = weight * 0.9F;
  }
  if (!remaining.empty()) {
    score = 0;
  }
  results.push_back(score);
  return *std::max_element(results.begin(), results.end());
}

double scoreExactMatch(const std::u16string& text, const std::u16string& query) {
  const int32_t length = lengthFound(unicode(text), unicode(query), !containsDiacritics(query));
  if (length == 0) {
    return 0;
  }
  const int32_t before = lengthOfWordBefore(unicode(text), unicode(query));
  return std::pow(static_cast<double>(0.9F), static_cast<double>(before)) * length;
}

double scoreText(const std::u16string& text, const std::u16string& query) {
  if (query.empty()) {
    return 0;
  }
  if (text == query) {
    return static_cast<double>(query.size());
  }
  if (text.size() >= 100) {
    return applyLengthDifferencePenalty(scoreExactMatch(text, query), text, query);
  }
  double score = scoreWordsList(wordsForText(text), query);
  if (score == 0 && query.size() >= 4) {
    score = scoreExactMatch(text, query);
  }
  return score == 0 ? 0 : std::max(0.0, applyLengthDifferencePenalty(score, text, query));
}

}  // namespace jumplark::reference
