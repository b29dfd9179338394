#include "query/text/JLTextUtils.h"

#include <unicode/brkiter.h>
#include <unicode/translit.h>
#include <unicode/ubrk.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_map>

#include "query/text/Utf.h"

namespace jumplark {

namespace {

/// Words remembered with their transcriptions; a snapshot repeats most of its words.
constexpr size_t kMemoLimit = 4096;
/// Below this unit every character is Latin or common to all scripts, and transcription changes none.
constexpr char16_t kFirstNonLatin = 0x250;

/// Owns the ICU objects, which one thread at a time may use. The lock is a leaf: nothing is called while it is held but
/// ICU.
class LatinTranscriber {
 public:
  static LatinTranscriber& instance() {
    static LatinTranscriber transcriber;
    return transcriber;
  }

  std::vector<std::string> words(const std::string& text) {
    const std::u16string units = toUTF16(text);
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> result;
    if (!breaks_) {
      return result;
    }
    const icu::UnicodeString alias(false, units.data(), static_cast<int32_t>(units.size()));
    breaks_->setText(alias);
    size_t wordStart = 0;
    size_t wordEnd = 0;  // empty while no word waits for a tilde that might continue it
    int32_t start = breaks_->first();
    for (int32_t end = breaks_->next(); end != icu::BreakIterator::DONE; start = end, end = breaks_->next()) {
      if (breaks_->getRuleStatus() < UBRK_WORD_NONE_LIMIT) {
        continue;
      }
      const auto from = static_cast<size_t>(start);
      const bool continues = wordEnd > 0 && from == wordEnd + 1 && units[wordEnd] == u'~';
      if (!continues) {
        append(result, units, wordStart, wordEnd);
        wordStart = from;
      }
      wordEnd = static_cast<size_t>(end);
    }
    append(result, units, wordStart, wordEnd);
    return result;
  }

 private:
  LatinTranscriber() {
    UErrorCode status = U_ZERO_ERROR;
    breaks_.reset(icu::BreakIterator::createWordInstance(icu::Locale::getRoot(), status));
    toLatin_.reset(icu::Transliterator::createInstance("Any-Latin", UTRANS_FORWARD, status));
  }

  void append(std::vector<std::string>& words, const std::u16string& units, size_t start, size_t end) {
    if (start < end) {
      words.push_back(transcription(std::u16string_view(units).substr(start, end - start)));
    }
  }

  std::string transcription(std::u16string_view word) {
    const bool latin = std::all_of(word.begin(), word.end(), [](char16_t c) { return c < kFirstNonLatin; });
    if (latin || !toLatin_) {
      return toUTF8(word);
    }
    std::u16string key(word);
    if (const auto known = memo_.find(key); known != memo_.end()) {
      return known->second;
    }
    icu::UnicodeString latinWord(word.data(), static_cast<int32_t>(word.size()));
    toLatin_->transliterate(latinWord);
    std::string result = toUTF8({latinWord.getBuffer(), static_cast<size_t>(latinWord.length())});
    if (memo_.size() >= kMemoLimit) {
      memo_.clear();
    }
    return memo_.emplace(std::move(key), std::move(result)).first->second;
  }

  std::mutex mutex_;
  std::unique_ptr<icu::BreakIterator> breaks_;
  std::unique_ptr<icu::Transliterator> toLatin_;
  std::unordered_map<std::u16string, std::string> memo_;
};

}  // namespace

std::vector<std::string> JLTextUtils::latinWordsForText(const std::string& text) {
  if (text.empty()) {
    return {};
  }
  return LatinTranscriber::instance().words(text);
}

void JLTextUtils::warmTransliterators() {
  // One word each of the scripts whose tables and dictionaries are loaded at their first use.
  latinWordsForText("Щука Ελλάδα 漢字かな 한글 ไทย العربية עברית हिन्दी");
}

}  // namespace jumplark
