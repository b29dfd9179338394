#include "query/matching/PreparedText.h"

#include <algorithm>
#include <array>

#include "query/matching/FoldedText.h"
#include "query/matching/WordSplitter.h"
#include "query/text/CharacterTraits.h"
#include "query/text/TextFolding.h"

namespace jumplark {

namespace {

template <typename T>
T* allocate(std::pmr::memory_resource& memory, size_t count) {
  return static_cast<T*>(memory.allocate(count * sizeof(T), alignof(T)));
}

std::u16string_view keep(std::u16string_view text, std::pmr::memory_resource& memory) {
  auto* units = allocate<char16_t>(memory, text.size());
  text.copy(units, text.size());
  return {units, text.size()};
}

bool isASCIIUnits(std::u16string_view text) {
  char16_t all = 0;
  for (const char16_t unit : text) {
    all |= unit;
  }
  return all < 0x80;
}

std::u16string_view bareUnits(std::u16string_view text, std::pmr::memory_resource& memory) {
  const CharacterTraits& traits = CharacterTraits::instance();
  auto* units = allocate<char16_t>(memory, text.size());
  std::transform(text.begin(), text.end(), units, [&](char16_t c) { return traits.bare(c); });
  return {units, text.size()};
}

std::u16string_view asciiLowered(std::u16string_view text, std::pmr::memory_resource& memory) {
  auto* units = allocate<char16_t>(memory, text.size());
  std::transform(text.begin(), text.end(), units,
                 [](char16_t c) { return static_cast<char16_t>(c >= u'A' && c <= u'Z' ? c + (u'a' - u'A') : c); });
  return {units, text.size()};
}

size_t firstSeparatorOf(std::u16string_view text) {
  const CharacterTraits& traits = CharacterTraits::instance();
  size_t at = 0;
  while (at < text.size()) {
    const auto [c, units] = characterAt(text, at);
    if (!traits.isWordCharacter(c)) {
      break;
    }
    at += units;
  }
  return at;
}

/// Collects where the scored words of a text lie.
class ScoredBounds {
 public:
  void add(size_t start, size_t end) {
    if (count_ < values_.size()) {
      values_[count_++] = {static_cast<uint32_t>(start), static_cast<uint32_t>(end)};
    }
  }
  std::span<PreparedWords::Bounds> values() { return {values_.data(), count_}; }
  std::span<const PreparedWords::Bounds> keepIn(std::pmr::memory_resource& memory) const {
    auto* kept = allocate<PreparedWords::Bounds>(memory, count_);
    std::copy_n(values_.begin(), count_, kept);
    return {kept, count_};
  }

 private:
  std::array<PreparedWords::Bounds, PreparedWords::kScored> values_;
  size_t count_ = 0;
};

PreparedWords wordsOf(std::u16string_view text, std::pmr::memory_resource& memory) {
  ScoredBounds bounds;
  forEachWord(text, [&](size_t start, size_t end) { bounds.add(start, end); });
  std::u16string lowered;
  for (PreparedWords::Bounds& word : bounds.values()) {
    const auto start = static_cast<uint32_t>(lowered.size());
    lowered += lowercased(text.substr(word.start, word.end - word.start));
    word = {start, static_cast<uint32_t>(lowered.size())};
  }
  PreparedWords words;
  words.lowered = keep(lowered, memory);
  words.bareLowered = bareUnits(words.lowered, memory);
  words.bounds = bounds.keepIn(memory);
  return words;
}

}  // namespace

PreparedWords PreparedWords::prepare(std::span<const std::u16string> words, std::pmr::memory_resource& memory) {
  ScoredBounds bounds;
  std::u16string text;
  for (const std::u16string& word : words.first(std::min(words.size(), kScored))) {
    const size_t start = text.size();
    text += lowercased(word);
    bounds.add(start, text.size());
  }
  PreparedWords prepared;
  prepared.lowered = keep(text, memory);
  prepared.bareLowered = bareUnits(prepared.lowered, memory);
  prepared.bounds = bounds.keepIn(memory);
  return prepared;
}

PreparedText PreparedText::prepare(std::u16string_view original, std::pmr::memory_resource& memory) {
  PreparedText text;
  text.original = original;
  text.isASCII = isASCIIUnits(original);
  text.firstSeparator = firstSeparatorOf(original);
  if (text.isASCII) {
    text.bareFolded = asciiLowered(original, memory);
    text.isAligned = true;
  } else {
    const BareFolding folding = bareCaseFolding(original);
    text.bareFolded = keep(folding.text, memory);
    text.isAligned = folding.isAligned;
  }
  text.letters = FoldedText::lettersOf(text.bareFolded);
  if (original.size() >= kLong) {
    return text;
  }
  if (text.isASCII) {
    // The words are parts of the lower-cased text, and there is nothing to strip.
    ScoredBounds bounds;
    forEachWord(original, [&](size_t start, size_t end) { bounds.add(start, end); });
    text.words = {text.bareFolded, text.bareFolded, bounds.keepIn(memory)};
  } else {
    text.words = wordsOf(original, memory);
  }
  return text;
}

}  // namespace jumplark
