#include "query/matching/LiteralSearch.h"

namespace jumplark {

LiteralSearch::LiteralSearch(std::u16string needle) : needle_(std::move(needle)), overlap_(needle_.size()) {
  uint32_t length = 0;
  for (size_t i = 1; i < needle_.size(); ++i) {
    while (length > 0 && needle_[i] != needle_[length]) {
      length = overlap_[length - 1];
    }
    length += needle_[i] == needle_[length] ? 1 : 0;
    overlap_[i] = length;
  }
}

/// Calls visit(place) until it returns false.
template <typename Visit>
void LiteralSearch::search(std::u16string_view text, Visit visit) const {
  if (needle_.empty() || text.size() < needle_.size()) {
    return;
  }
  size_t matched = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    while (matched > 0 && text[i] != needle_[matched]) {
      matched = overlap_[matched - 1];
    }
    matched += text[i] == needle_[matched] ? 1 : 0;
    if (matched == needle_.size()) {
      if (!visit(i + 1 - matched)) {
        return;
      }
      matched = overlap_[matched - 1];
    }
  }
}

size_t LiteralSearch::find(std::u16string_view text) const {
  size_t found = std::u16string_view::npos;
  search(text, [&](size_t place) {
    found = place;
    return false;
  });
  return found;
}

std::vector<size_t> LiteralSearch::findAll(std::u16string_view text) const {
  std::vector<size_t> places;
  search(text, [&](size_t place) {
    places.push_back(place);
    return true;
  });
  return places;
}

}  // namespace jumplark
