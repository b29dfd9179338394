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

size_t LiteralSearch::find(std::u16string_view text) const {
  return Places(*this, text).next();
}

size_t LiteralSearch::Places::next() {
  const std::u16string& needle = search_.needle_;
  if (needle.empty()) {
    return std::u16string_view::npos;
  }
  while (read_ < text_.size()) {
    const char16_t unit = text_[read_++];
    while (matched_ > 0 && unit != needle[matched_]) {
      matched_ = search_.overlap_[matched_ - 1];
    }
    matched_ += unit == needle[matched_] ? 1 : 0;
    if (matched_ == needle.size()) {
      matched_ = search_.overlap_[matched_ - 1];
      return read_ - needle.size();
    }
  }
  return std::u16string_view::npos;
}

}  // namespace jumplark
