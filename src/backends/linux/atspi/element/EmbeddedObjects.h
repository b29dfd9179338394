#pragma once

#include <string>
#include <string_view>

namespace jumplark::atspi {

/// The text of an element has this character (U+FFFC) for each thing in it that is not a text; nobody sees it.
inline constexpr std::string_view kEmbeddedObject = "\xEF\xBF\xBC";

inline std::string withoutObjects(std::string text) {
  for (size_t at = text.find(kEmbeddedObject); at != std::string::npos; at = text.find(kEmbeddedObject, at)) {
    text.erase(at, kEmbeddedObject.size());
  }
  return text;
}

}  // namespace jumplark::atspi
