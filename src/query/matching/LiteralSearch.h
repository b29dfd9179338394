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

  /// Steps through the places, also overlapping ones, in order; reads no further than it has to.
  class Places {
   public:
    /// Both must outlive this.
    Places(const LiteralSearch& search, std::u16string_view text) : search_(search), text_(text) {}
    /// npos when there are no more.
    size_t next();

   private:
    const LiteralSearch& search_;
    std::u16string_view text_;
    size_t read_ = 0;
    size_t matched_ = 0;
  };

 private:
  std::u16string needle_;
  /// For each prefix of the needle: how long a proper prefix is also its end.
  std::vector<uint32_t> overlap_;
};

}  // namespace jumplark
