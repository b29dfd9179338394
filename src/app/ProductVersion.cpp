#include "app/ProductVersion.h"

#include <algorithm>

#include "platform/Utf8.h"

namespace jumplark {
namespace {

constexpr size_t kLongestVersion = 64;

// Whatever the locale.
bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

char lowered(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Runs of digits and runs of letters; everything else only separates.
std::vector<std::string> wordsOf(std::string_view text) {
  std::vector<std::string> words;
  char before = '.';
  for (const char c : text) {
    if (isDigit(c) || isLetter(c)) {
      const bool continues = (isDigit(c) && isDigit(before)) || (isLetter(c) && isLetter(before));
      if (!continues) {
        words.emplace_back();
      }
      words.back() += lowered(c);
    }
    before = c;
  }
  for (std::string& word : words) {
    if (isDigit(word.front())) {
      word.erase(0, std::min(word.find_first_not_of('0'), word.size() - 1));
    }
  }
  return words;
}

std::strong_ordering compareWords(const std::string& a, const std::string& b) {
  const bool aIsNumber = isDigit(a.front());
  if (const bool bIsNumber = isDigit(b.front()); aIsNumber != bIsNumber) {
    return aIsNumber ? std::strong_ordering::less : std::strong_ordering::greater;
  }
  if (aIsNumber && a.size() != b.size()) {
    return a.size() <=> b.size();
  }
  return a <=> b;
}

}  // namespace

std::optional<ProductVersion> ProductVersion::parse(std::string_view text) {
  text = trimmed(text);
  if (!text.empty() && lowered(text.front()) == 'v') {
    text.remove_prefix(1);
  }
  const bool isPlain = std::ranges::all_of(text, [](char c) {
    return isDigit(c) || isLetter(c) || std::string_view(".-+~_").find(c) != std::string_view::npos;
  });
  if (text.empty() || text.size() > kLongestVersion || !isDigit(text.front()) || !isPlain) {
    return std::nullopt;
  }
  text = text.substr(0, text.find('+'));
  const auto end = std::ranges::find_if(text, [](char c) { return !isDigit(c) && c != '.'; });
  ProductVersion version;
  version.numbers_ = wordsOf({text.begin(), end});
  version.preRelease_ = wordsOf({end, text.end()});
  while (!version.numbers_.empty() && version.numbers_.back() == "0") {
    version.numbers_.pop_back();
  }
  return version;
}

std::strong_ordering ProductVersion::operator<=>(const ProductVersion& other) const {
  const auto compare = [](const Words& a, const Words& b) {
    return std::lexicographical_compare_three_way(a.begin(), a.end(), b.begin(), b.end(), compareWords);
  };
  if (const auto order = compare(numbers_, other.numbers_); std::is_neq(order)) {
    return order;
  }
  if (isPreRelease() != other.isPreRelease()) {
    return isPreRelease() ? std::strong_ordering::less : std::strong_ordering::greater;
  }
  return compare(preRelease_, other.preRelease_);
}

}  // namespace jumplark
