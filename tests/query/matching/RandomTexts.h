#pragma once

#include <random>

#include "query/text/Utf.h"

namespace jumplark::testing {

/// Texts that are likely to bring out differences: few letters, so that they agree often, beside capitals, separators,
/// marks, letters that fold oddly, other scripts and line ends. The same in every run.
class RandomTexts {
 public:
  explicit RandomTexts(uint32_t seed) : engine_(seed) {}

  size_t below(size_t limit) { return engine_() % limit; }

  std::u16string text(size_t most) {
    static const std::vector<std::u16string> kRare = {
        u"é", u"É", u"e\u0301", u"ß",  u"ﬁ",      u"ſ",  u"\u212A", u"İ", u"ı",          u"Σ",
        u"ς", u"σ", u"Ж",       u"ж",  u"\u0301", u"中", u"한",     u"😀", u"\U0001D49C", u"_",
        u"-", u"'", u".",       u"\n", u"\u2028", u"~",  u"ǅ",      u"2", u"*",          u"("};
    static const std::u16string kOften = u"aabbsSeEtT  kA1";
    std::u16string result;
    const size_t length = below(most + 1);
    const size_t oddity = below(3);  // none, some, many rare ones
    while (result.size() < length) {
      if (oddity > 0 && below(oddity == 1 ? 8 : 2) == 0) {
        result += kRare[below(kRare.size())];
      } else {
        result += kOften[below(kOften.size())];
      }
    }
    return result;
  }

  /// A query for a text: some of its units in order, or as it stands, sometimes with another case or something else.
  std::u16string queryFor(const std::u16string& text) {
    if (text.empty() || below(4) == 0) {
      return this->text(6);
    }
    std::u16string query;
    if (below(2) == 0) {
      const size_t start = below(text.size());
      query = text.substr(start, 1 + below(8));
    } else {
      const size_t step = 1 + below(4);
      for (size_t i = below(text.size()); i < text.size() && query.size() < 6; i += 1 + below(step)) {
        query += text[i];
      }
    }
    if (below(3) == 0) {
      for (char16_t& unit : query) {
        unit = unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
      }
    }
    return toUTF16(toUTF8(query));  // without halves of surrogate pairs
  }

 private:
  std::mt19937 engine_;
};

}  // namespace jumplark::testing
