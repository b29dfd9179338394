#pragma once

#include <string>
#include <vector>

/// The scoring rules written down as they are stated, with the library's own splitting, searching and recursion and
/// without a thought for speed: what the scorer has to agree with, bit by bit.
namespace jumplark::reference {

std::vector<std::u16string> wordsForText(const std::u16string& text);
bool containsDiacritics(const std::u16string& text);
float scoreWordsList(const std::vector<std::u16string>& words, const std::u16string& query);
double scoreExactMatch(const std::u16string& text, const std::u16string& query);
double scoreText(const std::u16string& text, const std::u16string& query);

}  // namespace jumplark::reference
