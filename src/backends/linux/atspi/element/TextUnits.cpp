#include "backends/linux/atspi/element/TextUnits.h"

#include <algorithm>
#include <cstddef>

namespace jumplark::atspi {

namespace {

/// Bytes of the character that begins with `lead`.
size_t sequenceLength(unsigned char lead) {
  if (lead >= 0xF0) {
    return 4;
  }
  if (lead >= 0xE0) {
    return 3;
  }
  return lead >= 0xC0 ? 2 : 1;
}

struct Measure {
  int64_t codePoints = 0;
  int64_t units = 0;
  size_t bytes = 0;
};

/// Measures whole characters while they fit in `mostUnits`.
Measure measure(std::string_view text, int64_t mostUnits) {
  Measure total;
  while (total.bytes < text.size()) {
    const size_t length = sequenceLength(static_cast<unsigned char>(text[total.bytes]));
    const int64_t units = length == 4 ? 2 : 1;
    if (total.units + units > mostUnits) {
      break;
    }
    total.units += units;
    ++total.codePoints;
    total.bytes = std::min(text.size(), total.bytes + length);
  }
  return total;
}

}  // namespace

int64_t codePointCount(std::string_view text) {
  return measure(text, INT64_MAX - 2).codePoints;
}

int64_t utf16Length(std::string_view text) {
  return measure(text, INT64_MAX - 2).units;
}

int64_t codePointsInUnits(std::string_view text, int64_t units) {
  return measure(text, units).codePoints;
}

std::string prefixOfUnits(std::string_view text, int64_t units) {
  return std::string(text.substr(0, measure(text, units).bytes));
}

bool isBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

std::string withoutObjects(std::string text) {
  constexpr std::string_view kObject = "\xEF\xBF\xBC";
  for (size_t at = text.find(kObject); at != std::string::npos; at = text.find(kObject, at)) {
    text.erase(at, kObject.size());
  }
  return text;
}

}  // namespace jumplark::atspi
