#include "overlay/Colors.h"

#include <array>
#include <charconv>
#include <stdexcept>
#include <string>

namespace jumplark {

Color colorWithHexString(std::string_view text, double alpha) {
  std::string_view digits = text;
  if (digits.starts_with('#')) {
    digits.remove_prefix(1);
  }
  std::array<double, 3> parts{};
  if (digits.size() < 2 * parts.size()) {
    throw std::logic_error("Not a colour: " + std::string(text));
  }
  for (size_t i = 0; i < parts.size(); ++i) {
    const std::string_view pair = digits.substr(2 * i, 2);
    int value = 0;
    std::from_chars(pair.data(), pair.data() + pair.size(), value, 16);
    parts[i] = value / 255.0;
  }
  return {parts[0], parts[1], parts[2], alpha};
}

}  // namespace jumplark
