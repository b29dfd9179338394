#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace jumplark {

/// Finds a text in other texts in linear time, however repetitive both are (Knuth, Morris and Pratt).
class LiteralSearch {
 public:
  explicit LiteralSearch(std::u16string needle);

  const std::u16string& needle() const { return needle_; }
  /// The first place of the needle; npos when there is none, or for an empty needle.
  size_t find(std::u16string_view text) const;
  /// All places, also overlapping ones, in order.
  std::vector<size_t> findAll(std::u16string_view text) const;

 private:
  template <typename Visit>
  void search(std::u16string_view text, Visit visit) const;

  std::u16string needle_;
  /// For each prefix of the needle: how long a proper prefix is also its end.
  std::vector<uint32_t> overlap_;
};

}  // namespace jumplark
