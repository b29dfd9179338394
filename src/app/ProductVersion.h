#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace jumplark {

/// A version like "1.12" or "2.0-beta.3": numbers between dots, and perhaps what names a version before the final one.
/// Numbers have any length; missing ones are 0, so that 1.2 is 1.2.0. What follows a '+' only names a build.
class ProductVersion {
 public:
  /// A leading "v" and surrounding spaces do no harm. None when the text does not begin with a number, holds characters
  /// that versions do not have, or more than 64 of any.
  static std::optional<ProductVersion> parse(std::string_view text);

  /// It is followed by a final version of the same numbers.
  bool isPreRelease() const { return !preRelease_.empty(); }

  /// Numbers by value; then a pre-release before the final version; then its words in order, where numbers count by
  /// value and come before letters ("rc2" is "rc", 2), and the longer one comes later.
  std::strong_ordering operator<=>(const ProductVersion& other) const;
  bool operator==(const ProductVersion& other) const { return std::is_eq(*this <=> other); }

 private:
  using Words = std::vector<std::string>;  ///< each of digits only, without leading zeros, or without a digit

  Words numbers_;  ///< without zeros at the end
  Words preRelease_;
};

}  // namespace jumplark
